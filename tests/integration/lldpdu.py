"""LLDPDUs built byte by byte, and a raw sender that puts them on an interface of a network
namespace (an AF_PACKET socket opened inside the namespace; standard library only).

Builders return the encoded TLV; lldpdu() adds the End TLV; frame() the Ethernet header."""

import ctypes
import ipaddress
import os
import socket
import struct
import threading

LLDP_MULTICAST = bytes.fromhex("0180c200000e")
ETHERTYPE_LLDP = 0x88CC
OUI_8021 = bytes.fromhex("0080c2")
OUI_8023 = bytes.fromhex("00120f")
OUI_TIA = bytes.fromhex("0012bb")

# Subtypes as the MIB numbers them.
CHASSIS_MAC, PORT_IFNAME = 4, 5


def mac(text):
    return bytes.fromhex(text.replace(":", "").replace("-", ""))


def tlv(type_, value=b""):
    assert 0 <= type_ <= 127 and len(value) <= 511, (type_, len(value))
    return struct.pack("!H", (type_ << 9) | len(value)) + value


def chassis_id(subtype, value):
    return tlv(1, bytes([subtype]) + value)


def port_id(subtype, value):
    return tlv(2, bytes([subtype]) + value)


def ttl(seconds):
    return tlv(3, struct.pack("!H", seconds))


def end():
    return tlv(0)


def port_desc(text):
    return tlv(4, text.encode())


def sys_name(text):
    return tlv(5, text.encode())


def sys_desc(text):
    return tlv(6, text.encode())


def sys_cap(supported, enabled):
    return tlv(7, struct.pack("!HH", supported, enabled))


def mgmt_addr(address, if_subtype=2, if_id=0, oid=b""):
    ip = ipaddress.ip_address(address)
    family = 1 if ip.version == 4 else 2
    body = bytes([len(ip.packed) + 1, family]) + ip.packed
    return tlv(8, body + struct.pack("!BI", if_subtype, if_id) + bytes([len(oid)]) + oid)


def org(oui, subtype, info=b""):
    return tlv(127, oui + bytes([subtype]) + info)


# IEEE 802.1
def port_vlan(vid):
    return org(OUI_8021, 1, struct.pack("!H", vid))


def proto_vlan(vid, supported=True, enabled=True):
    flags = (0x02 if supported else 0) | (0x04 if enabled else 0)
    return org(OUI_8021, 2, struct.pack("!BH", flags, vid))


def vlan_name(vid, name):
    return org(OUI_8021, 3, struct.pack("!HB", vid, len(name)) + name.encode())


def protocol_identity(identity):
    return org(OUI_8021, 4, bytes([len(identity)]) + identity)


# IEEE 802.3
def mac_phy(autoneg_supported, autoneg_enabled, advertised, mau_type):
    flags = (0x01 if autoneg_supported else 0) | (0x02 if autoneg_enabled else 0)
    return org(OUI_8023, 1, struct.pack("!BHH", flags, advertised, mau_type))


def power(pse=True, supported=True, enabled=True, pair_control=False, pairs=1, klass=1):
    """klass is the TLV's power class field (0..4 for class0..class4)."""
    flags = ((0x01 if pse else 0) | (0x02 if supported else 0) | (0x04 if enabled else 0)
             | (0x08 if pair_control else 0))
    return org(OUI_8023, 2, bytes([flags, pairs, klass]))


def link_agg(capable=True, enabled=True, port=0):
    status = (0x01 if capable else 0) | (0x02 if enabled else 0)
    return org(OUI_8023, 3, struct.pack("!BI", status, port))


def max_frame_size(size):
    return org(OUI_8023, 4, struct.pack("!H", size))


# LLDP-MED (TIA-1057)
def med_capabilities(capabilities=0x3F, device_class=1):
    return org(OUI_TIA, 1, struct.pack("!HB", capabilities, device_class))


def med_policy(app_type=1, unknown=False, tagged=True, vid=100, priority=5, dscp=46):
    word = ((1 if unknown else 0) << 23 | (1 if tagged else 0) << 22 | (vid & 0xFFF) << 9
            | (priority & 7) << 6 | (dscp & 0x3F))
    return org(OUI_TIA, 2, bytes([app_type]) + word.to_bytes(3, "big"))


def med_power(power_type=1, source=1, priority=2, value=130):
    """value in units of 0.1 W."""
    return org(OUI_TIA, 4, bytes([(power_type << 6) | (source << 4) | priority])
               + struct.pack("!H", value))


def med_inventory(subtype, text):
    """subtype 5 hardware, 6 firmware, 7 software revision, 8 serial, 9 manufacturer,
    10 model, 11 asset id."""
    return org(OUI_TIA, subtype, text.encode())


def lldpdu(*tlvs):
    return b"".join(tlvs) + end()


def frame(source_mac, pdu):
    return LLDP_MULTICAST + source_mac + struct.pack("!H", ETHERTYPE_LLDP) + pdu


def neighbor(chassis_mac, port_name, name, time_to_live=120, extra=()):
    """A minimal neighbour: MAC chassis id, interface-name port id, TTL, system name."""
    return lldpdu(chassis_id(CHASSIS_MAC, chassis_mac), port_id(PORT_IFNAME, port_name.encode()),
                  ttl(time_to_live), sys_name(name), *extra)


_CLONE_NEWNET = 0x40000000
_libc = ctypes.CDLL(None, use_errno=True)


def _in_namespace(namespace, make):
    """Runs make() on a thread that joined the named network namespace; a socket keeps the
    namespace it was made in, and the calling thread stays where it is."""
    result = {}

    def body():
        try:
            fd = os.open(f"/run/netns/{namespace}", os.O_RDONLY)
            try:
                if _libc.setns(fd, _CLONE_NEWNET) != 0:
                    raise OSError(ctypes.get_errno(), f"setns into {namespace}")
            finally:
                os.close(fd)
            result["value"] = make()
        except BaseException as error:  # handed to the caller
            result["error"] = error

    thread = threading.Thread(target=body)
    thread.start()
    thread.join()
    if "error" in result:
        raise result["error"]
    return result["value"]


class Sender:
    """Sends raw frames out of one interface of a namespace."""

    def __init__(self, namespace, interface):
        def make():
            s = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETHERTYPE_LLDP))
            s.bind((interface, 0))
            return s

        self.socket = _in_namespace(namespace, make)
        self.interface = interface

    def send(self, source_mac, pdu):
        self.socket.send(frame(source_mac, pdu))

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
