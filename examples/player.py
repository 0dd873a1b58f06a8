#!/usr/bin/env python3
"""The shortest player: takes a browser's commands, plays a clock and pushes its state back.

"clock:12" is a video of 12 seconds, any other address one of a minute. It listens on HBB_SYSTEM_IP
and connects to HBB_BROWSER_IP, both 127.0.0.1 by default. docs/protocol.md tells what is sent.
"""
import logging
import os
import re
import signal
import socket
import socketserver
import struct
import threading
import time

PATIENCE, PROGRESS, HEARTBEAT, RETRY = 2, 0.25, 1, 0.25  # seconds; the first for whole frames
IDLE, PAUSED, PLAYING, ENDED, UNSUPPORTED = 1, 3, 4, 6, 101  # media status codes


def padded(text):
    return text + bytes(4 - len(text) % 4)


def read_frame(stream):
    """A request's payload, or a reply's record."""
    head = stream.read(4)
    length = int.from_bytes(head, "little", signed=True)
    if not 0 <= length <= 2097152:
        raise ValueError(f"a length of {length}")
    frame = stream.read(length)
    if len(head + frame) < 4 + length:
        raise ValueError("the connection ended within a frame")
    return frame


def parse(payload):
    """The method and the values of its arguments by name: integer, text, None for a null text."""
    def text(at):
        end = payload.find(b"\0", at)
        if end < 0:
            raise ValueError("a frame that is cut")
        return payload[at:end], at + (end - at) // 4 * 4 + 4

    method, at = text(4)
    if payload[:4] != b"\0\0\0G" or payload[at:at + 4] != b"\0\0\0H":
        raise ValueError("a wrong method code or start code")
    (types, at), arguments = text(at + 4), {}
    for code in types.decode("latin-1"):
        (name, at), value = text(at), None
        if code == "s":
            value, at = text(at)
        elif code == "i":
            value, at = int.from_bytes(payload[at:at + 4], "little", signed=True), at + 4
        elif code != "n":
            raise ValueError(f"an argument of type {code!r}, which no command has")
        arguments[name] = value
    if at > len(payload):
        raise ValueError("a frame that is cut")
    return method, arguments


class Player:
    def __init__(self):
        self.changed = threading.Condition()  # its lock guards all the rest
        self.reset(IDLE)

    def reset(self, status, seconds=0.0):
        self.status, self.position, self.duration, self.speed = status, 0, int(seconds * 1000), 100
        self.moved_at = time.monotonic()

    def advance(self):
        now = time.monotonic()
        if self.status == PLAYING:
            reached = self.position + (now - self.moved_at) * 10 * self.speed
            self.position = min(max(reached, 0), self.duration)
            if self.speed and self.position == (self.duration if self.speed > 0 else 0):
                self.status = ENDED
        self.moved_at = now

    def run(self, method, arguments):
        self.advance()
        if method == b"load" and (url := arguments[b"url"]):  # neither null nor empty
            clock = re.fullmatch(rb"clock:(\d{1,6}(\.\d{1,9})?)|(?!clock:)(?s:.+)", url)
            self.reset(PAUSED, float(clock[1] or 60)) if clock else self.reset(UNSUPPORTED)
        elif method in (b"load", b"cancelLoad"):
            self.reset(IDLE)
        elif method == b"play" and self.status in (PAUSED, ENDED):
            if self.status == ENDED:
                self.position = self.duration if self.speed < 0 else 0
            self.status = PLAYING
        elif method == b"pause" and self.status == PLAYING:
            self.status = PAUSED
        elif method == b"seek":
            self.position = min(max(arguments[b"ms"], 0), self.duration)
            self.status = PAUSED if self.status == ENDED else self.status
        elif method == b"setRate":
            self.speed = min(max(arguments[b"speed"], -1600), 1600)

    def report(self):
        self.advance()
        values = int(self.position), self.duration, self.speed, 0, self.status, 0, 0, 0, 0, 0, 0, 0
        payload = b"\0\0\0G" + padded(b"SetStatus") + b"\0\0\0H" + padded(b"i" * len(values))
        payload += b"".join(padded(b"a") + struct.pack("<i", value) for value in values)
        return struct.pack("<i", len(payload)) + payload

    def push(self, browser, replies):
        while True:
            with self.changed:  # a command waits, so that its answer comes after that of the report
                browser.sendall(self.report())
                read_frame(replies)
                moving = self.status == PLAYING and self.speed
                rest = self.duration - self.position if self.speed > 0 else self.position
                to_the_end = rest / abs(10 * self.speed or 1) + 0.001
                self.changed.wait(min(PROGRESS, to_the_end) if moving else HEARTBEAT)


class Commands(socketserver.StreamRequestHandler):
    def handle(self):
        try:
            while self.rfile.peek(1):
                self.connection.settimeout(PATIENCE)
                method, arguments = parse(read_frame(self.rfile))
                with self.server.player.changed:
                    self.server.player.run(method, arguments)
                    self.server.player.changed.notify()
                self.wfile.write(bytes(4))
                self.connection.settimeout(None)
        except (OSError, ValueError, KeyError, TypeError) as error:
            logging.warning("the command connection is closed: %r", error)


if __name__ == "__main__":
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    system, browser = (os.getenv(f"HBB_{who}_IP", "127.0.0.1") for who in ("SYSTEM", "BROWSER"))
    socketserver.TCPServer.allow_reuse_address = True
    with socketserver.TCPServer((system, 56911), Commands) as server:  # one browser at a time
        server.player = Player()
        threading.Thread(target=server.serve_forever, daemon=True).start()
        while True:
            try:
                with socket.create_connection((browser, 56910), PATIENCE) as connection:
                    if connection.getsockname() != connection.getpeername():  # joined to itself
                        server.player.push(connection, connection.makefile("rb"))
            except ConnectionRefusedError:
                pass  # no browser yet
            except (OSError, ValueError) as error:
                logging.warning("the state connection is closed: %r", error)
            time.sleep(RETRY)
