# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Finds the types that schemas name, and checks that they can be what they are used as."""

from attribute import Attribute, check_unit
from macros import MACROS
from schema import KINDS, TO_ENTITIES


class Type:
    """A type that can be named, wherever it comes from.

    `form` is builtin, external, enumeration, structure, machine or entity."""

    def __init__(self, cpp, header, form, by_value=False, initial=None, is_key=True):
        self.cpp, self.header, self.form = cpp, header, form
        self.by_value, self.initial, self.is_key = by_value, initial, is_key
        self.namespace, _, self.name = cpp.rpartition("::")

    def within(self, namespace):
        return self.name if self.namespace == namespace else self.cpp

    @property
    def measured(self):
        """Whether it is a number, so that a unit says something."""
        return self.cpp in MEASURED or self.form == "external" or any(
            field.measured for _, field, _ in getattr(self, "fields", []))


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
MEASURED = ("unsigned char", "unsigned", "int", "double", "Ryx::Seconds")


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

    def role_place(self, role):
        """Where the inputs or the reactors of a machine are named."""
        machine = self.place.of(self.declared, "machine")
        return machine.of(self.declared["machine"], role)

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
        self.check_fields()
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

    def check_fields(self):
        places = self.declared.get("structure", {})
        for name, a_type, given in self.fields:
            place = self.place.of(places, name)
            check_unit(given, a_type.measured, a_type, place)
            if name == self.name or any(name == t.within(self.namespace)
                                        for _, t, _ in self.fields):
                raise place.error(f"{name} is also the name of a type that is used here")

    def check_members(self):
        """No two attributes of it and its bases make one C++ name, nor one that each has."""
        seen, made = {self.name.lower(): "the type itself"}, set()
        for name, what in ((self.inputs, "the structure of its inputs"),
                           (self.reactors, "the structure of its reactors")):
            if name:
                seen[name.lower()] = what
        for one in reversed(self.line_of_bases):
            own = [(one.own_key[0], [one.own_key[0]], one.place)] if one.own_key else []
            for name, members, place in own + [(a.name, a.members + a.callbacks, a.place)
                                               for a in one.attributes]:
                for member in members:
                    if member.lower() in seen:
                        raise place.error(
                            f"makes {member}, which {seen[member.lower()]} makes already")
                seen.update({member.lower(): name for member in members})
                made.update(members)
        for a in self.attributes:
            a.check_taken()
            for named in (a.type, a.key, a.storage):
                self.check_hidden(named, made, a.place)
        for named in (self.base, self.own_key and self.own_key[1]):
            self.check_hidden(named, made, self.place)

    def check_hidden(self, named, made, place):
        if named and named.namespace == self.namespace and named.name in made:
            raise place.error(f"the type {named.cpp} is called like a member of this")


def guard_of(cpp):
    return cpp.replace("::", "_").upper()


def check_guard(cpp, place):
    if guard_of(cpp) in MACROS:
        raise place.error(f"{guard_of(cpp)}, the guard of its header, is a macro of C++")


class Model:
    """All types of some schemas, and of others that they name. The namespaces of those
    `beside` them are taken."""

    def __init__(self, schemas, others, beside=()):
        self.types = dict(BUILTIN)
        self.types.update({t.cpp: t for t in BUILTIN.values()})
        self.declared = []
        for schema in [*others, *schemas]:
            for name, header in schema.get("external", {}).items():
                if name in self.types and self.types[name].form == "builtin":
                    raise schema["place"].of(schema["external"], name).error("is built in")
                self.types[name] = Type(name, header, "external")
        for schema in [*others, *schemas]:
            for name, declared in schema["types"].items():
                self.add(Declared(name, declared, schema))
        self.check_namespaces([*beside, *others, *schemas])
        self.check_files()
        for one in self.declared:
            one.link(self)
        for one in sorted(self.declared, key=lambda t: t.form == "entity"):
            one.fill(self)
        for one in self.declared:
            one.check()
            for attribute in one.attributes:
                attribute.check_element()

    def add(self, one):
        if one.cpp in self.types and self.types[one.cpp].form == "external":
            raise one.place.error(f"{one.cpp} is external already")
        for other in self.declared:
            if other.cpp.upper() == one.cpp.upper():
                raise one.place.error(
                    f"{one.cpp} is here a second time, first in {other.place.path}:"
                    f"{other.place.line}")
        self.types[one.cpp] = one
        self.declared.append(one)

    def check_files(self):
        """No two types, nor the inputs and reactors of machines, have one name or one header."""
        externals = [t for t in self.types.values() if t.form == "external"]
        seen = {t.cpp.upper(): f"{t.place.path}:{t.place.line}" for t in self.declared}
        for one in self.declared:
            for external in externals:
                if external.header == one.header:
                    raise one.place.error(f"is to be written to {one.header}, which is the "
                                          f"header of the external type {external.cpp}")
            check_guard(one.cpp, one.place)
        for one in self.declared:
            for role, name in one.declared.get("machine", {}).items():
                cpp, place = f"{one.namespace}::{name}", one.role_place(role)
                check_guard(cpp, place)
                if cpp.upper() in seen:
                    raise place.error(
                        f"{cpp} is here a second time, first in {seen[cpp.upper()]}")
                seen[cpp.upper()] = f"{place.path}:{place.line}"
                for external in externals:
                    if external.cpp == cpp or external.header == cpp.replace("::", "/"):
                        raise place.error(f"{cpp} is external already")

    def check_namespaces(self, schemas):
        outermost = {schema["namespace"].split("::")[0] for schema in schemas}
        enclosing = {"::".join(parts[:n]) for parts in
                     (schema["namespace"].split("::") for schema in schemas)
                     for n in range(1, len(parts) + 1)}
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
            names = [(one.cpp, one.name, one.place)] + [
                (f"{one.namespace}::{name}", name, one.role_place(role))
                for role, name in one.declared.get("machine", {}).items()]
            for cpp, name, place in names:
                if name in outermost or cpp in enclosing:
                    raise place.error("there is a namespace of this name")

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
