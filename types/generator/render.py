# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Writes checked types as C++, and as a reference."""

from pathlib import Path

import jinja2

import layout
from model import Model, guard_of

FUNDAMENTAL = ("bool", "unsigned char", "unsigned", "int", "double")
# A record whose code is in RyxTypes, written by hand.
KOVEL_RECORDS = {("Kovel::IntfId", "bool")}


class Cpp:
    """How one type is written within its namespace."""

    def __init__(self, declared):
        self.type, self.namespace = declared, declared.namespace

    def spelled(self, a_type):
        return a_type.within(self.namespace)

    def stored(self, a):
        if a.kind == "reference":
            return f"Ryx::Ptr< {self.spelled(a.type)} const >"
        if a.kind in ("contained", "elements", "pointers", "objects", "reactors"):
            return f"Ryx::Ptr< {self.spelled(a.type)} >"
        return self.spelled(a.type)

    def by_value(self, a):
        return a.kind in ("value", "map", "set") and a.type.by_value

    def taken(self, a):
        return self.stored(a) if self.by_value(a) else f"{self.stored(a)} const&"

    def given(self, a):
        """A number of seconds is taken by reference and given by value."""
        copied = self.by_value(a) or a.type.cpp == "Ryx::Seconds"
        return self.stored(a) if copied else f"{self.stored(a)} const&"

    def entry(self, a_type):
        """How an entry of a map or a set is given to a setter."""
        plain = a_type.cpp in FUNDAMENTAL or a_type.form == "enumeration"
        return self.spelled(a_type) if plain else f"{self.spelled(a_type)} const&"

    def storage(self, a):
        if a.kind == "set":
            return f"Ryx::KeySet< {self.spelled(a.key)} >"
        head = "Ryx::ElementMap" if a.kind == "elements" else "Ryx::ValueMap"
        return f"{head}< {self.spelled(a.key)}, {self.spelled(a.type)} >"

    def descriptor(self, a, tail):
        """The line of the attribute table."""
        callback = f"&NotifieeConst::on{a.Name}"
        if a.silent:
            callback = "Ryx::silent"
        elif a.collection:
            callback = layout.listed(12, "Ryx::keyed", [callback, callback], "", "( ", " )",
                                     room=len(" >" + tail))
            callback = callback if "\n" in callback else callback.strip()
        if a.inert:
            head = "Ryx::InertCollection" if a.collection else "Ryx::Inert"
            items = [f'"{a.name}"', self.stored(a), callback]
        else:
            head = "Ryx::Collection" if a.collection else "Ryx::Value"
            items = [f'"{a.name}"', f"&{self.type.name}::{a.name}_", callback]
            if a.kind == "contained":
                items.append("Ryx::Access::contained")
            elif "readOnly" in a.flags:
                items.append("Ryx::Access::readOnly")
        return layout.listed(9, head, items, tail)

    # Machines.

    @property
    def folder(self):
        return self.type.header.rpartition("/")[0]

    @property
    def given_attributes(self):
        """What a machine is made of: its inputs, but for internal ones, and its outputs."""
        return [a for a in self.type.attributes
                if a.kind in ("input", "output") and "internal" not in a.flags]

    @property
    def watched_attributes(self):
        return [a for a in self.type.attributes if a.kind == "reactors" or (
            a.kind == "input" and "unwatched" not in a.flags)]

    @property
    def given_parameters(self):
        return [f"{self.input(a)} const& {a.name}" for a in self.given_attributes]

    @property
    def watched_inputs(self):
        return [a for a in self.given_attributes
                if a.kind == "input" and "unwatched" not in a.flags]

    @property
    def taken_over(self):
        return [a for a in self.given_attributes if a not in self.watched_inputs]

    @property
    def input_headers(self):
        return sorted({a.type.header for a in self.given_attributes})

    def guard_of(self, name):
        return guard_of(f"{self.namespace}::{name}")

    def input(self, a):
        const = " const" if a.kind == "input" else ""
        return f"Ryx::Ptr< {self.spelled(a.type)}{const} >"

    def machine_storage(self, a):
        """The type of the member that stores an attribute of a machine."""
        key, element = self.spelled(a.key) if a.key else "", self.spelled(a.type)
        if a.storage:
            return self.spelled(a.storage)
        return {
            "value": element,
            "input": f"Ryx::ReferenceSlot< {element} >" if "unwatched" in a.flags
                     else f"Ryx::ReactorSlot< Ryx{a.Name}, {element} >",
            "output": f"Ryx::Ptr< {element} > const",
            "map": f"Ryx::ValueMap< {key}, {element} >",
            "pointers": f"Ryx::PtrMap< {key}, {element} >",
            "elements": f"Ryx::ElementMap< {key}, {element} >",
            "objects": f"Ryx::ObjectMap< {key}, {element} >",
            "reactors": f"Ryx::ReactorMap< {key}, Ryx{a.Name}, {element} >"}[a.kind]

    def machine_descriptor(self, a):
        head = {"value": "Value", "constant": "Constant", "input": "Input",
                "output": "Fixed"}.get(a.kind, "Collection")
        member = a.name if a.kind == "constant" else f"{a.name}_"
        return layout.listed(12, f"Ryx::{head}",
                             [f'"{a.name}"', f"&{self.type.name}::{member}"], ",")

    @property
    def moved(self):
        """The constructor's argument, handed on."""
        name, a_type = self.type.key
        return name if a_type.by_value else f"std::move( {name} )"

    @property
    def key_text(self):
        name, a_type = self.type.key
        kovel = a_type.cpp.startswith("Kovel::")
        return f"{name}_.string()" if kovel else f"Ryx::valueToStrep( {name}_ )"

    @property
    def stored_attributes(self):
        return [a for a in self.type.attributes if not a.inert]

    @property
    def guard(self):
        return guard_of(self.type.cpp)

    @property
    def headers(self):
        declared = self.type
        used = [t for _, t, _ in declared.fields] + [a.type for a in declared.attributes]
        used += [a.key for a in declared.attributes if a.key]
        used += [t for t in (declared.base,) if t]
        used += [declared.own_key[1]] if declared.own_key else []
        headers = {t.header for t in used if t.header and t is not declared}
        if declared.form == "machine":
            used += [a.storage for a in declared.attributes if a.storage]
            headers = {t.header for t in used if t.header}
            return sorted((headers | {"Ryx/Reactor", f"{self.folder}/{declared.inputs}"}))
        if declared.form == "entity":
            return sorted((headers | {"Ryx/State"}) - {"Ryx/String8", "Ryx/Name"})
        return sorted(headers | {"Ryx/Attribute", "Ryx/Strep"})

    @property
    def records(self):
        """The records whose code has to be in one library, as (key, value)."""
        if self.type.form == "machine":
            return []
        found = []
        for a in self.stored_attributes:
            if a.collection:
                value = f"Ryx::Ptr< {a.type.cpp} >" if a.kind == "elements" else a.type.cpp
                found.append((a.key.cpp, value))
        return [record for record in dict.fromkeys(found) if record not in KOVEL_RECORDS]


