# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""The attributes of a type: what they are, and what they make in its class."""

import math
import re

from names import ENTITY, INPUTS, MACHINE, NOTIFIEE
from schema import COLLECTIONS, TO_ENTITIES, shown

COUNTERS = ("unsigned char", "unsigned")
WHOLE = {"unsigned char": (0, 255), "unsigned": (0, 2**32 - 1), "int": (-2**31, 2**31 - 1)}


def check_unit(given, measured, a_type, place):
    if "unit" not in given:
        return
    if not measured:
        raise place.error(f"has a unit, and is no number: {a_type.cpp}")
    if a_type.cpp == "Ryx::Seconds" and given["unit"] != "s":
        raise place.error(f"the unit {given['unit']} is given, and Seconds are in s")


class Attribute:
    def __init__(self, name, declared, owner, model, place):
        self.name, self.owner, self.place, self.declared = name, owner, place, declared
        self.kind, self.inert = declared.get("kind", "value"), declared.get("inert", False)
        self.unit, self.meaning = declared.get("unit"), declared["meaning"]
        self.flags = declared.get("flags", [])
        scope, named = owner.schema["namespace"], declared.get("type", "bool")
        self.key = model.find(declared["key"], scope, place) if "key" in declared else None
        if self.kind in TO_ENTITIES:
            by_hand = ("external",) if owner.form == "machine" else ()
            self.type = model.entity(named, scope, place, by_hand)
        else:
            self.type = model.value(named, scope, place, None if self.inert else owner)
        self.setter = self.find_setter(declared.get("set"))
        self.storage = model.find(declared["storage"], scope, place) if (
            "storage" in declared) else None
        self.initial = self.type.initial if self.kind in ("value", "constant") else None
        if self.type.form == "enumeration" and self.kind == "value":
            self.initial = f"{self.type.within(scope)}::{self.type.enumerators[0]}"
        if "default" in declared:
            self.initial = self.default(declared["default"])
        if self.collection and not self.inert:
            self.check_key()
        self.check_machine()

    @property
    def collection(self):
        return self.kind in COLLECTIONS

    @property
    def Name(self):
        return self.name[0].upper() + self.name[1:]

    @property
    def silent(self):
        return "silent" in self.flags

    @property
    def members(self):
        """The C++ names that it makes in its owner."""
        x, big = self.name, self.Name
        if self.kind in ("constant", "output"):
            return [x]
        if "counter" in self.flags:
            return [x, f"{x}Is", f"{x}Inc"]
        if self.kind == "input":
            return [x, f"{x}Is", f"{x}Del", f"new{big}", f"Ryx{big}"]
        if not self.collection:
            return [x, f"{x}Is"]
        return [x, f"{x}Is", f"{x}Del", f"{x}DelAll", f"{x}Notify", f"{x}Iterator",
                f"{x}IteratorConst", f"{x}Storage", f"{x}Has", f"{x}Take", f"{x}Put",
                f"{x}Size", f"{x}Reserve", f"{big}Storage", f"{big}Iterator",
                f"{big}IteratorConst", f"new{big}", f"borrowed{big}", f"Ryx{big}", f"Ryx{big}Iterator"]

    @property
    def callbacks(self):
        """The C++ names that it makes in its owner's notifiee."""
        if self.owner.form == "machine" or self.silent:
            return []
        return [f"on{self.Name}"] + ([f"on{self.Name}ryxImmediate"] if self.collection else [])

    @property
    def given(self):
        """Whether a machine is made of it."""
        return self.kind in ("input", "output") and "internal" not in self.flags

    def check_taken(self):
        machine = self.owner.form == "machine"
        every = "every machine has" if machine else "every entity has"
        own = [(member, MACHINE if machine else ENTITY, every) for member in self.members]
        own += [(callback, NOTIFIEE, "every notifiee has") for callback in self.callbacks]
        own += [(self.name, INPUTS, "the inputs of every machine have")] if self.given else []
        for name, taken, has in own:
            if name in taken:
                raise self.place.error(f"makes {name}, which {has}")

    def check_machine(self):
        """What only an attribute of a machine can be."""
        if "counter" in self.flags and self.type.cpp not in COUNTERS:
            raise self.place.error(f"a counter is byte or unsigned, and this is {self.type.cpp}")
        if self.kind == "objects" and self.type.form != "external":
            raise self.place.error(f"{self.type.cpp} is of a schema; objects are of an external "
                                   "type, which has its own place in the collection")
        if self.storage and self.storage.form != "external":
            raise self.place.error(f"{self.storage.cpp} is no external type, so it is no storage")

    def check_key(self):
        if not (self.key.is_key or self.key.form == "external"):
            raise self.place.error(f"{self.key.cpp} cannot be the key of what is stored")

    def check_element(self):
        check_unit(self.declared, self.type.measured and self.kind not in TO_ENTITIES,
                   self.type, self.place)
        if self.kind in ("elements", "reactors") and self.type.form == "entity":
            name, key = self.type.key
            if name == "name":
                raise self.place.error(f"{self.type.cpp} has no key to be found by")
            if key is not self.key:
                raise self.place.error(f"the key of {self.type.cpp} is of type {key.cpp}")

    def find_setter(self, field):
        if field is None:
            return None
        fields = dict((name, t) for name, t, _ in getattr(self.type, "fields", []))
        if list(fields) != [field]:
            raise self.place.error(f"{field} is not the one field of {self.type.cpp}")
        return fields[field]

    def is_constant(self, given):
        """Whether a default names a constant of the same type, one that is declared before it
        if this is a constant, too."""
        attributes = self.owner.declared["attributes"]
        named = attributes.get(given) if isinstance(given, str) else None
        if not named or named.get("kind") != "constant" or given == self.name or (
                named.get("type") != self.declared["type"]):
            return False
        if self.kind == "constant" and list(attributes).index(given) > (
                list(attributes).index(self.name)):
            raise self.place.error(f"the constant {given} is declared after it")
        return True

    def default(self, given):
        cpp = self.type.cpp
        wrong = self.place.error(f"{shown(given)} cannot be the default of {cpp}")
        if self.is_constant(given):
            return given
        if self.type.form == "enumeration":
            if given not in self.type.enumerators:
                raise wrong
            return f"{self.type.within(self.owner.namespace)}::{given}"
        if cpp == "bool" and isinstance(given, bool):
            return str(given).lower()
        if cpp in WHOLE and type(given) is int and WHOLE[cpp][0] <= given <= WHOLE[cpp][1]:
            return str(given) if given != -2**31 else "-2147483647 - 1"
        if cpp == "Ryx::Seconds" and given == "infinity":
            return "Ryx::never"
        if cpp in ("double", "Ryx::Seconds") and type(given) in (int, float) and (
                math.isfinite(given)):
            return repr(float(given)) if type(given) is float else f"{given}.0"
        if cpp == "Ryx::String8" and isinstance(given, str) and given.isprintable():
            escaped = given.replace("\\", "\\\\").replace('"', '\\"')
            # Two question marks could begin a trigraph.
            escaped = re.sub(r"\?(?=\?)", r"?\\", escaped)
            return f'"{escaped}"'
        raise wrong
