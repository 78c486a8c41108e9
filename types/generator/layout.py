# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""How generated C++ is laid out: on one line where it fits, else one item a line."""

import textwrap

WIDTH = 92
STEP = 3


def listed(indent, head, items, tail, opening="< ", closing=" >", room=0):
    """`head< item, item >tail`, an item being a text or several lines of its own. Leaves
    so much room behind it."""
    space = " " * indent
    one = f"{space}{head}{opening}{', '.join(items)}{closing}{tail}"
    if len(one) + room <= WIDTH and not any("\n" in item for item in items):
        return one
    inner = " " * (indent + STEP)
    lines = ",\n".join(item if "\n" in item else inner + item for item in items)
    return f"{space}{head}{opening.rstrip()}\n{lines}{closing}{tail}"


def function(indent, head, parameters, body, tail=""):
    """An inline function of one statement."""
    space = " " * indent
    inside = f"( {', '.join(parameters)} )" if parameters else "()"
    whole = f"{space}{head}{inside}{tail} {{ {body} }}"
    if len(whole) <= WIDTH:
        return whole
    first = f"{space}{head}{inside}{tail} {{"
    if len(first) > WIDTH:
        first = f"{space}{head}(\n{space}   {', '.join(parameters)} ){tail} {{"
    return f"{first}\n{space}   {body}\n{space}}}"


def declared(indent, head, parameters, tail):
    """A function without statements, or its declaration."""
    return listed(indent, head, parameters, tail, "( ", " )")


def derived(indent, head, base, arguments):
    """The first line of a class, or the first lines."""
    whole = f"{' ' * indent}{head} : {base}< {', '.join(arguments)} > {{"
    if len(whole) <= WIDTH:
        return whole
    return f"{' ' * indent}{head}\n" + listed(indent + 2 * STEP, f": {base}", arguments, " {")


def comment(indent, text):
    space = " " * indent + "// "
    return "\n".join(textwrap.wrap(text, WIDTH, initial_indent=space, subsequent_indent=space,
                                   break_long_words=False, break_on_hyphens=False))
