# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""What is refused of a schema, with its file, its line and what was expected."""

from generated import Generated


class Refusals(Generated):
    def test_yaml_that_is_none(self):
        self.refused("namespace: [\n", "2:1: expected the node content, but found '<stream end>'")

    def test_a_key_twice(self):
        self.refused("namespace: A\nnamespace: B\n",
                     "2: namespace is here a second time, first in line 1")

    def test_what_is_missing(self):
        self.refused("types: {}\n", "1: namespace is missing")
        self.refused("namespace: A\n", "1: types is missing")
        self.refused("", "1: nothing is given, expected a mapping with some of: "
                     "namespace, external, types")
        self.refused("namespace: A\ntypes:\n", "2: types: nothing is given, expected a mapping")
        self.refused("namespace: A\ntypes:\n   T: { enumeration: [ a ] }\n",
                     "3: T: meaning is missing")
        self.refused_attribute("{ type: bool }", ": meaning is missing")
        self.refused_attribute("{ meaning: m }", ": type is missing")
        self.refused_attribute("{ kind: map, type: bool, meaning: m }", ": key is missing")

    def test_what_is_not_known(self):
        self.refused("namespace: A\ntypes: {}\nname: x\n",
                     "3: name: is not known here, expected one of: namespace, external, types")
        self.refused_attribute(
            "{ type: bool, meaning: m, units: s }",
            ".units: is not known here, expected one of: kind, type, key, default, inert, unit, "
            "set, storage, flags, meaning")
        self.refused_attribute("{ type: Bool, meaning: m }", ": Bool is not known as a type")
        self.refused_attribute("{ kind: list, type: bool, meaning: m }",
                               ": list is no kind, expected one of: value, reference, "
                               "contained, map, elements, set")
        self.refused_attribute("{ type: bool, flags: [ has ], meaning: m }",
                               ": has is no flag of the kind value, expected some of: "
                               "readOnly, silent")

    def test_what_does_not_belong_together(self):
        self.refused_attribute("{ type: bool, key: IntfId, meaning: m }",
                               ": has key, which only these kinds have: map, elements, set")
        self.refused_attribute("{ type: bool, inert: true, flags: [ silent ], meaning: m }",
                               ": is inert, so that it has no flags")
        self.refused_attribute("{ type: bool, inert: true, default: true, meaning: m }",
                               ": is inert, so that it has no default")
        self.refused_attribute("{ kind: elements, key: IntfId, type: bool, meaning: m }",
                               ": bool is no entity")
        self.refused_attribute("{ kind: set, key: IntfId, type: int, meaning: m }",
                               ": has type, which only these kinds have: value, reference, "
                               "contained, map, elements")
        self.refused_attribute("{ kind: map, key: IntfId, type: bool, set: x, meaning: m }",
                               ": x is not the one field of bool")
        self.refused_attribute("{ kind: map, key: IpAddr, type: bool, meaning: m }",
                               ": Kovel::IpAddr cannot be the key of what is stored")
        self.refused("""\
            namespace: A
            types:
               T: { meaning: m, enumeration: [ a ], attributes: {} }
            """, "3: T: is of two forms: attributes, enumeration")
        self.refused("""\
            namespace: A
            types:
               T:
                  meaning: m
                  structure:
                     a: { type: int, meaning: a }
                     b: { type: int, meaning: b }
                  text: a
            """, "3: T: text names the one field of a structure, and there is another; "
            "a structure of more fields needs a ValueTraits written by hand")

    def test_defaults_that_are_none(self):
        for a_type, default, text in (
                ("bool", 3, "3"), ("unsigned", "true", "true"), ("unsigned", -1, "-1"),
                ("unsigned", 4294967296, "4294967296"), ("int", 2147483648, "2147483648"),
                ("int", 1.5, "1.5"), ("int", "010", "010"), ("int", "1:30", "1:30"),
                ("double", ".nan", ".nan"), ("double", "1.0e+400", "inf"),
                ("Seconds", ".inf", ".inf"), ("String8", 1.10, "1.1"),
                ("String8", "[ a ]", "a list"), ("String8", "true", "true"),
                ("String8", "", "nothing"), ("String8", '"a\\n"', "a\n"),
                ("IntfId", "Ethernet1", "Ethernet1")):
            with self.subTest(type=a_type, default=default):
                name = {"Seconds": "Ryx::Seconds", "String8": "Ryx::String8",
                        "IntfId": "Kovel::IntfId"}.get(a_type, a_type)
                self.refused_attribute(f"{{ type: {a_type}, default: {default}, meaning: m }}",
                                       f": {text} cannot be the default of {name}")

    def test_enumerators_that_are_none(self):
        for given, message in (
                ("[]", "has 0 enumerators, expected 1 to 256"),
                ("[ a, a ]", "a is here a second time"),
                ("[ default ]", "default is taken: it is a word or a macro of C++"),
                ("[ a-b ]", "a-b is no name: letters and digits are expected")):
            self.refused_types(f"M: {{ meaning: m, enumeration: {given} }}", f"3: M: {message}")
        self.refused_types("M: { meaning: m, enumeration: [ 1 ] }",
                           "3: M.enumeration: a list of names is expected")

    def test_bases_in_a_circle(self):
        self.refused_types("""\
            T: { meaning: m, base: B }
            B: { meaning: m, base: T }
            """, "3: T: is its own base, by way of A::T")
        self.refused_types("T: { meaning: m, base: T }", "3: T: is its own base, by way of A::T")

    def test_types_that_name_each_other(self):
        self.refused_types("""\
            T:
               meaning: m
               attributes:
                  u: { kind: elements, key: IntfId, type: U, meaning: m }
            U:
               meaning: m
               key: { id: IntfId }
               attributes:
                  t: { kind: reference, type: T, meaning: m }
            """, "3: T: its header would include itself: a type that it names also names it; "
            "one of the two has to name a base of the other")

    def test_types_that_cannot_be_what_they_are_used_as(self):
        thing = "T: { meaning: m, key: { id: IntfId } }\nN: { meaning: m }\n" \
            "P: { meaning: m, structure: { a: { type: int, meaning: m } } }\n"
        for attribute, message in (
                ("{ type: T, meaning: m }", "T is an entity, and no value: expected one of the "
                 "kinds reference, contained, elements"),
                ("{ type: P, meaning: m }", "P has no text, so it can only be what is inert"),
                ("{ kind: set, key: P, meaning: m }", "A::P cannot be the key of what is stored"),
                ("{ kind: elements, key: int, type: T, meaning: m }",
                 "the key of A::T is of type Kovel::IntfId"),
                ("{ kind: elements, key: IntfId, type: N, meaning: m }",
                 "A::N has no key to be found by"),
                ("{ kind: map, key: IntfId, type: IntfId, flags: [ virtual ], meaning: m }",
                 "virtual is no flag of the kind map, expected some of: borrowed, has, silent, "
                 "size, spot, take")):
            self.refused_types(thing + f"U: {{ meaning: m, attributes: {{ x: {attribute} }} }}",
                               f"6: U.x: {message}")
        self.refused_types("T: { meaning: m, key: { x: double } }",
                           "3: T: double cannot be a key")
        self.refused_types("T: { meaning: m, made: U }\nU: { meaning: m }",
                           "3: T: A::U does not derive from it in its namespace")
        self.refused_types("T: { meaning: m, structure: { x: { type: T, meaning: m } } }",
                           "3: T.x: T has no text, so it can only be what is inert")
        self.refused_types("T: { meaning: m }\nU: { meaning: m, base: T, key: { x: int } }",
                           "4: U: a key has one name and its type, and a type with a base has "
                           "the base's")

    def test_texts_that_would_break_a_comment(self):
        for text in ("'ends in \\'", '"a\\nb"', "''", '"\\0"'):
            self.refused_types(f"T: {{ meaning: {text} }}",
                               "3: T.meaning: a text of one line without backslashes is expected")

    def test_a_comma_without_quotes(self):
        self.refused_types("T: { meaning: one, two }",
                           "3: T.two: is not known here, expected one of: meaning, owner, base, "
                           "key, made, attributes, enumeration, structure, text, as, machine; a text "
                           "with a comma, or a colon and a space, needs quotes")

    def test_bytes_that_are_no_text(self):
        path = self.folder / "a.yaml"
        path.write_bytes(b"namespace: \xff\n")
        done = self.run_on(path)
        self.assertEqual((done.returncode, done.stderr), (2, f"{path}: is not UTF-8 at byte 11\n"))

    def test_an_enumerator_that_is_none(self):
        self.refused("""\
            namespace: A
            types:
               Mode: { meaning: m, enumeration: [ one ] }
               T:
                  meaning: m
                  attributes:
                     x: { type: Mode, default: two, meaning: m }
            """, "7: T.x: two cannot be the default of A::Mode")

    def test_a_file_that_is_not_there(self):
        done = self.run_on(self.folder / "none.yaml")
        self.assertEqual(done.stderr, f"{self.folder}/none.yaml: No such file or directory\n")
        self.assertEqual(done.returncode, 1)
