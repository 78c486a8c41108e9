# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Printers of libRyx: pointers, names and texts, collections as maps, objects by attribute."""

import gdb

from . import commands, objects, printing, read


class Ptr:
    """What a pointer leads to, in a line, with the address to look further."""

    def __init__(self, value):
        self.value = value

    @read.guarded
    def to_string(self):
        object_ = read.behind(self.value)
        if object_ is None:
            return "null"
        return "%s, at 0x%x" % (objects.brief(object_), int(self.value["pointer_"]))


class Text:
    """A text of the framework, which may be anything where nothing was constructed."""

    def __init__(self, value):
        self.value = value

    @read.guarded
    def to_string(self):
        return read.quoted(self.value)


class Name(Text):
    def __init__(self, value):
        super().__init__(value["text_"])


class Collection:
    """The members of a keyed collection, in its order."""

    def __init__(self, value):
        base = read.base_of(value.type, "Ryx::HashMap")
        self.map = value.cast(base) if base else value["map"].cast(map_of(value))

    @read.guarded
    def to_string(self):
        count = sum(1 for _ in objects.members(self.map))
        return "1 member" if count == 1 else "%d members" % count

    def found(self):
        """The members up to where they are broken, which to_string has said."""
        try:
            yield from objects.members(self.map)
        except (read.Broken, gdb.error):
            return

    def children(self):
        for index, member in enumerate(self.found()):
            key, value = objects.entry(member)
            yield "key%d" % index, int(member.address) if key is None else key
            yield "value%d" % index, value

    def display_hint(self):
        return "map"


class KeySet(Collection):
    """The keys that are in."""

    def children(self):
        for index, member in enumerate(self.found()):
            yield str(index), objects.entry(member)[0]

    def display_hint(self):
        return "array"


def map_of(value):
    """The HashMap that a storage of members has, None for a type that is no such storage."""
    for base in read.bases(value.type if isinstance(value, gdb.Value) else value):
        for part in base.fields():
            if part.name == "map" and not part.is_base_class:
                return read.base_of(part.type, "Ryx::HashMap")
    return None


class Slot:
    """An input: what is watched by it."""

    def __init__(self, value):
        self.value = value

    @read.guarded
    def to_string(self):
        if read.field(self.value, "object") is not None:
            return objects.title(read.behind(self.value["object"]))
        reactor = read.behind(self.value["reactor"])
        if reactor is None:
            return "null"
        state = " (zombie)" if objects.is_zombie(reactor) else ""
        return objects.titled(reactor["notifier_"]) + state


class Object:
    """An object by its attribute table; a record by its key and value."""

    def __init__(self, value):
        self.value = value

    def found(self):
        return read.as_object(self.value)

    @read.guarded
    def to_string(self):
        return objects.brief(self.found())

    @read.guarded_children
    def children(self):
        try:
            object_ = self.found()
        except read.Broken:
            return
        for _, name, value in objects.attributes(object_) if object_ is not None else ():
            if value is not None:
                yield name, value


def register(objfile):
    printers = printing.Printers("Ryx")
    printers.add_base("Ptr", "Ryx::Ptr", Ptr)
    printers.add_class("Name", "Ryx::Name", Name)
    printers.add("String8", lambda written, type_: written.name == "Ryx::String8", Text)
    printers.add_base("KeySet", "Ryx::KeySet", KeySet)
    printers.add_base("HashMap", "Ryx::HashMap", Collection)
    printers.add("Collection", lambda written, type_: map_of(type_), Collection)
    printers.add_base("ReactorSlot", "Ryx::ReactorSlot", Slot)
    printers.add_base("ReferenceSlot", "Ryx::ReferenceSlot", Slot)
    printers.add_base("Object", "Ryx::PtrInterface", Object)
    printers.register(objfile)
    commands.register()
