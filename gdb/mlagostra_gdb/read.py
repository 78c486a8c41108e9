# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Reads objects of the inferior without calling anything in it.

The process may be a core dump, and what is looked at may be null, freed or never constructed:
everything is checked before it is followed, and what is no object raises Broken.
"""

import functools
import re

import gdb

_VTABLE = re.compile(r"^vtable for (.+) \+ \d+ in section ")
_LONGEST_TEXT = 4096
_ESCAPES = dict(zip('"\\\a\b\f\n\r\t\v\033', ['\\' + c for c in '"\\abfnrtv'] + ["\\033"]))
REFERENCES = (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF)


class Broken(Exception):
    """What is there is not what its type says. The text says what was found instead."""


def guarded(function):
    """Lets a printer's to_string say what is broken instead of failing."""

    @functools.wraps(function)
    def call(*args):
        try:
            return function(*args)
        except Broken as broken:
            return "<%s>" % broken
        except gdb.error as error:
            return "<%s>" % error

    return call


def guarded_children(function):
    """The same for children: they end where they are broken, and the last one says why."""

    @functools.wraps(function)
    def call(*args):
        try:
            yield from function(*args)
        except Broken as broken:
            yield "broken", "<%s>" % broken
        except gdb.error as error:
            yield "broken", "<%s>" % error

    return call


def type_of(name):
    """The type of that name; Broken without debug information."""
    try:
        return gdb.lookup_type(name)
    except gdb.error:
        raise Broken("no debug information for %s" % name) from None


def plain(type_):
    """A type without reference, typedef and qualifiers."""
    if type_.code in REFERENCES:
        type_ = type_.target()
    return type_.unqualified().strip_typedefs()


def bases(type_):
    """A class and all that it derives from, itself first."""
    type_ = plain(type_)
    if type_.code != gdb.TYPE_CODE_STRUCT:
        return
    yield type_
    for field in type_.fields():
        if field.is_base_class:
            yield from bases(field.type)


def base_of(type_, template):
    """The class itself or its base that has this name, or is this template's; or None."""
    for base in bases(type_):
        name = base.name or ""
        if name == template or name.startswith(template + "<"):
            return base
    return None


def field(object_, *names):
    """The first of these fields that the object or one of its bases has, or None."""
    for name in names:
        try:
            return object_[name]
        except gdb.error:
            continue
    return None


def class_at(address):
    """The name of the class whose object is at an address, by its virtual functions."""
    try:
        pointer = gdb.Value(address).cast(type_of("unsigned long").pointer())
        said = gdb.execute("info symbol %d" % int(pointer.dereference()), to_string=True)
    except gdb.error:
        said = ""
    found = _VTABLE.match(said)
    if not found:
        raise Broken("no object at 0x%x" % address)
    return found.group(1)


def object_at(pointer):
    """The object that a pointer leads to, as what it is; None for null."""
    address = int(pointer)
    if address == 0:
        return None
    name = class_at(address)
    static = plain(pointer.type.target())
    if name == static.name:
        return pointer.cast(static.pointer()).dereference()
    try:
        return pointer.cast(pointer.dynamic_type).dereference()
    except gdb.error:
        return pointer.cast(static.pointer()).dereference()


def behind(pointer):
    """The object that a Ryx::Ptr holds, as what it is; None for null."""
    return object_at(pointer["pointer_"])


def as_object(value):
    """What a user names: an object, a pointer to one, a Ryx::Ptr; None for null."""
    type_ = plain(value.type)
    if type_.code == gdb.TYPE_CODE_PTR:
        return object_at(value.cast(type_))
    if base_of(type_, "Ryx::Ptr"):
        return behind(value)
    if not base_of(type_, "Ryx::PtrInterface"):
        raise Broken("a %s is no object of Ryx" % type_)
    return object_at(value.cast(type_).address)


def text(string):
    """The characters of a std::string. Broken where they cannot be one."""
    size = int(string["_M_string_length"])
    if size > _LONGEST_TEXT:
        raise Broken("no text: %d bytes" % size)
    if size == 0:
        return ""
    data = gdb.selected_inferior().read_memory(int(string["_M_dataplus"]["_M_p"]), size)
    return bytes(data).decode("utf-8", "backslashreplace")


def quoted(string):
    """A text as gdb writes one: in quotes, on one line."""
    return '"%s"' % "".join(map(escaped, text(string)))


def escaped(character):
    if character in _ESCAPES:
        return _ESCAPES[character]
    return character if character.isprintable() else "\\%03o" % ord(character)


def truth(value):
    """A bool; Broken where the byte is neither 0 nor 1."""
    byte = int(value.cast(type_of("unsigned char")))
    if byte > 1:
        raise Broken("no bool: %d" % byte)
    return byte == 1


def seconds(value):
    """A time in seconds as a text: "225", "247.5", "never"."""
    number = float(value)
    return "never" if number == float("inf") else "%.12g" % number


def vector(value):
    """The elements of a std::vector."""
    first, last = value["_M_impl"]["_M_start"], value["_M_impl"]["_M_finish"]
    size = int(last) - int(first)
    each = plain(first.type).target().sizeof
    if size < 0 or size % each or size // each > 1 << 24:
        raise Broken("no vector: %d bytes" % size)
    for index in range(size // each):
        yield first[index]
