# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""What is written of machines, and which are refused."""

from generated import Generated

MACHINE = """\
namespace: A

external: { "A::Kept": A/Kept, "A::Counted": A/Counted }

types:
   Port: { meaning: m, key: { number: unsigned } }
   State:
      meaning: m
      machine: { inputs: Given, reactors: Reactors }
      attributes:
         clock: { kind: input, type: Kept, flags: [ internal ], meaning: A timer. }
         port: { kind: input, type: Port, meaning: An input. }
         read: { kind: input, type: Port, flags: [ unwatched ], meaning: No reactor. }
         written: { kind: output, type: Port, meaning: An output. }
         values: { kind: map, key: IntfId, type: bool, meaning: Values. }
         pointers: { kind: pointers, key: IntfId, type: Kept, storage: Counted, meaning: Pointers. }
         plain: { kind: pointers, key: IntfId, type: Kept, meaning: Pointers. }
         elements: { kind: elements, key: unsigned, type: Port, meaning: Elements. }
         objects: { kind: objects, key: IntfId, type: Kept, meaning: Objects. }
         watched: { kind: reactors, key: unsigned, type: Port, meaning: Reactors. }
         count: { type: byte, default: 3, flags: [ counter ], meaning: A counter. }
         delay: { type: Seconds, default: delayDefault, unit: s, meaning: A value. }
         delayDefault: { kind: constant, type: Seconds, default: 10, unit: s, meaning: A constant. }
"""


class Machines(Generated):
    def setUp(self):
        super().setUp()
        self.accepted(self.write(MACHINE))
        self.text = self.header("A/State")

    def refused_machine(self, old, new, message):
        self.assertEqual(MACHINE.count(old), 1)
        done = self.run_on(self.write(MACHINE.replace(old, new), "b.yaml"))
        self.assertEqual(done.stderr, f"{self.folder}/b.yaml:{message}\n")

    def test_two_headers_and_no_registration(self):
        self.assertTrue((self.folder / "out/A/Given").exists())
        self.assertNotIn("State", self.header("A/A.cpp"))

    def test_what_watches_has_a_reactor(self):
        classes = self.text[self.text.index("struct Reactors {"):].partition("};")[0]
        self.assertEqual([line.strip() for line in classes.splitlines()[1:] if line],
                         ["class RyxClock;", "class RyxPort;", "class RyxWatched;"])
        self.assertNotIn("newRead", self.text)

    def test_attributes_stand_in_the_table_in_their_order(self):
        table = self.text.partition("AttributeList<\n")[2].partition("Operation...")[0]
        names = [line.split('"')[1] for line in table.splitlines() if '"' in line]
        self.assertEqual(names, [
            "ryxFwkActivity", "clock", "port", "read", "written", "values", "pointers", "plain",
            "elements", "objects", "watched", "count", "delay", "delayDefault"])

    def test_each_kind_has_its_storage(self):
        for line in (
                "Ryx::ReactorSlot< RyxPort, Port > port_;", "Ryx::ReferenceSlot< Port > read_;",
                "Ryx::Ptr< Port > const written_;",
                "using ValuesStorage = Ryx::ValueMap< Kovel::IntfId, bool >;",
                "using PointersStorage = Counted;",
                "using PlainStorage = Ryx::PtrMap< Kovel::IntfId, Kept >;",
                "using ElementsStorage = Ryx::ElementMap< unsigned, Port >;",
                "using ObjectsStorage = Ryx::ObjectMap< Kovel::IntfId, Kept >;",
                "using WatchedStorage = Ryx::ReactorMap< unsigned, RyxWatched, Port >;",
                "unsigned char count_ = 3;", "Ryx::Seconds delay_ = delayDefault;",
                "static constexpr Ryx::Seconds delayDefault = 10.0;"):
            self.assertIn(line, self.text)

    def test_a_counter_is_incremented(self):
        self.assertIn("unsigned char countInc( unsigned char n )", self.text)
        self.assertNotIn("delayInc", self.text)

    def test_inputs_and_outputs_are_given_but_for_internal_ones(self):
        given = self.header("A/Given")
        self.assertIn("static constexpr std::size_t size = 3;", given)
        self.assertIn("return call( port, read, written );", given)
        self.assertIn("return { port(), read(), written() };", self.text)
        self.assertIn("   Ryx::Ptr< Port const > port;\n", given)
        self.assertIn("   Ryx::Ptr< Port > written;\n", given)
        self.assertNotIn("clock", given)

    def test_what_is_watched_gets_its_reactor_and_the_rest_is_taken_over(self):
        watch = self.text[self.text.index("void watch("):].partition("\n   }")[0]
        self.assertIn("portIs( inputs.port );", watch)
        self.assertNotIn("read", watch)
        self.assertIn("      : read_{ inputs.read },\n        written_{ inputs.written } {}",
                      self.text)

    def test_a_machine_may_have_nothing_to_watch_or_nothing_to_take_over(self):
        lines = MACHINE.splitlines(keepends=True)
        watching = "".join(a for a in lines if "read:" not in a and "written:" not in a)
        self.accepted(self.write(watching))
        self.assertIn("   explicit State( Given const& ) {}\n", self.header("A/State"))
        idle = "".join(a for a in lines if "port:" not in a)
        self.accepted(self.write(idle))
        self.assertIn("   void watch( Given const& ) {\n   }\n", self.header("A/State"))

    def test_what_is_refused(self):
        self.refused_machine("reactors: Reactors }", "}", "9: State.machine: reactors is missing")
        self.refused_machine("inputs: Given", "inputs: class",
                             "9: State.machine.inputs: class is taken: it is a word or a "
                             "macro of C++")
        self.refused_machine("kind: output, type: Port", "kind: contained, type: Port",
                             "14: State.written: contained is no kind, expected one of: value, "
                             "constant, input, output, map, pointers, elements, objects, reactors")
        self.refused_machine("type: Kept, flags", "type: bool, flags",
                             "11: State.clock: bool is no entity")
        self.refused_machine("type: bool, meaning: Values", "type: bool, storage: Counted, "
                             "meaning: Values", "15: State.values: has storage, which only these "
                             "kinds have: pointers")
        self.refused_machine("default: 3,", "default: 256,",
                             "21: State.count: 256 cannot be the default of unsigned char")
        self.refused_machine("default: delayDefault", "default: count",
                             "22: State.delay: count cannot be the default of Ryx::Seconds")
        self.refused_machine("kind: map, key: IntfId", "inert: true, kind: map, key: IntfId",
                             "15: State.values: nothing is inert in a machine")
        self.refused_machine("[ unwatched ]", "[ silent ]",
                             "13: State.read: silent is no flag of the kind input, expected some "
                             "of: internal, unwatched")
        self.refused_machine("meaning: A constant. }", "meaning: A constant. }\n"
                             "         newPort: { type: bool, meaning: m }",
                             "24: State.newPort: makes newPort, which port makes already")
