# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Finds the types that schemas name, and checks that they can be what they are used as."""

import math

from schema import COLLECTIONS, KINDS, TO_ENTITIES, shown


class Type:
    """A type that can be named, whoever writes it.

    `form` is builtin, external, enumeration, structure, machine or entity."""

    def __init__(self, cpp, header, form, by_value=False, initial=None, is_key=True):
        self.cpp, self.header, self.form = cpp, header, form
        self.by_value, self.initial, self.is_key = by_value, initial, is_key
        self.namespace, _, self.name = cpp.rpartition("::")

    def within(self, namespace):
        return self.name if self.namespace == namespace else self.cpp


def builtin(cpp, header=None, by_value=True, initial=None, is_key=True):
    return Type(cpp, header, "builtin", by_value, initial, is_key)


BUILTIN = {
    "bool": builtin("bool", initial="false", is_key=False),
    "byte": builtin("unsigned char", initial="0", is_key=False),
    "unsigned": builtin("unsigned", initial="0"),
    "int": builtin("int", initial="0"),
    "double": builtin("double", initial="0", is_key=False),
    "Seconds": builtin("Ryx::Seconds", "Ryx/Time", False, "0", False),
    "String8": builtin("Ryx::String8", "Ryx/String8", False),
    "Name": builtin("Ryx::Name", "Ryx/Name", False, is_key=False),
    "IntfId": builtin("Kovel::IntfId", "Kovel/Traits"),
    "EthAddr": builtin("Kovel::EthAddr", "Kovel/Traits"),
    "IpAddr": builtin("Kovel::IpAddr", "Kovel/Traits", is_key=False),
}
WHOLE = {"unsigned char": (0, 255), "unsigned": (0, 2**32 - 1), "int": (-2**31, 2**31 - 1)}


class Declared(Type):
    """A type of a schema."""

    def __init__(self, name, declared, schema):
        forms = [form for form in ("enumeration", "structure", "machine") if form in declared]
        form = forms[0] if forms else "entity"
        full = f"{schema['namespace']}::{name}"
        super().__init__(full, full.replace("::", "/"), form, form == "enumeration",
                         is_key=form == "enumeration")
        self.declared, self.schema = declared, schema
        self.place = schema["place"].of(schema["types"], name)
        self.meaning, self.text = declared["meaning"], declared.get("text")
        self.number = "as" in declared
        machine = declared.get("machine", {})
        self.inputs, self.reactors = machine.get("inputs"), machine.get("reactors")
        self.enumerators = declared.get("enumeration", [])

    def link(self, model):
        """Finds what it names. Bases are found for all types before attributes are."""
        scope, declared = self.schema["namespace"], self.declared
        self.base = model.entity(declared["base"], scope, self.place) if (
            "base" in declared) else None
        self.made = model.entity(declared["made"], scope, self.place) if (
            "made" in declared) else None
        self.own_key = next(((name, model.find(named, scope, self.place))
                             for name, named in declared.get("key", {}).items()), None)

    @property
    def line_of_bases(self):
        """Itself and its bases, the nearest first."""
        line = [self]
        while line[-1].base:
            if line[-1].base in line:
                raise self.place.error(f"is its own base, by way of {line[-1].base.cpp}")
            line.append(line[-1].base)
        return line

    @property
    def key(self):
        """What its constructor takes and a collection finds it by, as (name, type)."""
        return self.line_of_bases[-1].own_key or ("name", BUILTIN["Name"])

    @property
    def owner(self):
        return next((t.declared["owner"] for t in self.line_of_bases if "owner" in t.declared),
                    None)

    def fill(self, model):
        scope = self.schema["namespace"]
        fields = self.declared.get("structure", {})
        self.fields = [(name, model.value(given["type"], scope, self.place.of(fields, name),
                                          self), given) for name, given in fields.items()]
        attributes = self.declared.get("attributes", {})
        self.attributes = [Attribute(name, given, self, model, self.place.of(attributes, name))
                           for name, given in attributes.items()]

    def check(self):
        if self.own_key and not (self.own_key[1].is_key or self.own_key[1].form == "external"):
            raise self.place.error(f"{self.own_key[1].cpp} cannot be a key")
        if self.made and (self not in self.made.line_of_bases or self.made is self
                          or self.made.namespace != self.namespace):
            raise self.place.error(f"{self.made.cpp} does not derive from it in its namespace")
        self.check_members()
        if self.form == "structure" and any(t is self for _, t, _ in self.fields):
            raise self.place.error("contains itself")
        self.check_includes()

    @property
    def named(self):
        """The declared types whose headers this one's includes."""
        types = [self.base] + [t for _, t, _ in self.fields] + [
            t for a in self.attributes for t in (a.type, a.key)]
        return [t for t in types if isinstance(t, Declared) and t is not self]

    def check_includes(self):
        reached, left = set(), self.named
        while left:
            one = left.pop()
            if one is self:
                raise self.place.error(
                    "its header would include itself: a type that it names also names it; one "
                    "of the two has to name a base of the other")
            if one not in reached:
                reached.add(one)
                left += one.named

    def check_members(self):
        """No two attributes of it and its bases make one C++ name."""
        seen, made = {self.name.lower(): "the type itself"}, set()
        for one in reversed(self.line_of_bases):
            own = [(one.own_key[0], [one.own_key[0]], one.place)] if one.own_key else []
            for name, members, place in own + [(a.name, a.members, a.place)
                                               for a in one.attributes]:
                for member in members:
                    if member.lower() in seen:
                        raise place.error(
                            f"makes {member}, which {seen[member.lower()]} makes already")
                seen.update({member.lower(): name for member in members})
                made.update(members)
        for a in self.attributes:
            for named in (a.type, a.key):
                if named and named.namespace == self.namespace and named.name in made:
                    raise a.place.error(f"the type {named.cpp} is called like a member of this")


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
        if self.kind == "input":
            return [x, f"{x}Is", f"{x}Del", f"new{big}", f"Ryx{big}"]
        if not self.collection:
            return [x, f"{x}Is"]
        return [x, f"{x}Is", f"{x}Del", f"{x}DelAll", f"{x}Notify", f"{x}Iterator",
                f"{x}IteratorConst", f"{x}Storage", f"{x}Has", f"{x}Take", f"{x}Put",
                f"{x}Size", f"{x}Reserve",
                f"new{big}", f"borrowed{big}", f"Ryx{big}", f"Ryx{big}Iterator"]

    def check_key(self):
        if not (self.key.is_key or self.key.form == "external"):
            raise self.place.error(f"{self.key.cpp} cannot be the key of what is stored")

    def check_element(self):
        if self.kind == "elements" and isinstance(self.type, Declared):
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

    def default(self, given):
        cpp = self.type.cpp
        wrong = self.place.error(f"{shown(given)} cannot be the default of {cpp}")
        constant = self.owner.declared["attributes"].get(given) if isinstance(given, str) else None
        if constant and constant.get("kind") == "constant" and (
                constant.get("type") == self.declared["type"]):
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
            return f'"{escaped}"'
        raise wrong


