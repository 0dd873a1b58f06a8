"""Runs a command with a loopback network of its own, so that the fixed ports are free whatever else
runs on the machine: the system gives them to connections, too, which hold them for a minute after
their end. Where that is not permitted, the command runs all the same; without a command the exit
status tells whether it is."""

import contextlib
import ctypes
import fcntl
import os
import signal
import socket
import struct
import sys

CLONE_NEWUSER = 0x10000000
CLONE_NEWNET = 0x40000000
SIOCSIFFLAGS = 0x8914
IFF_UP, IFF_RUNNING = 1, 64
RESERVED_PORTS = "/proc/sys/net/ipv4/ip_local_reserved_ports"  # of the own network


def enter_private_network():
    libc = ctypes.CDLL(None)
    if libc.unshare(CLONE_NEWNET) != 0 and libc.unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0:
        return False
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        fcntl.ioctl(control, SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", IFF_UP | IFF_RUNNING))
    with contextlib.suppress(OSError), open(RESERVED_PORTS, "w", encoding="ascii") as reserved:
        reserved.write("56910,56911")
    return True


if __name__ == "__main__":
    private = enter_private_network()
    if len(sys.argv) == 1:
        sys.exit(not private)
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # which Python ignores, and the command would too
    os.execvp(sys.argv[1], sys.argv[1:])
