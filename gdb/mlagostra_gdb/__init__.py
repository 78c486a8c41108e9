# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Printers and commands for gdb: objects of Ryx, values of Kovel, the errdisable machine.

A part belongs to a library. `load( part, objfile )` registers its printers, and gdb asks them
as long as that library is loaded.
"""

import importlib
import os

import gdb

_PARTS = {"Ryx": "ryx", "RyxTypes": "kovel", "MlagOstra": "machine"}


def load(library, objfile):
    """Registers what belongs to a library: for an objfile, or for all with None."""
    part = importlib.import_module("." + _PARTS[library], __name__)
    part.register(objfile)


def load_all():
    """All parts, for programs that have the libraries' code in them, too."""
    for library in _PARTS:
        load(library, None)
    for objfile in gdb.objfiles():
        load_for(objfile)
    gdb.events.new_objfile.connect(lambda event: load_for(event.new_objfile))


def load_for(objfile):
    """The part of a library of ours. What an objfile has is asked before what all have."""
    name = os.path.basename(objfile.filename or "")
    for library in _PARTS:
        if name.startswith("lib%s.so" % library):
            load(library, objfile)
