"""Captures for tshark, written from the bytes."""

import functools
import socket
import struct

RAW_IPV4 = 228  # the link type whose packets begin with the IPv4 header
FIN, SYN, PSH, ACK = 1, 2, 8, 16
LARGEST_PIECE = 65000


def write(path, packets):
    """One packet a millisecond."""
    with path.open("wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 1 << 18, RAW_IPV4))
        for index, packet in enumerate(packets):
            file.write(struct.pack("<IIII", 0, index * 1000, len(packet), len(packet)) + packet)
    return path


class Connection:
    """A TCP connection from 127.0.0.1 to 127.0.0.1; its packets join those that are there."""

    def __init__(self, packets, server_port, client_port=40000):
        self.packets = packets
        self.ports = client_port, server_port
        self.sequence = [1000, 5000]
        # From the side that connected and from the other one; in segments of so many bytes.
        self.request, self.reply = (functools.partial(self._send, sender) for sender in (0, 1))
        self._segment(0, SYN)
        self._segment(1, SYN | ACK)

    def _segment(self, sender, flags, data=b""):
        acknowledged = self.sequence[1 - sender] if flags & ACK else 0
        ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(data), 0, 0, 64, socket.IPPROTO_TCP, 0,
                         *[socket.inet_aton("127.0.0.1")] * 2)
        tcp = struct.pack(">HHIIBBHHH", self.ports[sender], self.ports[1 - sender],
                          self.sequence[sender], acknowledged, 5 << 4, flags, 65535, 0, 0)
        self.packets.append(ip + tcp + data)
        self.sequence[sender] += len(data) + (1 if flags & (SYN | FIN) else 0)

    def _send(self, sender, data, piece=LARGEST_PIECE):
        for at in range(0, len(data), piece):
            self._segment(sender, PSH | ACK, data[at:at + piece])

    def close(self, sender=0):
        self._segment(sender, FIN | ACK)
