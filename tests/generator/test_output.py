# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""What is written of the types of a schema."""

import unittest

import layout
from generated import GENERATOR, HERE, Generated


class WhatIsWritten(Generated):
    def test_one_header_a_type_and_one_source_a_namespace(self):
        self.accepted(HERE / "everything.yaml")
        found = sorted(str(p.relative_to(self.folder / "out"))
                       for p in (self.folder / "out").rglob("*") if p.is_file())
        self.assertEqual(found, [f"Test/{p}" for p in (
            "Everything.cpp", "Everything/Colour", "Everything/Count", "Everything/Everything",
            "Everything/Final", "Everything/Label", "Everything/Last", "Everything/Named",
            "Everything/Node", "Everything/Pair", "Everything/Place", "Everything/Rack",
            "Everything/Slot", "Everything/Special")])

    def test_list_names_the_files_and_writes_none(self):
        done = self.accepted("--list", HERE / "everything.yaml")
        self.assertEqual(len(done.stdout.splitlines()), 14)
        self.assertFalse((self.folder / "out").exists())

    def test_attributes_keep_their_order(self):
        self.accepted(self.write("""\
            namespace: A
            types:
               T:
                  meaning: m
                  attributes:
                     zebra: { type: bool, meaning: z }
                     ape: { type: bool, inert: true, meaning: a }
                     mouse: { kind: set, key: IntfId, meaning: m }
            """))
        text = self.header("A/T")
        self.assertLess(text.index('"zebra"'), text.index('"ape"'))
        self.assertLess(text.index('"ape"'), text.index('"mouse"'))
        self.assertLess(text.index("onZebra"), text.index("onApe"))

    def test_names_of_other_schemas_are_found_and_not_written(self):
        other = self.write("""\
            namespace: B
            types:
               Thing: { meaning: m, key: { number: unsigned } }
            """, "b.yaml")
        mine = self.write("""\
            namespace: A
            types:
               T:
                  meaning: m
                  attributes:
                     things: { kind: elements, key: unsigned, type: B::Thing, meaning: t }
            """)
        self.accepted(mine, "--uses", other)
        self.assertIn("#include <B/Thing>", self.header("A/T"))
        self.assertFalse((self.folder / "out/B").exists())

    def test_the_nearest_namespace_wins(self):
        outer = self.write("""\
            namespace: A
            types:
               Mode: { meaning: m, enumeration: [ outer ] }
               Far: { meaning: m, enumeration: [ far ] }
            """, "b.yaml")
        self.accepted(outer, self.write("""\
            namespace: A::B
            types:
               Mode: { meaning: m, enumeration: [ inner ] }
               T:
                  meaning: m
                  attributes:
                     near: { type: Mode, meaning: n }
                     far: { type: Far, meaning: f }
            """))
        text = self.header("A/B/T")
        self.assertIn("Mode near_ = Mode::inner;", text)
        self.assertIn("A::Far far_ = A::Far::far;", text)

    def test_a_record_has_its_code_in_one_namespace(self):
        a, b = ("""\
            namespace: %s
            types:
               T:
                  meaning: m
                  attributes:
                     x: { kind: map, key: IntfId, type: EthAddr, meaning: x }
            """ % name for name in "AB")
        self.accepted(self.write(a), self.write(b, "b.yaml"))
        record = "\ntemplate class Ryx::ValueRecord< Kovel::IntfId, Kovel::EthAddr >;"
        self.assertIn(record, self.header("A/A.cpp"))
        self.assertNotIn(record, self.header("B/B.cpp"))
        for name in ("A/T", "B/T"):
            self.assertIn("extern" + record.strip("\n").join(" \n").rstrip(), self.header(name))

    def test_the_notice_of_the_schema_is_copied(self):
        self.accepted(self.write("""\
            # Copyright somebody
            # All rights

            # Not this.
            namespace: A
            types:
               Mode: { meaning: m, enumeration: [ one ] }
            """))
        self.assertTrue(self.header("A/Mode").startswith(
            "// Copyright somebody\n// All rights\n\n// Generated from a.yaml: edit"))
        self.assertNotIn("Not this", self.header("A/Mode"))

    def test_a_file_that_stays_as_it_is_is_not_touched(self):
        schema = HERE / "everything.yaml"
        self.accepted(schema)
        node = self.folder / "out/Test/Everything/Node"
        before = node.stat().st_mtime_ns
        (self.folder / "out/Test/Everything/Named").unlink()
        self.accepted(schema)
        self.assertEqual(node.stat().st_mtime_ns, before)

    def test_no_line_is_too_long(self):
        self.accepted(HERE / "everything.yaml")
        for path in (self.folder / "out").rglob("*"):
            for line in path.read_text().splitlines() if path.is_file() else ():
                self.assertLessEqual(len(line), layout.WIDTH, line)


    def test_names_that_yaml_takes_for_something_else(self):
        self.accepted(self.write("""\
            namespace: A
            types:
               T:
                  meaning: trueish words
                  attributes:
                     on: { type: bool, meaning: "yes" }
                     trueColour: { type: bool, meaning: no }
                     null: { type: bool, meaning: 'the 1st' }
            """))
        for name in ("onIs", "trueColourIs", "nullIs"):
            self.assertIn(name, self.header("A/T"))

    def test_types_of_the_project_are_bases_with_their_key_and_owner(self):
        self.accepted(self.write("""\
            namespace: Acme
            types:
               Port: { meaning: m, base: Interface::EthPhyIntfStatus }
            """), *(f"--uses={path}" for path in sorted(GENERATOR.parent.glob("*.yaml"))))
        text = self.header("Acme/Port")
        self.assertIn("Kovel::IntfId intfId ) : EntityOf( intfId )", text)
        self.assertIn("// Written by: the interface's driver.", text)

    def test_what_no_schema_gives_any_more_goes(self):
        self.accepted(self.write("namespace: A\ntypes:\n   T: { meaning: m }\n"))
        other = self.folder / "out/A/mine"
        other.write_text("// by hand\n")
        self.accepted(self.write("namespace: A\ntypes:\n   U: { meaning: m }\n"))
        self.assertFalse((self.folder / "out/A/T").exists())
        self.assertTrue(other.exists())


