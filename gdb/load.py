# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# For a build tree, and for an installed one that was moved: source this file in gdb.

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

import mlagostra_gdb  # noqa: E402

mlagostra_gdb.load_all()
