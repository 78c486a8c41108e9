# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Which printer shows a value: the first whose condition its type meets."""

import gdb
import gdb.printing

from . import read

# Classes that have a printer of their own in the part of another library, where gdb may look
# later than here.
OTHERS = set()


class Printers(gdb.printing.PrettyPrinter):
    """The printers of a library: "info pretty-printer" lists them, "disable" turns one off."""

    def __init__(self, library):
        super().__init__(library, [])
        self.choices = {}

    def add(self, name, accepts, printer):
        """A printer for the types that are accepted: accepts( type as written, plain type )."""
        entry = gdb.printing.SubPrettyPrinter(name)
        entry.accepts = accepts
        entry.printer = printer
        self.subprinters.append(entry)

    def add_class(self, name, class_, printer):
        self.add(name, lambda written, type_: type_.name == class_, printer)

    def add_base(self, name, base, printer):
        """For a class or template, and all that derive from it."""
        def accepts(written, type_):
            return type_.name not in OTHERS and read.base_of(type_, base)

        self.add(name, accepts, printer)

    def register(self, objfile):
        gdb.printing.register_pretty_printer(objfile, self, replace=True)

    def __call__(self, value):
        type_ = read.plain(value.type)
        if type_.code != gdb.TYPE_CODE_STRUCT:
            return None
        written = value.type.target() if value.type.code in read.REFERENCES else value.type
        key = (written.name, type_.name)
        if key not in self.choices:
            self.choices[key] = [e for e in self.subprinters if e.accepts(written, type_)]
        for entry in self.choices[key]:
            if entry.enabled:
                return entry.printer(value)
        return None
