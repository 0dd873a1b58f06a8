"""tools/wireshark/html5_video.lua, read by tshark: captures written from the bytes."""

import functools
import itertools
import os
import random
import re
import shlex
import subprocess

import wire
from capture import LARGEST_PIECE, Connection, write
from tools_case import SOURCES, ToolsTest
from wire import framed, number, request

SCRIPT = "tools/wireshark/html5_video.lua"
EMPTY_REPLY = framed(wire.EMPTY_RECORD)
REPORT = [("a", value) for value in (1000, 60000, -200, 7, 4, 640, 360, 1, 1, -1294967296, 0, 2500)]
SET_STATUS = request("SetStatus", *REPORT)
CONSOLE_PORT = 28282
PORTS = wire.COMMAND_PORT, wire.STATE_PORT, CONSOLE_PORT


def console(text, magic=b"TAVI"):
    return magic + framed(text)


class DissectorTest(ToolsTest):
    def setUp(self):
        super().setUp()
        self.packets = []
        self.connect = functools.partial(Connection, self.packets)

    def tshark(self, *options):
        """What it prints; in a home of its own, so that nobody's settings count."""
        done = subprocess.run(
            ["tshark", "-X", f"lua_script:{SCRIPT}", "-r",
             write(self.directory / "capture.pcap", self.packets), *options],
            cwd=SOURCES, env={**os.environ, "HOME": str(self.directory)}, timeout=120, check=True,
            capture_output=True, text=True, encoding="utf-8", errors="replace")
        for trouble in "Lua", "Dissector bug", "Malformed Packet":
            self.assertNotIn(trouble, done.stdout + done.stderr)
        return done.stdout

    def fields(self, *names, only="html5_video or html5_video_console", options=()):
        """A list of values for each packet that has any; several of a name stand in one text. The
        dissector's names go without their beginning, html5_video."""
        columns = [word for name in names
                   for word in ("-e", re.sub(r"^(?=\.|_console)", "html5_video", name))]
        lines = self.tshark(*options, "-Y", only, "-T", "fields", *columns).splitlines()
        return [line.split("\t") for line in lines if line.strip()]


class Frames(DissectorTest):
    # Method and arguments, and the fields that tell of them; null has no value.
    COMMANDS = (
        (("load", ("url", "http://a/\u00e9.mp4")), {".load.url": "http://a/\u00e9.mp4"}),
        (("load", ("url", None)), {".argument.null": "1"}), (("load", ("url", "")), {}),
        (("cancelLoad",), {}), (("play",), {}), (("pause",), {}),
        (("seek", ("ms", -1500)), {".seek.ms": "-1500"}),
        (("setRate", ("speed", 50)), {".setrate.speed": "50"}),
        (("setVolume", ("v", 100)), {".setvolume.v": "100"}),
        (("setSize", ("w", 1280), ("h", 720)), {".setsize.w": "1280", ".setsize.h": "720"}),
        (("setMuted", ("m", 1)), {".setmuted.m": "1"}),
        (("SetStatus", *REPORT), {
            ".status.play_time": "1000", ".status.end_time": "60000", ".status.speed": "-200",
            ".status.value3": "7", ".status.media": "4", ".status.width": "640",
            ".status.height": "360", ".status.in_seek": "1",
            ".status.total_bytes": str((1 << 32) + 3000000000), ".status.current_offset": "2500"}))

    def check_talk(self, piece):
        """Every command with its reply, a report, and some lines for the console."""
        connections = [self.connect(port, port - 10000) for port in PORTS]
        expected = []
        for (method, *arguments), values in self.COMMANDS:
            connection = connections[method == "SetStatus"]
            connection.request(request(method, *arguments), piece)
            connection.reply(EMPTY_REPLY if method == "SetStatus" else number(0), piece)
            expected += {".method": method, **values}, {".reply_to": method}
        for line, shown in (b"START", "START"), (b"PRINT \xff\xc3\xa9", "PRINT \ufffd\u00e9"):
            connections[2].request(console(line), piece)
            connections[2].reply(console(b"\nCMD>", b"tavi"), piece)
            expected += {"_console.line": shown}, {"_console.prompt": "\\nCMD>"}
        names = [*dict.fromkeys(itertools.chain(*expected)), ".malformed", ".unusual",
                 "_console.malformed"]
        self.assertEqual([{name: value for name, value in zip(names, row) if value}
                          for row in self.fields(*names)], expected)

    def test_every_frame_by_field_over_segments_of_any_size(self):
        for piece in 1, 7, LARGEST_PIECE:
            with self.subTest(piece):
                self.setUp()
                self.check_talk(piece)
        first, second = self.fields("frame.number", ".request_in")[:2]
        self.assertEqual(second[1], first[0])

    def test_frames_that_share_a_segment_and_one_whose_end_does_not_come(self):
        state = self.connect(wire.STATE_PORT)
        state.request(SET_STATUS * 3 + SET_STATUS[:50])
        state.reply(EMPTY_REPLY * 3)
        three = "SetStatus,SetStatus,SetStatus"
        self.assertEqual(self.fields(".method", ".status.play_time", ".reply_to", ".incomplete"),
                         [[three, "1000,1000,1000", "", "1"], ["", "", three, ""]])

    def test_other_ports(self):
        for port, data in zip(PORTS, (request("play"), SET_STATUS, console(b"START"))):
            self.connect(port - 20000).request(data)
        self.assertEqual(self.fields("frame.number"), [])
        options = [word for name, port in zip(
            ("html5_video.commands_port", "html5_video.state_port", "html5_video_console.port"),
            PORTS) for word in ("-o", f"{name}:{port - 20000}")]
        self.assertEqual(self.fields(".method", "_console.line", options=options),
                         [["play", ""], ["SetStatus", ""], ["", "START"]])


