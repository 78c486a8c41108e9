# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""The errdisable state machine: the ports that it holds, since when and until when."""

from . import commands, kovel, objects, printing, read

_MACHINE = "Mlag::Ostra::MlagErrdisableSm"


def members(collection):
    """Key and value of each member of an attribute's storage, in the order of the keys."""
    records = objects.members(collection["map"])
    pairs = [(objects.entry(record)[0], record) for record in records]
    pairs.sort(key=lambda pair: (int(pair[0]["kindAndFirst_"]), int(pair[0]["last_"])))
    for key, record in pairs:
        yield kovel.interface(key), objects.entry(record)[1]


class Class:
    """One class of ports: whether it is held, and its period."""

    def __init__(self, machine, name, held, timer, points, delay):
        self.name = name
        self.held = read.truth(machine[held])
        self.points = int(machine[points])
        self.delay = delay
        self.wakes = wake_of(read.behind(machine[timer]["reactor"]))
        proto = read.behind(machine["mlagProtoStatus_"])
        self.since = None if proto is None else float(proto["portsErrdisabledWhen_"])

    def row(self):
        if not self.held:
            return (self.name, "no", "", "", "", "", "")
        ends = self.delay is not None and self.since is not None
        return (
            self.name,
            "yes",
            shown(self.since),
            shown(self.delay),
            shown(self.since + self.delay) if ends else "",
            shown(self.wakes),
            "%d of 2" % self.points,
        )

    def summary(self):
        if not self.held:
            return "not held"
        _, _, since, delay, until, wakes, points = self.row()
        return "held since %s for %s, until %s; wakes at %s, %s" % (
            since or "?",
            delay or "?",
            until or "?",
            wakes or "never",
            "point " + points,
        )


def shown(time):
    return "" if time is None else read.seconds(time)


def wake_of(timer):
    """When a class's timer wakes the machine; None where it has no timer."""
    return None if timer is None else float(timer["timeMin_"])


def delays(machine):
    """The delays of MLAG ports and of the others; None without a configuration."""
    reactor = read.behind(machine["mlagConfig_"]["reactor"])
    config = None if reactor is None else read.object_at(reactor["notifier_"])
    if config is None:
        return None, None
    is_own = read.truth(config["reloadDelayNonMlagConfigured_"])
    other = config["reloadDelayNonMlag_"] if is_own else config["reloadDelay_"]
    return float(config["reloadDelay_"]), float(other)


def classes(machine):
    """The two classes of ports."""
    mlag, other = delays(machine)
    yield Class(machine, "MLAG", "mlagPortsErrdisabled_", "clockMlag_", "timerCount_", mlag)
    yield Class(
        machine,
        "non-MLAG",
        "nonMlagPortsErrdisabled_",
        "clockNonMlag_",
        "timerCountNonMlag_",
        other,
    )


def errdisabled(machine):
    """Interface and time of each port in the cause."""
    cause = read.behind(machine["mlagissuCause_"])
    if cause is not None:
        for intf, status in members(cause["intfStatus_"]):
            yield intf, read.seconds(status["when"])


def held(machine):
    """(interface, what, since, port-channel) of all that the machine holds."""
    recorded = {
        intf: objects.label(read.behind(tracker))
        for intf, tracker in members(machine["memberToPortChannel_"])
    }
    for intf, since in errdisabled(machine):
        yield intf, "errdisabled", since, recorded.pop(intf, "")
    for intf, port_channel in recorded.items():
        yield intf, "recorded", "", port_channel
    for intf, on in members(machine["lagsInStandby_"]):
        if read.truth(on):
            yield intf, "LACP standby", "", ""
    for intf, _ in members(machine["portChannelTracker_"]):
        yield intf, "forced in IGMP snooping", "", ""
    for intf, _ in members(machine["lagIntfStatus_"]):
        yield intf, "watched until its link changes", "", ""


class Machine:
    """The machine as what it holds."""

    def __init__(self, value):
        self.value = value

    @read.guarded
    def to_string(self):
        return objects.brief(read.as_object(self.value))

    @read.guarded_children
    def children(self):
        try:
            machine = read.as_object(self.value)
        except read.Broken:
            return
        for class_ in classes(machine):
            yield class_.name + " ports", class_.summary()
        for intf, what, since, port_channel in held(machine):
            words = [what]
            words += ["since " + since] if since else []
            words += ["member of " + port_channel] if port_channel else []
            yield intf, ", ".join(words)


def machines():
    """The machines whose timers watch the process's clock, each once."""
    seen = set()
    for notifiee in objects.watchers(commands.process_clock()):
        owner = read.field(notifiee, "owner_")
        if owner is None or int(owner) in seen or int(owner) == 0:
            continue
        if read.class_at(int(owner)) == _MACHINE:
            seen.add(int(owner))
            yield read.object_at(owner)


class MachineCommand(commands.Command):
    """ostra machine [MACHINE]: the ports that the errdisable machine holds.

    Without an argument: of all machines whose timers watch the process's clock."""

    def __init__(self):
        super().__init__("ostra machine")

    def run(self, argument):
        if argument:
            found = [commands.named(argument, _MACHINE, "a machine")]
        else:
            found = list(machines())
        if not found:
            commands.write("no machine watches the process's clock")
        for machine in found:
            self.show(machine)

    @staticmethod
    def show(machine):
        started = "started" if read.truth(machine["initialized_"]) else "starting"
        commands.write("%s, %s" % (objects.brief(machine), started))
        heads = ["ports", "held", "since", "delay", "until", "wakes at", "points"]
        commands.write(*commands.table(heads, [c.row() for c in classes(machine)]))
        rows = list(held(machine))
        if rows:
            heads = ["interface", "what", "since", "port-channel"]
            commands.write("", *commands.table(heads, rows))


def register(objfile):
    printers = printing.Printers("MlagOstra")
    printers.add_class("MlagErrdisableSm", _MACHINE, Machine)
    printing.OTHERS.add(_MACHINE)
    printers.register(objfile)
    commands.register()
    MachineCommand()
