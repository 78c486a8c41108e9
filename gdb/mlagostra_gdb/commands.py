# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""The commands "ostra watchers", "ostra armed" and "ostra attributes"."""

import gdb

from . import objects, read

_ALL = 0xFFFFFFFF


def table(heads, rows):
    """The lines of a table whose columns are as wide as they need to be."""
    rows = [[str(cell) for cell in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(heads, *rows)]
    for row in [heads] + rows:
        cells = (cell.ljust(width) for cell, width in zip(row, widths))
        yield ("  " + "  ".join(cells)).rstrip()


def write(*lines):
    gdb.write("".join(line + "\n" for line in lines))


class Command(gdb.Command):
    """A command that fails in one line."""

    def __init__(self, name):
        super().__init__(name, gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        try:
            self.run(argument.strip())
        except read.Broken as broken:
            raise gdb.GdbError(str(broken)) from None
        except gdb.error as error:
            raise gdb.GdbError(str(error)) from None


class Ostra(gdb.Command):
    """What is going on in a process that runs Ryx and the plug-in."""

    def __init__(self):
        super().__init__("ostra", gdb.COMMAND_DATA, prefix=True)


def named(argument, base, what):
    """The object that an argument names, which must be one of a class."""
    if not argument:
        raise read.Broken("an object is expected: %s" % what)
    object_ = read.as_object(gdb.parse_and_eval(argument))
    if object_ is None:
        raise read.Broken("%s is null" % argument)
    found = read.base_of(object_.type, base)
    if not found:
        raise read.Broken("%s is no %s" % (objects.title(object_), base))
    return object_


def owner(notifiee):
    """Whose reactor a notifiee is; empty if it is no reactor, or has lost its owner."""
    pointer = read.field(notifiee, "owner_")
    if pointer is None or int(pointer) == 0:
        return ""
    return objects.titled(pointer)


def waits_for(notifiee):
    """What an activity is still to tell a notifiee of."""
    waiting = notifiee["waiting_"]
    if int(waiting) == 0 or int(waiting["pending"]) == 0:
        return []
    id_ = int(waiting["pending"])
    notifier = read.object_at(notifiee["notifier_"])
    names = {} if notifier is None else {i: n for i, n, _ in objects.attributes(notifier)}
    return ["waits to hear of %s" % names.get(id_, "all" if id_ == _ALL else id_)]


def remarks(notifiee):
    """What is special about a notifiee."""
    words = ["weak"] if int(notifiee["weak_"]) else []
    words += ["deferred"] if int(notifiee["deferred_"]) else []
    words += [w for w in objects.states(notifiee) if "reference" not in w or w[0] == "0"]
    return ", ".join(words + waits_for(notifiee))


class Watchers(Command):
    """ostra watchers OBJECT: who watches it, in the order in which they are called."""

    def __init__(self):
        super().__init__("ostra watchers")

    def run(self, argument):
        notifier = named(argument, "Ryx::Notifier", "ostra watchers OBJECT")
        rows = [
            (number, objects.title(notifiee), owner(notifiee), remarks(notifiee))
            for number, notifiee in enumerate(objects.watchers(notifier), 1)
        ]
        rows += [
            ("-", objects.title(notifiee), owner(notifiee), "not registered")
            for notifiee in objects.unregistered(notifier)
        ]
        if not rows:
            write("nobody watches " + objects.title(notifier))
            return
        write(objects.title(notifier) + " is watched by")
        write(*table(["", "notifiee", "of", "remarks"], rows))


def armed(clock):
    """(time, notifiee) of each timer that waits, the next one first."""

    def turn(entry):
        return float(entry["time"]), int(entry["notifiee"]["registration_"])

    for entry in sorted(read.vector(clock["armed_"]), key=turn):
        yield entry["time"], read.object_at(entry["notifiee"])


def process_clock():
    """The clock of the process's activity manager; Broken where there is none yet."""
    try:
        where = gdb.parse_and_eval("&'Ryx::activityManager()::manager'")
    except gdb.error:
        raise read.Broken("the process has no activity manager") from None
    kind = read.type_of("Ryx::ActivityManagerConfig").pointer().pointer()
    manager = read.object_at(where.cast(kind).dereference())
    if manager is None:
        raise read.Broken("the process has no activity manager yet")
    return read.behind(manager["clock_"])


class Armed(Command):
    """ostra armed [CLOCK]: the timers that wait, the next one first.

    Without an argument: of the process's own clock."""

    def __init__(self):
        super().__init__("ostra armed")

    def run(self, argument):
        clock = named(argument, "Ryx::Clock", "a clock") if argument else process_clock()
        rows = [
            (read.seconds(time), objects.title(notifiee), owner(notifiee), remarks(notifiee))
            for time, notifiee in armed(clock)
        ]
        if not rows:
            write("nothing is armed at " + objects.title(clock))
            return
        write("armed at " + objects.title(clock))
        write(*table(["time", "notifiee", "of", "remarks"], rows))


class Attributes(Command):
    """ostra attributes OBJECT: the attribute table of an object, with its values."""

    def __init__(self):
        super().__init__("ostra attributes")

    def run(self, argument):
        object_ = named(argument, "Ryx::PtrInterface", "ostra attributes OBJECT")
        write(objects.brief(object_))
        rows = [
            ("-" if id_ is None else id_, name, shown(value))
            for id_, name, value in objects.attributes(object_)
        ]
        write(*table(["id", "attribute", "value"], rows))


def shown(value):
    """A value in one line; "-" for one that is not stored."""
    if value is None:
        return "-"
    return value.format_string(max_depth=2, styling=False).replace("\n", " ")


_registered = []


def register():
    """Makes the commands, once: a second prefix would be one without them."""
    if not _registered:
        _registered.extend([Ostra(), Watchers(), Armed(), Attributes()])