class Model:
    """All types of some schemas, and of others that they name."""

    def __init__(self, schemas, others):
        self.types = dict(BUILTIN)
        self.types.update({t.cpp: t for t in BUILTIN.values()})
        self.declared = []
        for schema in [*others, *schemas]:
            for name, header in schema.get("external", {}).items():
                self.types[name] = Type(name, header, "external")
        for schema in [*others, *schemas]:
            for name, declared in schema["types"].items():
                self.add(Declared(name, declared, schema))
        self.check_namespaces([*others, *schemas])
        for one in self.declared:
            one.link(self)
        for one in sorted(self.declared, key=lambda t: t.form == "entity"):
            one.fill(self)
        for one in self.declared:
            one.check()
            for attribute in one.attributes:
                attribute.check_element()

    def add(self, one):
        for other in self.declared:
            if other.cpp.upper() == one.cpp.upper():
                raise one.place.error(
                    f"{one.cpp} is here a second time, first in {other.place.path}:"
                    f"{other.place.line}")
        self.types[one.cpp] = one
        self.declared.append(one)

    def check_namespaces(self, schemas):
        outermost = {schema["namespace"].split("::")[0] for schema in schemas}
        seen = {}
        for schema in schemas:
            name, place = schema["namespace"], schema["place"].of(schema, "namespace")
            if name in seen:
                raise place.error(f"{name} has a schema already: {seen[name]}")
            seen[name] = schema["place"].path
            for part in name.split("::")[1:]:
                if part in outermost:
                    raise place.error(f"{name} would hide the namespace {part}")
        for one in self.declared:
            if one.name in outermost or one.cpp in seen:
                raise one.place.error("there is a namespace of this name")

    def find(self, name, scope, place):
        parts = scope.split("::")
        for n in range(len(parts), -1, -1):
            found = self.types.get("::".join(parts[:n] + [name]))
            if found:
                return found
        raise place.error(f"{name} is not known as a type")

    def entity(self, name, scope, place, others=()):
        found = self.find(name, scope, place)
        if found.form not in ("entity", *others):
            raise place.error(f"{name} is no entity")
        return found

    def value(self, name, scope, place, stored_in):
        """What can be an attribute's value or a field. What is stored has a text form."""
        found = self.find(name, scope, place)
        if found.form == "machine":
            raise place.error(f"{name} is a machine, and no value")
        if found.form == "entity":
            raise place.error(f"{name} is an entity, and no value: expected one of the kinds "
                              f"{', '.join(k for k in KINDS if k in TO_ENTITIES)}")
        if found.form == "structure" and stored_in is not None and not found.text:
            raise place.error(f"{name} has no text, so it can only be what is inert")
        return found