class Malformed(DissectorTest):
    """Marked, and what comes after in a segment of its own is understood."""

    def check(self, port, bad, good, mark, understood):
        """A connection for each: the bad frame, which is to carry a text, and the good one."""
        for index, (data, _) in enumerate(bad):
            connection = self.connect(port, 40000 + index)
            connection.request(data)
            connection.request(good)
        rows = self.fields("_ws.expert.message", understood, only=f"{mark} or {understood}")
        self.assertEqual(rows[1::2], [["", "play"]] * len(bad))
        for (data, text), (message, _) in zip(bad, rows[::2]):
            with self.subTest(text, data=data[:60]):
                self.assertIn(text, message)

    def test_requests(self):
        seek = request("seek", ("ms", 1))
        record = b"\0\0\0G" + wire.text("seek") + b"\0\0\0H"
        block = record + wire.text("b") + wire.text("ms")
        self.check(wire.COMMAND_PORT, (
            (number(0), "a length of 0, 1 times"), (number(-1), "a negative length"),
            (number(-2147483648), "a negative length"), (number(2097153) + seek, "above 2097152"),
            (framed(b"\0\0\0F" + seek[8:]), "a wrong method code"),
            (framed(b"\0\0"), "a wrong method code"), (framed(b"\0\0\0Gseek"), "without its end"),
            (framed(b"\0\0\0G"), "without its end"), (framed(record[:-4]), "a wrong start code"),
            (framed(record), "type codes"), (framed(record + b"iiii"), "type codes"),
            (framed(record + wire.text("i") + b"name"), "argument 1: a name without"),
            (framed(seek[4:-1]), "argument 1: cut"), (framed(seek[4:-5]), "argument 1: cut"),
            (seek.replace(b"i\0\0\0", b"x\0\0\0"), "argument 1: cut, or of no known type"),
            (framed(block + number(-1)), "argument 1: cut"),
            (framed(block + number(5) + b"four"), "argument 1: runs past"),
            (framed(record + wire.text("n" * 65536) + bytes(65536 * 4)), "more than 65535")),
            request("play"), "html5_video.malformed", "html5_video.method")

    def test_what_is_taken_with_a_complaint(self):
        self.check(wire.COMMAND_PORT, (
            (request("jump"), "neither browser nor player knows"), (request("seek"), "\"ms\""),
            (request("seek", ("ms", "1")), "\"ms\""), (request("load", ("url", 1)), "\"url\""),
            (request("SetStatus", *REPORT[:11]), "Position 11"),
            (request("SetStatus", *REPORT[:5], ("a", "b"), *REPORT[6:]), "Position 5"),
            (request("SetStatus", *REPORT, *REPORT), "12 arguments more")),
            request("play"), "html5_video.unusual", "html5_video.method")

    def test_replies(self):
        bad = number(-5), number(2097153), framed(b"\0\0\0I\0\0\0\0"), framed(b"\0")
        for index, data in enumerate(bad):
            commands = self.connect(wire.COMMAND_PORT, 40000 + index)
            commands.request(request("play") + request("pause"))
            commands.reply(data)
            commands.reply(framed(b"\0\0\0H" + wire.text("s") + wire.text("a") + wire.text("b")))
        self.assertEqual(
            self.fields(".reply_to", ".argument.text", only="html5_video.reply_to"),
            [["play", ""], ["pause", "b"], ["play", "b"]] + [["play", ""], ["pause", "b"]] * 2)
        self.assertEqual(len(self.fields("frame.number", only="html5_video.malformed")), len(bad))

    def test_the_console(self):
        self.check(CONSOLE_PORT, (
            (b"TAVl", "a wrong magic"), (b"tavi", "a wrong magic"),
            (console(b"x" * 1024), "a length above 1023"),
            (b"TAVI" + b"\xff" * 4 + b"x", "a length above 1023")),
            console(b"play"), "html5_video_console.malformed", "html5_video_console.line")

    def test_noise(self):
        """No Lua error, no dissector bug, no endless loop, whatever comes."""
        noise = random.Random(1)
        whole = [request(*command) for command, _ in Frames.COMMANDS]
        whole += [EMPTY_REPLY, number(0), console(b"START"), console(b"\nCMD>", b"tavi"),
                  framed(b"\0\0\0Gx\0\0\0\0\0\0H" + wire.text("nibs") + bytes(40)),
                  bytes(300), b"\xff" * 300]
        for client in range(100):
            connection = self.connect(noise.choice(PORTS), 10000 + client)
            for _ in range(10):
                data = bytearray(b"".join(noise.choices(whole, k=noise.randrange(1, 4))))
                for _ in range(noise.randrange(4)):
                    data[noise.randrange(len(data))] = noise.choice(
                        (0, 1, 0x47, 0x48, 0x73, 0x7F, 0x80, 0xFF, noise.randrange(256)))
                if noise.random() < 0.2:
                    del data[noise.randrange(len(data)):]
                noise.choice((connection.request, connection.reply))(
                    bytes(data), noise.choice((5, 60, LARGEST_PIECE)))
        most = b"\0\0\0Gload\0\0\0\0\0\0\0H" + wire.text("n" * 65535) + b"a\0\0\0" * 65535
        self.connect(wire.COMMAND_PORT, 30000).request(framed(most))
        self.tshark("-V")
        self.tshark("-2", "-o", "tcp.desegment_tcp_streams:FALSE")