class Check(Generated):
    def test_says_which_files_are_not_as_they_should_be(self):
        schema = HERE / "everything.yaml"
        self.accepted(schema)
        self.accepted("--check", schema)
        node = self.folder / "out/Test/Everything/Node"
        node.write_text(node.read_text() + "// by hand\n")
        (self.folder / "out/Test/Everything/Named").unlink()
        (self.folder / "out/Test/Old").write_text(node.read_text())
        done = self.run_on("--check", schema)
        self.assertEqual(done.returncode, 1)
        lines = done.stderr.splitlines()
        self.assertEqual(len(lines), 3)
        self.assertIn("Test/Old: no schema gives it", lines[2])
        self.assertIn("Everything/Node: is not what its schema gives", lines[0])
        self.assertIn("Everything/Named: is not what its schema gives", lines[1])
        self.assertIn("// by hand", node.read_text())


class Layout(unittest.TestCase):
    def test_a_list_that_fits_is_one_line(self):
        self.assertEqual(layout.listed(3, "using A = B", ["C", "D"], ";"),
                         "   using A = B< C, D >;")

    def test_a_list_that_does_not_fit_has_an_item_a_line(self):
        long = "x" * 50
        self.assertEqual(layout.listed(0, "B", [long, long], ";"),
                         f"B<\n   {long},\n   {long} >;")

    def test_a_line_of_exactly_the_width_fits(self):
        item = "x" * (layout.WIDTH - len("B<  >;"))
        self.assertEqual(layout.listed(0, "B", [item], ";").count("\n"), 0)
        self.assertEqual(layout.listed(0, "B", [item + "x"], ";").count("\n"), 1)

    def test_functions(self):
        self.assertEqual(layout.function(0, "int f", [], "return 1;", " const"),
                         "int f() const { return 1; }")
        body = "return " + "x" * 70 + ";"
        self.assertEqual(layout.function(3, "int f", ["int a"], body),
                         f"   int f( int a ) {{\n      {body}\n   }}")
