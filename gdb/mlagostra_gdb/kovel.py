# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""The value types of libRyxTypes: interfaces and addresses as people write them."""

import ipaddress

from . import printing, read

_PREFIXES = (
    "",
    "Ethernet",
    "Internal",
    "Loopback",
    "Management",
    "PeerEthernet",
    "PeerInternal",
    "PeerLoopback",
    "PeerManagement",
    "PeerPort-Channel",
    "PeerRecirc",
    "PeerVlan",
    "Port-Channel",
    "Recirc",
    "Vlan",
)
_SLOT = (1 << 28) - 1


def interface(id_):
    """The name of an interface, "none" for the empty id."""
    high, low = int(id_["kindAndFirst_"]), int(id_["last_"])
    if high == 0 and low == 0:
        return "none"
    slots = [high >> 28 & _SLOT, high & _SLOT, low >> 36 & _SLOT, low >> 8 & _SLOT]
    numbers = [slot - 1 for slot in slots if slot]
    is_whole = 0 not in slots[: len(numbers)] and numbers and not low & 0xFF
    if not 0 < high >> 56 < len(_PREFIXES) or not is_whole:
        raise read.Broken("no interface: 0x%016x 0x%016x" % (high, low))
    return _PREFIXES[high >> 56] + "/".join(map(str, numbers))


def ethernet(address):
    """An Ethernet address in six pairs of digits."""
    bits = int(address["bits_"])
    if bits >> 48:
        raise read.Broken("no Ethernet address: 0x%016x" % bits)
    return ":".join("%02x" % (bits >> shift & 0xFF) for shift in range(40, -1, -8))


def internet(address):
    """An IPv4 or IPv6 address."""
    high, low = int(address["high_"]), int(address["low_"])
    if not read.truth(address["isIpV6_"]):
        if high or low >> 32:
            raise read.Broken("no IPv4 address: 0x%016x%016x" % (high, low))
        return str(ipaddress.IPv4Address(low))
    whole = ipaddress.IPv6Address(high << 64 | low)
    return "::ffff:%s" % whole.ipv4_mapped if whole.ipv4_mapped else str(whole)


class Text:
    """A value whose text is all that is shown."""

    def __init__(self, value):
        self.value = value

    @read.guarded
    def to_string(self):
        return self.text_of(self.value)


class IntfId(Text):
    text_of = staticmethod(interface)


class EthAddr(Text):
    text_of = staticmethod(ethernet)


class IpAddr(Text):
    text_of = staticmethod(internet)


def register(objfile):
    printers = printing.Printers("RyxTypes")
    printers.add_class("IntfId", "Kovel::IntfId", IntfId)
    printers.add_class("EthAddr", "Kovel::EthAddr", EthAddr)
    printers.add_class("IpAddr", "Kovel::IpAddr", IpAddr)
    printers.register(objfile)
