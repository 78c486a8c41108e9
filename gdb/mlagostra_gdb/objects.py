# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""What an object of Ryx is: its name, its state, its attributes, what it watches."""

import gdb

from . import kovel, read

_COUNT = 0x1FFFFFFF
_HELD = 1 << 30
_ZOMBIE = 1 << 31
_PINNED = 0x1F
_INERT = 1 << 5
_END_OF_CHAIN = 1
_LONGEST_LIST = 1 << 20

# The framework's own bases: what they store is no attribute.
_FRAMEWORK = (
    "VFPtrInterface",
    "PtrInterface",
    "PtrInterface::NotifieeConst",
    "Notifier",
    "Entity",
    "Entity::NotifieeConst",
)
_FRAMEWORK_TEMPLATES = (
    "StateOf",
    "EntityOf",
    "Reactor",
    "KeyedReactor",
    "ReactorOwnerOf",
    "NotifieeConstOf",
    "NotifieeOf",
    "HashMapLink",
)


def is_framework(type_):
    """Whether a class is one that objects are built on."""
    name = type_.name or ""
    return name in ["Ryx::" + base for base in _FRAMEWORK] or any(
        name.startswith("Ryx::%s<" % base) for base in _FRAMEWORK_TEMPLATES
    )


def label(object_):
    """What tells an object from others of its type: its key, or its name in quotes."""
    key = read.field(object_, "intfId_", "key_")
    if key is not None and read.plain(key.type).name == "Kovel::IntfId":
        return kovel.interface(key)
    name = read.field(object_, "name_")
    if name is None or read.plain(name.type).name != "Ryx::Name":
        return ""
    return read.quoted(name["text_"]) if read.text(name["text_"]) else ""


def states(object_):
    """The words for what is special about an object, and how many references it has."""
    word = int(object_["word_"]["_M_i"])
    if word >> 24 == _PINNED:
        return ["pinned"]
    count = word & _COUNT
    words = ["zombie"] if word & _ZOMBIE else []
    words += ["held"] if word & _HELD else []
    return words + ["1 reference" if count == 1 else "%d references" % count]


def is_zombie(object_):
    """Whether an object is marked for deletion."""
    return "zombie" in states(object_)


def title(object_):
    """Type and name: 'Mlag::Config "leaf1a"'."""
    if object_ is None:
        return "null"
    name = read.plain(object_.type).name
    return " ".join(filter(None, [name, label(object_)]))


def brief(object_):
    """An object in a line: what it is, what it watches, its state."""
    if object_ is None:
        return "null"
    words = [title(object_)]
    if read.base_of(object_.type, "Ryx::PtrInterface::NotifieeConst"):
        words.append("watches " + titled(object_["notifier_"]))
    return ", ".join(words + states(object_))


def titled(pointer):
    """The title of what a raw pointer leads to, or what is wrong with it."""
    try:
        return title(read.object_at(pointer))
    except (read.Broken, gdb.error) as error:
        return "<%s>" % error


def description(type_):
    """The registered description of a type, or None where none can be read."""
    try:
        where = gdb.parse_and_eval("&'Ryx::describedType<%s>()::type'" % type_.name)
        kind = read.type_of("Ryx::RyxType").pointer().pointer()
        return read.object_at(where.cast(kind).dereference())
    except (gdb.error, read.Broken):
        return None


def attributes(object_):
    """(id, name, value) of each attribute, in the order of the type's table, bases first.

    The value is None where the attribute has no storage. Without a description the ids are
    None, and what the type stores stands for its attributes.
    """
    described = description(read.plain(object_.type))
    if described is None:
        yield from stored(object_)
        return
    lineage = []
    while described is not None:
        lineage.insert(0, described)
        described = read.object_at(described["baseType_"])
    for type_ in lineage:
        for pointer in read.vector(type_["attributeQ_"]):
            attribute = read.behind(pointer)
            name = read.text(attribute["name_"]["text_"])
            is_inert = int(attribute["flags_"]["low"]) & _INERT
            value = None if is_inert else read.field(object_, name + "_")
            yield int(attribute["id_"]), name, value


def stored(object_):
    """What the classes of an object store, apart from the framework's own."""
    own = [base for base in read.bases(object_.type) if not is_framework(base)]
    for type_ in reversed(own):
        for part in type_.fields():
            if part.is_base_class or part.artificial or not hasattr(part, "bitpos"):
                continue
            name = part.name or ""
            yield None, name[:-1] if name.endswith("_") else name, object_[part]


def watchers(notifier):
    """The registered notifiees of a notifier, in the order in which they are called."""
    yield from chain(notifier["head_"])


def unregistered(notifier):
    """Those weak notifiees of a notifier that are not registered."""
    try:
        parked = gdb.parse_and_eval("&'Ryx::(anonymous namespace)::parked'")
    except gdb.error:
        return
    kind = read.type_of("Ryx::PtrInterface::NotifieeConst").pointer().pointer()
    for notifiee in chain(parked.cast(kind).dereference()):
        if int(notifiee["notifier_"]) == int(notifier.address):
            yield notifiee


def chain(first):
    """The notifiees of a list."""
    seen = set()
    while int(first) != 0:
        if int(first) in seen or len(seen) > _LONGEST_LIST:
            raise read.Broken("the list does not end")
        seen.add(int(first))
        notifiee = read.object_at(first)
        yield notifiee
        first = notifiee["next_"]


def members(map_):
    """The records of a HashMap, in its order."""
    shift, size = int(map_["shift_"]), int(map_["size_"])
    if shift > 32 or shift < 4:
        raise read.Broken("no collection: a shift of %d bits" % shift)
    table = map_["table_"]
    if int(table) == 0:
        raise read.Broken("no collection: it has no table")
    found = 0
    for bucket in range(1 << (32 - shift)):
        record = table[bucket]
        while int(record) != _END_OF_CHAIN:
            found += 1
            if found > size:
                raise read.Broken("more than the %d members that it counts" % size)
            member = read.object_at(record)
            if member is None:
                raise read.Broken("a chain without an end")
            yield member
            record = read.field(record.dereference(), "fwkHmNext_")
            if record is None:
                raise read.Broken("no debug information for %s" % read.plain(member.type))
    if found != size:
        raise read.Broken("%d of the %d members that it counts" % (found, size))


def entry(record):
    """Key and value of a member: the record itself where it is the member."""
    key = read.field(record, "key_", "intfId_", "name_")
    value = read.field(record, "value_")
    return key, record if value is None else value
