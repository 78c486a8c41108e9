# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Reads schemas: YAML in, dictionaries of the right form out. Says where and what is wrong."""

import re

import yaml

from names import ENTITY, MACHINE, NAME, NAMESPACES, STRUCTURE, TYPE, check_names

# The kinds of attributes with their flags: of an entity, and of a machine.
KINDS = {
    "value": {"silent", "readOnly"}, "reference": {"silent"}, "contained": {"silent"},
    "map": {"silent", "has", "borrowed", "take", "size", "spot"},
    "elements": {"silent", "has", "borrowed", "take", "size", "virtual"},
    "set": {"silent", "take", "size"}}
MACHINE_KINDS = {
    "value": {"counter"}, "constant": set(), "input": {"internal", "unwatched"}, "output": set(),
    "map": set(), "pointers": set(), "elements": set(), "objects": set(), "reactors": {"size"}}
COLLECTIONS = ("map", "elements", "set", "pointers", "objects", "reactors")
TO_ENTITIES = ("reference", "contained", "elements", "input", "output", "pointers", "objects",
               "reactors")
FORMS = {
    "schema": {"namespace": str, "external": dict, "types": dict},
    "type": {"meaning": str, "owner": str, "base": str, "key": dict, "made": str,
             "attributes": dict, "enumeration": list, "structure": dict, "text": str,
             "as": str, "machine": dict},
    "machine": {"inputs": str, "reactors": str},
    "attribute": {"kind": str, "type": str, "key": str, "default": object, "inert": bool,
                  "unit": str, "set": str, "storage": str, "flags": list, "meaning": str},
    "field": {"type": str, "unit": str, "meaning": str},
}
EXPECTED = {str: "text", dict: "a mapping", list: "a list", bool: "true or false"}
HEADER = re.compile(r"[A-Za-z0-9_./+-]+\Z")


class SchemaError(Exception):
    pass


class Mapping(dict):
    """A mapping that knows the lines of its keys."""

    lines: dict


class Loader(yaml.SafeLoader):
    def construct_mapping(self, node, deep=False):
        mapping = Mapping()
        mapping.lines = {}
        for key_node, value_node in node.value:
            line = key_node.start_mark.line + 1
            if not isinstance(key_node, yaml.ScalarNode):
                raise SchemaError(f"{self.name}:{line}: a name is expected here")
            # A name is a name, also where YAML would take it for something else.
            key = key_node.value
            if key in mapping:
                raise SchemaError(f"{self.name}:{line}: {key} is here a second time, "
                                  f"first in line {mapping.lines[key]}")
            mapping[key] = self.construct_object(value_node, deep=True)
            mapping.lines[key] = line
        return mapping


# What is no text without quotes: less than YAML 1.1 has, so that "on", "010", "1:30" and a
# date are what they look like.
Loader.yaml_implicit_resolvers = {}
for tag, form, first in (("bool", r"(?:true|false)\Z", "tf"),
                         ("null", r"(?:~|null|)\Z", ["~", "n", ""]),
                         ("int", r"-?(?:0|[1-9][0-9]*)\Z", "-0123456789"),
                         ("float", r"-?(?:0|[1-9][0-9]*)\.[0-9]+(?:e[-+]?[0-9]+)?\Z",
                          "-0123456789")):
    Loader.add_implicit_resolver(f"tag:yaml.org,2002:{tag}", re.compile(form), list(first))
Loader.add_constructor("tag:yaml.org,2002:map", Loader.construct_mapping)


class Place:
    """Where in a schema something is, for messages."""

    def __init__(self, path, line, what=""):
        self.path, self.line, self.what = path, line, what

    def of(self, mapping, key):
        return Place(self.path, mapping.lines.get(key, self.line),
                     f"{self.what}.{key}".strip("."))

    def error(self, text):
        what = f"{self.what}: " if self.what else ""
        return SchemaError(f"{self.path}:{self.line}: {what}{text}")


def shown(value):
    """A value as the schema has it."""
    for constant, text in ((None, "nothing"), (True, "true"), (False, "false")):
        if value is constant:
            return text
    return {dict: "a mapping", Mapping: "a mapping", list: "a list"}.get(type(value)) or str(value)


def check_text(text, place):
    """A sentence becomes a comment: of any number of lines, each of which has to end."""
    if not text.strip() or "??/" in text or any(
            not c.isprintable() or c == "\\" for c in text):
        raise place.error("a text of one line without backslashes is expected")


def check_form(mapping, form, place):
    """Every key is known and has a value of the type that belongs to it."""
    if not isinstance(mapping, Mapping):
        raise place.error(f"{shown(mapping)} is given, expected a mapping with some of: "
                          f"{', '.join(FORMS[form])}")
    for key, value in mapping.items():
        if key not in FORMS[form]:
            hint = ("; a text with a comma, or a colon and a space, needs quotes"
                    if value is None or " " in key else "")
            raise place.of(mapping, key).error(
                f"is not known here, expected one of: {', '.join(FORMS[form])}{hint}")
        expected = FORMS[form][key]
        if not isinstance(value, expected):
            raise place.of(mapping, key).error(
                f"{shown(value)} is given, expected {EXPECTED[expected]}")
        if isinstance(value, list) and not all(isinstance(item, str) for item in value):
            raise place.of(mapping, key).error("a list of names is expected")
        if isinstance(value, str) and expected is str:
            check_text(value, place.of(mapping, key))


