# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Combinations of kind, type, default, unit and flags: what makes no sense is refused."""

from generated import Generated


class Combinations(Generated):
    def machine(self, attributes):
        return f"""\
namespace: A
external: {{ "A::Kept": A/Kept }}
types:
   Mode: {{ meaning: m, enumeration: [ one, two ] }}
   Port: {{ meaning: m, key: {{ id: IntfId }} }}
   Plain: {{ meaning: m }}
   T:
      meaning: m
      machine: {{ inputs: Inputs, reactors: Reactors }}
      attributes: {{ {attributes} }}
"""

    def refused_in_machine(self, attributes, message):
        self.refused(self.machine(attributes), f"10: T.{message}")

    def test_constants_have_a_default(self):
        for a_type in ("bool", "int", "Seconds", "String8", "IntfId", "Mode"):
            self.refused_in_machine(f"x: {{ kind: constant, type: {a_type}, meaning: m }}",
                                    "x: default is missing")

    def test_a_constant_is_made_from_one_before_it(self):
        x = "x: { kind: constant, type: int, default: y, meaning: m }"
        y = "y: { kind: constant, type: int, default: 3, meaning: m }"
        self.refused_in_machine(f"{x}, {y}", "x: the constant y is declared after it")
        self.refused_in_machine(x.replace("default: y", "default: x"), "x: x cannot be the default of int")
        self.accepted(self.write(self.machine(f"{y}, {x}")))
        self.assertIn("static constexpr int x = y;", self.header("A/T"))
        self.accepted(self.write(self.machine(
            "x: { kind: constant, type: String8, default: x, meaning: m }")))
        self.assertIn('Ryx::String8 x = "x";', self.header("A/T"))

    def test_counters_count(self):
        for a_type, name in (("bool", "bool"), ("int", "int"), ("double", "double"),
                             ("Seconds", "Ryx::Seconds"), ("String8", "Ryx::String8"),
                             ("IntfId", "Kovel::IntfId"), ("Mode", "A::Mode")):
            self.refused_in_machine(
                f"x: {{ type: {a_type}, flags: [ counter ], meaning: m }}",
                f"x: a counter is byte or unsigned, and this is {name}")
        self.accepted(self.write(self.machine(
            "x: { type: unsigned, flags: [ counter ], meaning: m }")))

    def test_objects_and_storages_are_external(self):
        self.refused_in_machine("x: { kind: objects, key: IntfId, type: Port, meaning: m }",
                                "x: A::Port is of a schema; objects are of an external type, "
                                "which has its own place in the collection")
        for storage, name in (("bool", "bool"), ("Mode", "A::Mode"), ("Port", "A::Port"),
                              ("T", "A::T")):
            self.refused_in_machine(
                f"x: {{ kind: pointers, key: IntfId, type: Port, storage: {storage}, meaning: m }}",
                f"x: {name} is no external type, so it is no storage")

    def test_reactors_are_found_by_the_key_of_what_they_watch(self):
        self.refused_in_machine("x: { kind: reactors, key: int, type: Port, meaning: m }",
                                "x: the key of A::Port is of type Kovel::IntfId")
        self.refused_in_machine("x: { kind: reactors, key: IntfId, type: Plain, meaning: m }",
                                "x: A::Plain has no key to be found by")

    def test_units_are_of_numbers(self):
        for a_type, name in (("bool", "bool"), ("String8", "Ryx::String8"),
                             ("IntfId", "Kovel::IntfId")):
            self.refused_attribute(f"{{ type: {a_type}, unit: s, meaning: m }}",
                                   f": has a unit, and is no number: {name}")
            field = f"{{ type: {a_type}, unit: s, meaning: m }}"
            self.refused_types(
                f"T: {{ meaning: m, structure: {{ x: {field} }} }}",
                f"3: T.x: has a unit, and is no number: {name}")
        self.refused_attribute("{ kind: contained, type: T, unit: s, meaning: m }",
                               ": has a unit, and is no number: A::T")
        self.refused_attribute("{ kind: set, key: unsigned, unit: s, meaning: m }",
                               ": has a unit, and is no number: bool")
        self.refused_attribute("{ type: Seconds, unit: ms, meaning: m }",
                               ": the unit ms is given, and Seconds are in s")

    def test_a_flag_twice(self):
        self.refused_attribute("{ type: int, flags: [ silent, silent ], meaning: m }",
                               ": silent is here a second time")

    def test_a_default_without_trigraphs(self):
        self.accepted(self.write("""\
            namespace: A
            types:
               T:
                  meaning: m
                  attributes: { x: { type: String8, default: "what??/???", meaning: m } }
            """))
        self.assertIn(r'x_ = "what?\?/?\?\?";', self.header("A/T"))
