# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Names that are none, that are taken, and that clash with one another."""

import re

import names
from generated import GENERATOR, Generated

RYX = GENERATOR.parent.parent / "Ryx"


def public_members(header, name, all_of_them=False):
    """The functions of a class that everybody can call, or all, as they stand in its header."""
    text = (RYX / header).read_text().split(f"class {name} : public ", 1)[1]
    found, public = set(), all_of_them
    for line in text[:text.index("\n};")].splitlines():
        if re.match(r" (public|protected|private):", line):
            public = all_of_them or line == " public:"
        member = re.match(r"   (?! |//)(?:[\w:<>*&,\[\] ]+ )?[*&]?([a-z]\w*)\(", line)
        if public and member:
            found.add(member.group(1))
    return found


class Names(Generated):
    def test_names_that_are_none(self):
        for name in ("a-b", "1", "2020-01-01", "ä"):
            self.refused(f"namespace: A\ntypes:\n   {name}: {{ meaning: m }}\n",
                         f"3: {name}: {name} is no name: letters and digits are expected")
        self.refused("namespace: A\ntypes:\n   '': { meaning: m }\n",
                     "3: nothing is no name: letters and digits are expected")
        self.refused("namespace: A-B\ntypes: {}\n",
                     "1: namespace: A-B is no name: letters and digits are expected")
        self.refused("namespace: A\ntypes:\n   [ a ]: { meaning: m }\n",
                     "3: a name is expected here")

    def test_names_that_are_taken(self):
        for name, why in (("name", "every entity has it"), ("parent", "every entity has it"),
                          ("references", "the generated code has it"),
                          ("class", "it is a word or a macro of C++"),
                          ("unix", "it is a word or a macro of C++"),
                          ("EINVAL", "it is a word or a macro of C++")):
            attribute = f"{name}: {{ type: bool, meaning: m }}"
            self.refused_types(f"T: {{ meaning: m, attributes: {{ {attribute} }} }}",
                               f"3: T.{name}: {name} is taken: {why}")
        for name, taken in (("Ryx", "Ryx"), ("std::A", "std"), ("A::Ryx", "Ryx")):
            self.refused(f"namespace: {name}\ntypes: {{}}\n",
                         f"1: namespace: {taken} is taken: the generated code has it")
        self.refused("namespace: OstraMlag\ntypes: {}\n",
                     "1: namespace: OstraMlag is taken: the plug-in has it")
        self.refused("namespace: A::class\ntypes: {}\n",
                     "1: namespace: class is taken: it is a word or a macro of C++")

    def test_names_twice_in_one_type(self):
        self.refused_types("""\
            T: { meaning: m, attributes: { x: { type: bool, meaning: m } } }
            U: { meaning: m, base: T, attributes: { x: { type: int, meaning: m } } }
            """, "4: U.x: makes x, which x makes already")
        self.refused_types("""\
            T:
               meaning: m
               attributes:
                  x: { kind: set, key: IntfId, meaning: m }
                  xIterator: { type: bool, meaning: m }
            """, "7: T.xIterator: makes xIterator, which x makes already")
        self.refused_types("""\
            T: { meaning: m, key: { x: IntfId }, attributes: { X: { type: bool, meaning: m } } }
            """, "3: T.X: makes X, which x makes already")
        self.refused_types("T: { meaning: m, attributes: { t: { type: bool, meaning: m } } }",
                           "3: T.t: makes t, which the type itself makes already")

    def test_types_twice(self):
        self.refused_types("Mode: { meaning: m }\nmode: { meaning: m }\n",
                           f"4: mode: A::mode is here a second time, first in "
                           f"{self.folder}/a.yaml:3")
        other = self.write("namespace: A\ntypes: {}\n", "b.yaml")
        mine = self.write("namespace: A\ntypes: {}\n")
        done = self.run_on(mine, "--uses", other)
        self.assertEqual(done.stderr, f"{mine}:1: namespace: A has a schema already: {other}\n")

    def test_a_namespace_that_is_taken_beside_the_schemas(self):
        other = self.write("""\
            namespace: B::C
            external: { D: Some/D }
            types:
               E: { meaning: m }
            """, "b.yaml")
        mine = self.write("namespace: B::C\ntypes: {}\n")
        done = self.run_on("--beside", other, mine)
        self.assertEqual(done.stderr,
                         f"{mine}:1: namespace: B::C has a schema already: {other}\n")
        mine = self.write("namespace: B\ntypes:\n   C: { meaning: m }\n")
        done = self.run_on("--beside", other, mine)
        self.assertEqual(done.stderr, f"{mine}:3: C: there is a namespace of this name\n")
        mine = self.write("namespace: A\ntypes:\n   T: { meaning: m, base: B::C::E }\n")
        done = self.run_on("--beside", other, mine)
        self.assertEqual(done.stderr, f"{mine}:3: T: B::C::E is not known as a type\n")

    def test_names_that_hide_a_namespace(self):
        other = self.write("namespace: B\ntypes: {}\n", "b.yaml")
        for text, message in (
                ("namespace: A::B\ntypes: {}\n", "1: namespace: A::B would hide the namespace B"),
                ("namespace: A\ntypes:\n   B: { meaning: m }\n",
                 "3: B: there is a namespace of this name")):
            mine = self.write(text)
            self.assertEqual(self.run_on(mine, "--uses", other).stderr, f"{mine}:{message}\n")

    def test_all_that_a_base_class_has_is_taken(self):
        for header, name, taken in (
                ("PtrInterface", "PtrInterface", names.OBJECT), ("Entity", "Entity", names.ENTITY),
                ("Notifiee", "Notifier", names.ENTITY), ("State", "StateOf", names.OBJECT),
                ("State", "EntityOf", names.ENTITY), ("Reactor", "ReactorOwnerOf", names.MACHINE)):
            members = public_members(header, name)
            self.assertGreater(len(members), 1, name)
            self.assertEqual(members - taken - {"decltype"}, set(), name)
        members = public_members("Entity", "Entity::NotifieeConst") | public_members(
            "Notifiee", "PtrInterface::NotifieeConst")
        self.assertEqual({n for n in members if n.startswith("on")}, names.NOTIFIEE)

    def test_a_type_cannot_be_called_like_a_member_of_a_base_class(self):
        for header, name in (
                ("PtrInterface", "PtrInterface"), ("Notifiee", "Notifier"), ("Entity", "Entity"),
                ("State", "StateOf"), ("State", "EntityOf"), ("Entity", "Entity::NotifieeConst"),
                ("Notifiee", "PtrInterface::NotifieeConst"), ("Entity", "NotifieeConstOf"),
                ("Reactor", "ReactorOwnerOf")):
            members = public_members(header, name, all_of_them=True)
            members = {n for n in members - {"decltype", "bool"} if "_" not in n}
            self.assertGreater(len(members), 1, name)
            self.assertEqual(members - names.TYPE, set(), name)
        for name in ("watched", "Waiting", "onParent"):
            self.refused_types(f"{name}: {{ meaning: m, enumeration: [ a ] }}",
                               f"3: {name}: {name} is taken: the generated code has it")

    def refused_attribute_named(self, name, attribute, message):
        self.refused_types(f"""\
            T:
               meaning: m
               attributes:
                  {name}: {attribute}
            """, f"6: T.{name}: {message}")

    def test_members_that_every_class_has(self):
        value, keys = "{ type: bool, meaning: m }", "{ kind: set, key: IntfId, meaning: m }"
        self.refused_attribute_named("isNondestructing", value, "isNondestructing is taken: "
                                     "the generated code has it")
        self.refused_attribute_named("hasNotificationActive", value, "hasNotificationActive is "
                                     "taken: the generated code has it")
        self.refused_attribute_named("entry", keys, "makes entryIs, which every entity has")
        self.refused_attribute_named("element", value, "makes elementIs, which every entity has")
        self.refused_attribute_named("version", value, "makes onVersion, which every notifiee has")

    def test_callbacks_that_clash(self):
        self.refused_types("""\
            T:
               meaning: m
               attributes:
                  x: { kind: set, key: IntfId, meaning: m }
                  xryxImmediate: { type: bool, meaning: m }
            """, "7: T.xryxImmediate: makes onXryxImmediate, which x makes already")

    def test_members_of_machines(self):
        for name, message in (
                ("inputs", "inputs is taken: every machine has it"),
                ("watch", "watch is taken: every machine has it"),
                ("operations", "operations is taken: every machine has it"),
                ("input", "input is taken: every machine has it"),
                ("reactor", "makes reactorIs, which every machine has"),
                ("size", "makes size, which the inputs of every machine have"),
                ("apply", "makes apply, which the inputs of every machine have"),
                ("Method", "makes Method, which the inputs of every machine have"),
                ("call", "makes call, which the inputs of every machine have"),
                ("taken", "makes taken, which the structure of its inputs makes already")):
            self.refused_types(f"""\
                P: {{ meaning: m }}
                T:
                   meaning: m
                   machine: {{ inputs: Taken, reactors: Reactors }}
                   attributes:
                      {name}: {{ kind: input, type: P, meaning: m }}
                """, f"8: T.{name}: {message}")
        self.refused_types("""\
            T:
               meaning: m
               machine: { inputs: Taken, reactors: Reactors }
               attributes:
                  x: { type: byte, flags: [ counter ], meaning: m }
                  xInc: { type: byte, meaning: m }
            """, "8: T.xInc: makes xInc, which x makes already")

    def refused_roles(self, inputs, reactors, message):
        self.refused_types(f"""\
            P: {{ meaning: m }}
            T: {{ meaning: m, machine: {{ inputs: {inputs}, reactors: {reactors} }} }}
            """, f"4: T.machine.{message}".replace("FILE", f"{self.folder}/a.yaml"))

    def test_inputs_and_reactors_that_clash(self):
        self.refused_roles("P", "R", "inputs: A::P is here a second time, first in FILE:3")
        self.refused_roles("p", "R", "inputs: A::p is here a second time, first in FILE:3")
        self.refused_roles("T", "R", "inputs: A::T is here a second time, first in FILE:4")
        self.refused_roles("I", "P", "reactors: A::P is here a second time, first in FILE:3")
        self.refused_roles("I", "I", "reactors: A::I is here a second time, first in FILE:4")
        self.refused_roles("A", "R", "inputs: there is a namespace of this name")
        self.refused_types("""\
            T: { meaning: m, machine: { inputs: I, reactors: R } }
            U: { meaning: m, machine: { inputs: J, reactors: R } }
            """, f"4: U.machine.reactors: A::R is here a second time, first in "
            f"{self.folder}/a.yaml:3")

    def test_types_that_are_external_or_built_in(self):
        for external, types, message in (
                ('"A::T": B/T', "T: { meaning: m }", "4: T: A::T is external already"),
                ('"A::U": A/T', "T: { meaning: m }", "4: T: is to be written to A/T, which is "
                 "the header of the external type A::U"),
                ('"A::I": B/I', "T: { meaning: m, machine: { inputs: I, reactors: R } }",
                 "4: T.machine.inputs: A::I is external already"),
                ('"IntfId": A/IntfId', "T: { meaning: m }", "2: IntfId: is built in"),
                ('"A::b-c": A/B', "T: { meaning: m }", "2: A::b-c: b-c is no name: "
                 "letters and digits are expected")):
            self.refused(f"namespace: A\nexternal: {{ {external} }}\ntypes:\n   {types}\n",
                         message)

    def test_names_that_generated_code_needs(self):
        for name in ("key", "v", "record", "Unit", "Sm", "Entity"):
            self.refused_types(f"{name}: {{ meaning: m, enumeration: [ a ] }}",
                               f"3: {name}: {name} is taken: {names.who_has(name)}")
        self.refused_types("T: { meaning: m, structure: { fields: { type: int, meaning: m } } }",
                           "3: T.fields: fields is taken: the generated code has it")

    def test_fields_that_are_called_like_a_type(self):
        self.refused_types("T: { meaning: m, structure: { T: { type: int, meaning: m } } }",
                           "3: T.T: T is also the name of a type that is used here")
        self.refused_types("""\
            Mode: { meaning: m, enumeration: [ a ] }
            T: { meaning: m, structure: { Mode: { type: Mode, meaning: m } } }
            """, "4: T.Mode: Mode is also the name of a type that is used here")

    def test_types_that_are_called_like_a_member(self):
        for attribute in ("Mode: { type: Mode, meaning: m }",
                          "x: { type: bool, meaning: m }, Mode: { type: int, meaning: m }"):
            self.refused_types(f"""\
                Mode: {{ meaning: m, enumeration: [ a ] }}
                T: {{ meaning: m, key: {{ k: Mode }}, attributes: {{ {attribute} }} }}
                """, "4: T" + (".Mode" if "type: Mode" in attribute else "") +
                ": the type A::Mode is called like a member of this")
        self.refused_types("""\
            XStorage: { meaning: m, enumeration: [ a ] }
            T: { meaning: m, attributes: { x: { kind: set, key: XStorage, meaning: m } } }
            """, "4: T.x: the type A::XStorage is called like a member of this")

    def test_guards_and_files_that_clash(self):
        self.refused("namespace: ryx\ntypes: {}\n",
                     "1: namespace: ryx differs from Ryx only in capitals")
        self.refused("namespace: Clock\ntypes:\n   Monotonic: { meaning: m }\n",
                     "3: Monotonic: CLOCK_MONOTONIC, the guard of its header, is a macro of C++")
        self.refused("namespace: Int32\ntypes:\n"
                     "   T: { meaning: m, machine: { inputs: Max, reactors: R } }\n",
                     "3: T.machine.inputs: INT32_MAX, the guard of its header, is a macro of C++")
        inner = self.write("namespace: A::B::C\ntypes: {}\n", "b.yaml")
        outer = self.write("namespace: A\ntypes:\n   B: { meaning: m }\n")
        done = self.run_on(outer, inner)
        self.assertEqual(done.stderr, f"{outer}:3: B: there is a namespace of this name\n")
