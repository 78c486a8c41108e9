# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Runs the generator in a scratch folder."""

import contextlib
import importlib.machinery
import importlib.util
import io
import sys
import tempfile
import textwrap
import types
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
GENERATOR = Path(sys.argv[1]).resolve()

loader = importlib.machinery.SourceFileLoader("generator", str(GENERATOR / "mlagostra-types"))
generator = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
loader.exec_module(generator)


class Generated(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.folder = Path(self.scratch.name)

    def write(self, text, name="a.yaml"):
        path = self.folder / name
        path.write_text(textwrap.dedent(text))
        return path

    def run_on(self, *arguments):
        out, error = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(error):
            status = generator.main(["--output", str(self.folder / "out"), *map(str, arguments)])
        return types.SimpleNamespace(returncode=status, stdout=out.getvalue(),
                                     stderr=error.getvalue())

    def accepted(self, *arguments):
        done = self.run_on(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done

    def header(self, name):
        return (self.folder / "out" / name).read_text()

    def refused(self, text, message):
        done = self.run_on(self.write(text))
        self.assertEqual(done.stderr, f"{self.folder}/a.yaml:{message}\n")
        self.assertEqual(done.returncode, 2)
        self.assertFalse((self.folder / "out").exists(), "something is written all the same")

    def refused_attribute(self, attribute, message, line=6):
        self.refused(f"""\
            namespace: A
            types:
               T:
                  meaning: m
                  attributes:
                     x: {attribute}
            """, f"{line}: T.x{message}")

    def refused_types(self, types, message):
        self.refused("namespace: A\ntypes:\n" + textwrap.indent(textwrap.dedent(types), "   "),
                     message)