def check_attribute(attribute, place, kinds):
    check_form(attribute, "attribute", place)
    kind = attribute.get("kind", "value")
    if kind not in kinds:
        raise place.error(f"{kind} is no kind, expected one of: {', '.join(kinds)}")
    wanted = {"meaning"} | ({"key"} if kind in COLLECTIONS else set()) | (
        {"type"} if kind != "set" else set()) | ({"default"} if kind == "constant" else set())
    for key in sorted(wanted - set(attribute)):
        raise place.error(f"{key} is missing")
    for key, having in (("key", COLLECTIONS), ("set", ("map",)), ("storage", ("pointers",)),
                        ("default", ("value", "constant")), ("type", set(kinds) - {"set"})):
        if key in attribute and kind not in having:
            having = ", ".join(k for k in kinds if k in having) or "none"
            raise place.error(f"has {key}, which only these kinds have: {having}")
    for flag in attribute.get("flags", ()):
        if flag not in kinds[kind]:
            raise place.error(f"{flag} is no flag of the kind {kind}, "
                              f"expected some of: {', '.join(sorted(kinds[kind])) or 'none'}")
    check_once(attribute.get("flags", ()), place)
    for key in ("flags", "default", "set"):
        if attribute.get("inert") and key in attribute:
            raise place.error(f"is inert, so that it has no {key}")


def check_once(names, place):
    for name in names:
        if names.count(name) > 1:
            raise place.error(f"{name} is here a second time")


def check_enumeration(names, place):
    if not 1 <= len(names) <= 256:
        raise place.error(f"has {len(names)} enumerators, expected 1 to 256")
    check_names(names, place, at=place)
    check_once(names, place)


def check_machine(declared, place):
    here = place.of(declared, "machine")
    check_form(declared["machine"], "machine", here)
    for key in sorted({"inputs", "reactors"} - set(declared["machine"])):
        raise here.error(f"{key} is missing")
    for key, name in declared["machine"].items():
        check_names([name], here, TYPE, here.of(declared["machine"], key))
    for name, attribute in declared.get("attributes", {}).items():
        if isinstance(attribute, dict) and attribute.get("inert"):
            raise place.of(declared["attributes"], name).error("nothing is inert in a machine")


def check_type(declared, place):
    check_form(declared, "type", place)
    if "meaning" not in declared:
        raise place.error("meaning is missing")
    forms = [form for form in ("enumeration", "structure", "machine") if form in declared]
    entity = set(declared) & {"base", "owner", "key", "made", "attributes"}
    if "machine" in forms:
        check_machine(declared, place)
        entity -= {"attributes"}
    if len(forms) > 1 or (forms and entity):
        raise place.error(f"is of two forms: {', '.join(sorted(entity | set(forms)))}")
    if ("text" in declared or "as" in declared) and "structure" not in declared:
        raise place.error("text and as belong to a structure")
    if "text" in declared and list(declared["structure"]) != [declared["text"]]:
        raise place.error("text names the one field of a structure, and there is another; "
                          "a structure of more fields needs a ValueTraits written by hand")
    if declared.get("as", "number") != "number" or ("as" in declared) > ("text" in declared):
        raise place.error("as is number, and goes with text")
    if "key" in declared and (len(declared["key"]) != 1 or "base" in declared):
        raise place.error("a key has one name and its type, and a type with a base has the base's")
    if "enumeration" in declared:
        check_enumeration(declared["enumeration"], place)
    for part, taken in (("attributes", MACHINE if "machine" in declared else ENTITY),
                        ("structure", STRUCTURE), ("key", ENTITY)):
        check_names(declared.get(part, {}), place, taken)
    for name, named in declared.get("key", {}).items():
        if not isinstance(named, str):
            raise place.of(declared["key"], name).error("a type is expected")
    for name, attribute in declared.get("attributes", {}).items():
        check_attribute(attribute, place.of(declared["attributes"], name),
                        MACHINE_KINDS if "machine" in declared else KINDS)
    for name, field in declared.get("structure", {}).items():
        here = place.of(declared["structure"], name)
        check_form(field, "field", here)
        for key in sorted({"type", "meaning"} - set(field)):
            raise here.error(f"{key} is missing")


def check_namespace(name, place):
    """A guard is in capitals: one in a namespace ryx would be one of Ryx."""
    outermost = name.split("::")[0]
    for known in NAMESPACES:
        if outermost.upper() == known.upper() and outermost != known:
            raise place.error(f"{outermost} differs from {known} only in capitals")
    check_names(name.split("::"), place, NAMESPACES, place)


def load(path):
    try:
        text = path.read_text(encoding="utf-8")
        loader = Loader(text)
        loader.name = str(path)
        return text, loader.get_single_data()
    except UnicodeDecodeError as error:
        raise SchemaError(f"{path}: is not UTF-8 at byte {error.start}")
    except yaml.MarkedYAMLError as error:
        mark = error.problem_mark or error.context_mark
        raise SchemaError(f"{path}:{mark.line + 1}:{mark.column + 1}: {error.problem}")
    except (yaml.YAMLError, ValueError) as error:
        raise SchemaError(f"{path}: {str(error).splitlines()[0]}")


def read_schema(path):
    text, schema = load(path)
    place = Place(path, 1)
    check_form(schema, "schema", place)
    for key in ("namespace", "types"):
        if key not in schema:
            raise place.error(f"{key} is missing")
    check_namespace(schema["namespace"], place.of(schema, "namespace"))
    for name, header in schema.get("external", {}).items():
        here = place.of(schema["external"], name)
        if not isinstance(header, str) or not HEADER.match(header):
            raise here.error("the header's name is expected")
        check_names(name.split("::"), here, at=here)
    check_names(schema["types"], place, TYPE)
    for name, declared in schema["types"].items():
        check_type(declared, place.of(schema["types"], name))
    schema["place"] = place
    schema["notice"] = [line[1:].strip() for line in text.split("\n\n")[0].splitlines()
                        if line.startswith("#")]
    for line in schema["notice"]:
        check_text(line or "-", place)
    return schema
