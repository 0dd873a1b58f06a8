"""The frames between browser and player, made and read by code that shares nothing with either."""

import collections
import contextlib
import socket
import struct
import threading
import time

from tools_case import wait_until

COMMAND_PORT = 56911
STATE_PORT = 56910
EMPTY_RECORD = b"\0\0\0H" + bytes(4)


def text(value):
    """Bytes or text with the zeros behind it."""
    value = value.encode() if isinstance(value, str) else value
    return value + bytes(4 - len(value) % 4)


def number(value):
    return struct.pack("<i", value)


def framed(payload):
    return number(len(payload)) + payload


def request(method, *arguments):
    """The frame of a call with these names and values: an int, a text, or None for a null text."""
    kinds = {int: "i", str: "s", bytes: "s", type(None): "n"}
    record = text("".join(kinds[type(value)] for _, value in arguments))
    for name, value in arguments:
        record += text(name)
        if value is not None:
            record += number(value) if isinstance(value, int) else text(value)
    return framed(b"\0\0\0G" + text(method) + b"\0\0\0H" + record)


def receive(connection, count):
    data = b""
    while len(data) < count:
        if not (part := connection.recv(count - len(data))):
            raise ConnectionError("the connection has ended")
        data += part
    return data


def receive_frame(connection):
    """What follows the length word."""
    return receive(connection, int.from_bytes(receive(connection, 4), "little", signed=True))


# What a SetStatus tells, and when it came.
Report = collections.namedtuple(
    "Report", "time play_time end_time speed volume media width height in_seek total_high "
    "total_low offset_high offset_low")


def read_report(payload):
    start = b"\0\0\0G" + text("SetStatus") + b"\0\0\0H" + text("i" * 12)
    assert payload.startswith(start), payload
    at = len(start)
    values = []
    for _ in range(12):
        at += len(text(payload[at:payload.index(b"\0", at)])) + 4
        values.append(int.from_bytes(payload[at - 4:at], "little", signed=True))
    assert at == len(payload), payload
    return Report(time.monotonic(), *values)


class Browser:
    """A browser made of sockets: sends commands and collects the reports, with a pause before each
    is answered, so that one is nearly always under way."""

    def __init__(self, pause=0.0):
        self.pause = pause
        self.reported = threading.Condition()
        self.reports = []
        self.listener = socket.create_server(("127.0.0.1", STATE_PORT))
        self.serving = self.commands = None
        self.ending = False
        self.server = threading.Thread(target=self._serve)
        self.server.start()

    def _serve(self):
        while not self.ending:
            with contextlib.suppress(OSError):  # the player has gone, or this browser ends
                self.serving, _ = self.listener.accept()
                with self.serving:
                    self._take_reports()

    def _take_reports(self):
        while True:
            report = read_report(receive_frame(self.serving))
            time.sleep(self.pause)
            with self.reported:
                self.reports.append(report)
                self.reported.notify()
            self.serving.sendall(framed(EMPTY_RECORD))

    def _connect(self):
        with contextlib.suppress(ConnectionRefusedError):
            return socket.create_connection(("127.0.0.1", COMMAND_PORT), 20)

    def send(self, data):
        """Sends bytes, when the player listens, and takes one answer; None when it closes."""
        self.commands = self.commands or wait_until(self._connect, "a player that listens")
        try:
            self.commands.sendall(data)
            return receive_frame(self.commands)
        except ConnectionError:
            self.commands.close()
            self.commands = None
            return None

    def call(self, method, *arguments):
        """The number of reports that were taken before the answer came."""
        assert self.send(request(method, *arguments)) is not None, method
        return len(self.reports)

    def wait(self, condition, after=0):
        """The first report behind that many that fulfils the condition."""
        with self.reported:
            found = self.reported.wait_for(
                lambda: next(filter(condition, self.reports[after:]), None), 20)
            assert found, f"not among {self.reports[after:][-5:]}"
            return found

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.ending = True
        for connection in self.listener, self.serving:
            if connection is not None and connection.fileno() >= 0:
                connection.shutdown(socket.SHUT_RDWR)
        self.server.join()
        self.listener.close()
        if self.commands is not None:
            self.commands.close()
