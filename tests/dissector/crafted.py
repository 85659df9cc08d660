"""A recording with what a shell does not record: malformed replies, and either order of bytes."""
import struct

COMMAND, DESCRIPTION, REQUEST, MESSAGE, NOTHING, FACT, END = range(1, 8)
STAMP, SWAPPED_STAMP, INTERFACE_NAME = 0x1ABCD, 0xCDAB0100, 0x30030003
ASKED = (20, 21, 22, 23, 24)


class Recording:
    """Packets as a machine with this order of bytes ("<" or ">") writes them."""

    def __init__(self, order):
        self.order, self.packets = order, []

    def words(self, *values):
        return struct.pack(f"{self.order}{len(values)}I", *values)

    def packet(self, kind, data=b"", sap=0, opcode=0, value=0, flags=0, version=1, surplus=0):
        direction = {REQUEST: 1, MESSAGE: 2, NOTHING: 2}.get(kind, 0)
        flags |= 2 if self.order == ">" else 0
        head = struct.pack(">4s4B4I", b"qarn", version, kind, direction, flags, sap, opcode, value, len(data) + surplus)
        self.packets.append(head + data)

    def tlv(self, tag, value, surplus=0):
        value = self.words(*value) if isinstance(value, tuple) else value
        return self.words(tag, len(value) + surplus) + value + bytes(-len(value) % 4)

    def element(self, values=0, level=3):
        return self.tlv(0, (21, 4, level, 0x0C, values))

    def command(self, body, kind=1, stamp=STAMP, surplus=0):
        words = [0, 64 + len(body) + surplus, kind] + 12 * [0] + [stamp]
        return self.words(*words) + body

    def fragment(self, sap, data, total, last=1, surplus=0):
        head = self.words(last, total, sap, len(data) + surplus)
        self.packet(MESSAGE, head + data, sap=sap, opcode=7664)

    def reply(self, *tlvs, count=None, surplus=0, sap=20):
        data = b"".join(tlvs)
        data = self.words(0, len(tlvs) if count is None else count, len(data) + 8 + surplus) + data
        self.fragment(sap, data, len(data))

    def request(self, sap):
        data = bytearray(2740)
        for at, value in {0: 77, 1044: 1, 1052: 3, 1064: 3, 2096: 1, 1072: 300}.items():
            data[at:at + 4] = self.words(value)
        data[8:520] = 512 * b"\xff"
        data[525:527] = b"\x3c\x01"
        line = b"show \x1b[2J \xc3\xa9 \xff"
        data[2484:2484 + len(line)] = line
        self.packet(REQUEST, bytes(data) + self.words(0x1A000000, 0x1A000001), sap=sap, opcode=7663)

    def file(self):
        head = struct.pack("<I2H4I", 0xA1B23C4D, 2, 4, 0, 0, 262144, 147)
        return head + b"".join(struct.pack("<4I", 1, 1000 * i, len(packet), len(packet)) + packet
                               for i, packet in enumerate(self.packets))


def add_replies(it):
    """What a service can send in a TLV, and what it must not."""
    it.reply(it.element(1), it.tlv(3, (1,)), it.tlv(2, it.command(b"shutdown\0")), it.tlv(3, (2,)),
             it.tlv(2, it.command(it.tlv(INTERFACE_NAME, b"Ethernet1/1\0") + it.tlv(9, (5,)), 2, SWAPPED_STAMP)),
             it.tlv(5, it.command(b"debug\0", surplus=1)), it.tlv(5, b"short"), it.tlv(3, (3,)),
             it.tlv(2, it.command(b"", stamp=9)), it.tlv(2, b"not read\0"))
    it.reply(it.tlv(2, b"before\0"), it.element(level=13), it.tlv(2, b""), it.tlv(2, b"a\0b\0"), it.tlv(2, b"without"),
             it.tlv(1, (383, 2, 7)), it.tlv(1, (383,)), it.tlv(0, (1, 2)), it.tlv(99, b"?"), it.tlv(7, b""),
             it.tlv(2, b"map\0"), it.tlv(2, b"name\0"), it.tlv(3, b"12"), it.tlv(2, b"\x1b]0;\xff\xc3\xa9\n\0"))
    it.reply(it.element(), it.tlv(2, b"no zero!"))
    it.reply(it.element(), it.tlv(2, b"too long", surplus=99))
    it.reply(it.element(), it.tlv(7, (10,)), it.tlv(2, b"map\0"), surplus=8)
    it.reply(it.element(), it.tlv(2, b"more\0"), it.tlv(2, b"than\0"), count=2, surplus=-4)
    it.reply(it.element(), count=0xFFFFFFFF)
    it.reply(sap=99)
    for data in (b"\0\0", it.words(5), it.words(0, 1)):
        it.fragment(21, data, max(len(data), 4))
    it.fragment(22, it.words(0, 1, 16) + it.tlv(2, b""), 300, surplus=1)
    it.fragment(23, it.words(0), 8, last=0)
    it.fragment(23, it.words(0, 0), 12)
    it.fragment(24, it.words(0), 16, last=0)
    it.packet(MESSAGE, b"x", sap=24, opcode=7664)
    it.packet(MESSAGE, sap=24, opcode=7000)


def recording(order):
    it = Recording(order)
    it.packet(COMMAND, b"line show x | i y\ndisplay show x\nheader 1\n")
    it.packet(DESCRIPTION, b'services:\n  - {name: "stp", ', flags=1)
    it.packet(DESCRIPTION, b'sap: 20, uuid: 21}\n')
    for sap in ASKED + (25,):
        it.request(sap)
    add_replies(it)
    it.packet(NOTHING, value=62)
    it.packet(FACT, b"is not registered", sap=25, opcode=101)
    it.packet(FACT, b"\1\0\2", opcode=3)
    it.packet(FACT, opcode=77, flags=1)
    it.packet(END, struct.pack(">3Q", 1, 2, 3), value=1)
    it.packet(END, b"1234")
    it.packet(REQUEST, b"short", surplus=1)
    it.packet(COMMAND, b"no line")
    it.packet(COMMAND, version=2)
    it.packet(9, b"what")
    it.packets.append(b"none of a recording")
    return it.file()


def large():
    """A reply with more than a tree can hold."""
    it = Recording("<")
    tlvs = 100000 * it.tlv(2, b"a text\n\0")
    reply = it.words(0, 100001, len(tlvs) + 36) + it.element() + tlvs
    parts = [reply[at:at + 262000] for at in range(0, len(reply), 262000)]
    for part in parts:
        it.fragment(20, part, len(reply), last=int(part is parts[-1]))
    return it.file()