class Page(DissectorTest):
    def test_the_session_is_shown_as_what_is_printed(self):
        page = (SOURCES / "docs/protocol.md").read_text()
        session = re.search("^```session\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)[1]
        ports = {"state": wire.STATE_PORT, "commands": wire.COMMAND_PORT}
        connections = {}
        for who, arrow, what in re.findall(r"^(\w+) *([<>]?) *(.*)$",
                                           re.sub(r"\n +", " ", session), re.MULTILINE):
            if what == "open":
                connections[who] = self.connect(ports[who], 40001 + len(self.packets))
            elif what == "close":
                connections[who].close(0 if who == "state" else 1)
            elif arrow:
                data = bytes.fromhex(what.replace("|", " "))
                (connections[who].request if arrow == ">" else connections[who].reply)(data)
        shown = re.findall(r"^```capture\n\$ tshark ((?:[^\n]*\\\n)*[^\n]*\n)(.*?)^```$", page,
                           re.MULTILINE | re.DOTALL)
        self.assertEqual(len(shown), 2)
        for command, output in shown:
            words = shlex.split(command.replace("\\\n", ""))
            self.assertEqual(words[:4], ["-X", "lua_script:" + SCRIPT, "-r", "session.pcap"])
            self.assertEqual(self.tshark(*words[4:]).rstrip(), output.rstrip())