def markdown(text):
    for special in "\\|<>*_`":
        text = text.replace(special, "\\" + special)
    return text


def reference_type(a):
    if a.kind in ("reference", "contained", "elements"):
        return f"Ryx::Ptr< {a.type.cpp}{' const' if a.kind == 'reference' else ''} >"
    return a.type.cpp


def default_text(a):
    if a.kind != "value" or a.inert or not a.initial:
        return ""
    text = "infinity" if a.initial == "Ryx::never" else a.initial
    return f"`{text if text.startswith(chr(34)) else text.rpartition('::')[2]}`"


def environment():
    env = jinja2.Environment(
        loader=jinja2.FileSystemLoader(Path(__file__).resolve().parent),
        trim_blocks=True, lstrip_blocks=True, keep_trailing_newline=True,
        undefined=jinja2.StrictUndefined)
    env.filters["suffixed"] = lambda text, suffix: text + suffix
    env.globals.update(declared=layout.declared, listed=layout.listed, function=layout.function,
                       derived=layout.derived, comment=layout.comment, markdown=markdown,
                       reference_type=reference_type, default_text=default_text)
    return env


def source_of(namespace):
    parts = namespace.split("::")
    return "/".join(parts if len(parts) > 1 else parts * 2) + ".cpp"


def rendered(schemas, others, output, reference=None, beside=()):
    """The files, as a dictionary from path to text."""
    model, env = Model(schemas, others, beside), environment()
    files, listing = {}, []
    told = {record for one in model.declared if one.schema in others
            for record in Cpp(one).records}
    for schema in schemas:
        own = [Cpp(one) for one in model.declared if one.schema is schema]
        listing.append((schema["namespace"], own))
        common = {"namespace": schema["namespace"], "notice": schema["notice"],
                  "schema": schema["place"].path.name}
        for one in own:
            template = env.get_template(f"{one.type.form}.jinja")
            files[output / one.type.header] = template.render(cpp=one, type=one.type, **common)
            if one.type.form == "machine":
                files[output / one.folder / one.type.inputs] = env.get_template(
                    "inputs.jinja").render(cpp=one, type=one.type, **common)
        records = [r for one in own for r in one.records if r not in told]
        told.update(records)
        registered = [one.type.name for one in own if one.type.form in ("enumeration", "entity")
                      or one.type.form == "structure" and one.type.text]
        if not registered:
            continue
        files[output / source_of(schema["namespace"])] = env.get_template(
            "source.jinja").render(types=[one for one in own if one.type.form != "machine"],
                                   records=list(dict.fromkeys(records)),
                                   registered=registered, **common)
    if reference:
        files[reference] = env.get_template("reference.jinja").render(listing=listing)
    return files
