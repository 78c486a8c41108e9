# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""What the functions and types of a generated header do, by their names."""

import re

TOLD = "Notifiees are told if that changes it."

# The first pattern that a declaration matches says its sentence; \1 is the attribute.
ROLES = [
    (r"using (\w+)Storage =", r"How the members of `\1` are stored."),
    (r"using Ryx(\w+)Iterator =",
     r"Visits the members of `\1`, and may remove them without telling notifiees."),
    (r"using (\w+)IteratorConst =", r"Visits the members of `\1`."),
    (r"using (\w+)Iterator =",
     r"Visits the members of `\1`, and may remove them; notifiees are told."),
    (r"using Ryx(\w+) =", r"A member of `\1` as it is stored, with its key."),
    (r"using Notifiee =", r"A notifiee that may change what it watches."),
    (r"class NotifieeConst\b", r"An observer: each callback says what has changed."),
    (r"virtual void on(\w+)ryxImmediate\(\)", r"All of `\1` is told at once; not called here."),
    (r"virtual void on(\w+)\(\)", r"`\1` has changed."),
    (r"virtual void on(\w+)\( ", r"The member of `\1` with this key has come, changed or gone."),
    (r"void (\w+)Notify\(", r"Tells the notifiees that a member of `\1` has gone."),
    (r"bool (\w+)Has\(", r"Whether `\1` has a member with this key."),
    (r"void (\w+)Is\( \S+ key, ",
     r"Inserts a member of `\1`, or gives it another value. " + TOLD),
    (r"void (\w+)Is\(", r"Sets `\1`. " + TOLD),
    (r"new(\w+)\(",
     r"Inserts a member of `\1` and tells nobody; it is lent out. Throws Ryx::RangeException, "
     r"and changes nothing, if there is one with its key."),
    (r"(\w+)DelAll\(\)", r"Removes all members of `\1`. Notifiees are told of each."),
    (r"(\w+)Del\(",
     r"Removes a member of `\1` and gives its value back; notifiees are told. The default "
     r"value, or null, if there is none."),
    (r"\b(\w+)IteratorConst\(\)", r"An iterator at the first member of `\1`."),
    (r"\b(\w+)Iterator\(\)", r"An iterator at the first member of `\1`, which may remove."),
    (r"explicit \w+\( (?:[\w:]+) (\w+) \)", r"Makes one with this `\1`."),
    (r"\bintfId\(\) const", r"The interface that it is about."),
    (r"friend bool operator==", r"Whether all fields are equal."),
    (r"operator<<\(", r"Writes the enumerator's name."),
]


def attribute(name):
    """An attribute's name, as it is written within another one."""
    return name[:1].lower() + name[1:]


def role(declaration, meaning):
    """The sentence of a declaration without its own; an attribute's getter has its meaning."""
    for pattern, sentence in ROLES:
        found = re.search(pattern, declaration)
        if found:
            names = [attribute(group or "") for group in found.groups()]
            return re.sub(r"\\1", names[0] if names else "", sentence)
    return meaning
