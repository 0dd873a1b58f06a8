"""tools/wireshark/html5_video.lua, read by tshark: captures written from the bytes, and one taken
on the loopback interface while browser, player and console talk.

Usage: dissector_test.py PROGRAMS SOURCES [unittest's arguments]. The folder scripts/lib must be on
the path.
"""

import os
import pathlib
import random
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

import stand
import wire
from capture import LARGEST_PIECE, Capture, Sniffer
from wire import framed, number, request

PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
SOURCES = pathlib.Path(sys.argv.pop(1)).resolve()
SCRIPT = "tools/wireshark/html5_video.lua"
EMPTY_REPLY = framed(wire.EMPTY_RECORD)
REPORT = (1000, 60000, -200, 7, 4, 640, 360, 1, 1, -1294967296, 0, 2500)
CONSOLE_PORT = 28282


def report(values):
    return request("SetStatus", *(("a", value) for value in values))


def console(text, magic=b"TAVI"):
    return magic + framed(text)


class DissectorTest(unittest.TestCase):
    def setUp(self):
        self.directory = self.enterContext(tempfile.TemporaryDirectory())
        self.capture = Capture(pathlib.Path(self.directory) / "capture.pcap")

    def tshark(self, *options, path=None):
        """What it prints; in a home of its own, so that nobody's settings count."""
        done = subprocess.run(
            ["tshark", "-X", f"lua_script:{SCRIPT}", "-r", path or self.capture.write(), *options],
            cwd=SOURCES, env={**os.environ, "HOME": self.directory}, timeout=120, check=True,
            capture_output=True, text=True, encoding="utf-8", errors="replace")
        for trouble in "Lua", "Dissector bug", "Malformed Packet":
            self.assertNotIn(trouble, done.stdout + done.stderr)
        return done.stdout

    def fields(self, *names, only="html5_video or html5_video_console", path=None, options=()):
        """A list of values for each packet that has any; several of a name stand in one text."""
        columns = [word for name in names for word in ("-e", name)]
        lines = self.tshark(*options, "-Y", only, "-T", "fields", *columns, path=path).splitlines()
        return [line.split("\t") for line in lines if line.strip()]


class Frames(DissectorTest):
    COMMANDS = (
        ("load", ("url", "http://a/\u00e9.mp4")), ("load", ("url", None)), ("load", ("url", "")),
        ("cancelLoad",), ("play",), ("pause",), ("seek", ("ms", -1500)), ("setRate", ("speed", 50)),
        ("setVolume", ("v", 100)), ("setSize", ("w", 1280), ("h", 720)), ("setMuted", ("m", 1)))
    # The fields of the commands, and what the commands above have in them; null has no value.
    ARGUMENTS = ("load.url", "argument.null", "seek.ms", "setrate.speed", "setvolume.v",
                 "setsize.w", "setsize.h", "setmuted.m")
    VALUES = (
        {"load.url": "http://a/\u00e9.mp4"}, {"argument.null": "1"}, {}, {}, {}, {},
        {"seek.ms": "-1500"}, {"setrate.speed": "50"}, {"setvolume.v": "100"},
        {"setsize.w": "1280", "setsize.h": "720"}, {"setmuted.m": "1"})
    STATUS = {
        "play_time": "1000", "end_time": "60000", "speed": "-200", "value3": "7", "media": "4",
        "width": "640", "height": "360", "in_seek": "1", "total_bytes": str((1 << 32) + 3000000000),
        "current_offset": "2500"}

    def talk(self, piece=LARGEST_PIECE):
        """Every command with its reply, a report, and some lines for the console."""
        commands = self.capture.connect(wire.COMMAND_PORT, 40001)
        for method, *arguments in self.COMMANDS:
            commands.request(request(method, *arguments), piece)
            commands.reply(number(0), piece)
        state = self.capture.connect(wire.STATE_PORT, 40002)
        state.request(report(REPORT), piece)
        state.reply(EMPTY_REPLY, piece)
        lines = self.capture.connect(CONSOLE_PORT, 40003)
        for line in b"START", b"PRINT \xff\xc3\xa9", b"":
            lines.request(console(line), piece)
            lines.reply(console(b"\nCMD>", b"tavi"), piece)

    def check_talk(self):
        names = ("method", *self.ARGUMENTS, *("status." + name for name in self.STATUS),
                 "reply_to", "malformed", "unusual")
        columns = (*("html5_video." + name for name in names), "html5_video_console.line",
                   "html5_video_console.prompt", "html5_video_console.malformed")
        names = (*names, "line", "prompt", "malformed line")
        seen = [{name: value for name, value in zip(names, row) if value}
                for row in self.fields(*columns)]
        requests = [row for row in seen if "method" in row]
        replies = [row["reply_to"] for row in seen if "reply_to" in row]
        for row, (method, *_), values in zip(requests, self.COMMANDS, self.VALUES):
            self.assertEqual(row, {"method": method, **values})
        self.assertEqual(requests[-1], {"method": "SetStatus", **{
            "status." + name: value for name, value in self.STATUS.items()}})
        self.assertEqual(replies, [row["method"] for row in requests])
        self.assertEqual(len(requests), len(self.COMMANDS) + 1)
        self.assertEqual([row["line"] for row in seen if "line" in row],
                         ["START", "PRINT \ufffd\u00e9"])
        self.assertEqual([row for row in seen if "prompt" in row], [{"prompt": "\\nCMD>"}] * 3)

    def test_every_frame_by_field(self):
        self.talk()
        self.check_talk()
        first, second = self.fields("frame.number", "html5_video.request_in")[:2]
        self.assertEqual(second[1], first[0])

    def test_frames_over_segments(self):
        for piece in 1, 7:
            with self.subTest(piece):
                self.setUp()
                self.talk(piece)
                self.check_talk()

    def test_frames_that_share_a_segment_and_one_whose_end_does_not_come(self):
        state = self.capture.connect(wire.STATE_PORT)
        state.request(report(REPORT) * 3 + report(REPORT)[:50])
        state.reply(EMPTY_REPLY * 3)
        self.assertEqual(self.fields("html5_video.method", "html5_video.status.play_time",
                                     "html5_video.reply_to", "html5_video.incomplete")[0][:3],
                         ["SetStatus,SetStatus,SetStatus", "1000,1000,1000", ""])
        self.assertEqual(self.fields("html5_video.reply_to", only="html5_video.reply_to"),
                         [["SetStatus,SetStatus,SetStatus"]])
        self.assertEqual(len(self.fields("frame.number", only="html5_video.incomplete")), 1)

    def test_other_ports(self):
        self.capture.connect(6001).request(request("play"))
        self.capture.connect(6002).request(report(REPORT))
        self.capture.connect(6003).request(console(b"START"))
        self.assertEqual(self.fields("frame.number"), [])
        ports = ("html5_video.commands_port:6001", "html5_video.state_port:6002",
                 "html5_video_console.port:6003")
        options = [word for port in ports for word in ("-o", port)]
        self.assertEqual(self.fields("html5_video.method", "html5_video_console.line",
                                     options=options),
                         [["play", ""], ["SetStatus", ""], ["", "START"]])

class Malformed(DissectorTest):
    """Marked, and what comes after in a segment of its own is understood."""

    def check(self, port, bad, good, mark, understood):
        """A connection for each: the bad frame, which is to carry a text, and the good one."""
        for index, (data, _) in enumerate(bad):
            connection = self.capture.connect(port, 40000 + index)
            connection.request(data)
            connection.request(good)
        seen = {}
        for port, message, value in self.fields("tcp.srcport", "_ws.expert.message", understood,
                                                only=f"{mark} or {understood}"):
            seen.setdefault(int(port) - 40000, []).append((message, value))
        for index, (data, text) in enumerate(bad):
            with self.subTest(text, data=data[:60]):
                (message, _), (nothing, value) = seen[index]
                self.assertIn(text, message)
                self.assertEqual((nothing, value), ("", "play"))

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
        short = [("a", value) for value in REPORT]
        self.check(wire.COMMAND_PORT, (
            (request("jump"), "neither browser nor player knows"), (request("seek"), "\"ms\""),
            (request("seek", ("ms", "1")), "\"ms\""), (request("load", ("url", 1)), "\"url\""),
            (request("SetStatus", *short[:11]), "Position 11"),
            (request("SetStatus", *short[:5], ("a", "b"), *short[6:]), "Position 5"),
            (request("SetStatus", *short, *short), "12 arguments more")),
            request("play"), "html5_video.unusual", "html5_video.method")

    def test_replies(self):
        bad = number(-5), number(2097153), framed(b"\0\0\0I\0\0\0\0"), framed(b"\0")
        for index, data in enumerate(bad):
            commands = self.capture.connect(wire.COMMAND_PORT, 40000 + index)
            commands.request(request("play") + request("pause"))
            commands.reply(data)
            commands.reply(framed(b"\0\0\0H" + wire.text("s") + wire.text("a") + wire.text("b")))
        self.assertEqual(
            self.fields("html5_video.reply_to", "html5_video.argument.text",
                        only="html5_video.reply_to"),
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
        whole = [request(*command) for command in Frames.COMMANDS]
        whole += [report(REPORT), EMPTY_REPLY, number(0), console(b"START"),
                  console(b"\nCMD>", b"tavi"),
                  framed(b"\0\0\0Gx\0\0\0\0\0\0H" + wire.text("nibs") + bytes(40))]
        for client in range(100):
            connection = self.capture.connect(
                noise.choice((wire.COMMAND_PORT, wire.STATE_PORT, CONSOLE_PORT)), 10000 + client)
            for _ in range(10):
                data = bytearray(b"".join(noise.choices(whole, k=noise.randrange(1, 4))))
                for _ in range(noise.randrange(4)):
                    at = noise.randrange(len(data))
                    data[at] = noise.choice((0, 1, 0x47, 0x48, 0x73, 0x7F, 0x80, 0xFF,
                                             noise.randrange(256)))
                if noise.random() < 0.2:
                    del data[noise.randrange(len(data)):]
                if data:
                    noise.choice((connection.request, connection.reply))(
                        bytes(data), noise.choice((5, 60, LARGEST_PIECE)))
        most = b"\0\0\0Gload\0\0\0\0\0\0\0H" + wire.text("n" * 65535) + b"a\0\0\0" * 65535
        self.capture.connect(wire.COMMAND_PORT, 30000).request(framed(most))
        for port in wire.COMMAND_PORT, wire.STATE_PORT, CONSOLE_PORT:
            for client, data in enumerate((bytes(9000), b"\xff" * 9000, noise.randbytes(9000))):
                connection = self.capture.connect(port, 30001 + client)
                connection.request(data)
                connection.reply(data)
        self.tshark("-V")
        self.tshark("-2", "-o", "tcp.desegment_tcp_streams:FALSE")


class Loopback(DissectorTest):
    def test_what_the_programs_say(self):
        sniffer = Sniffer(pathlib.Path(self.directory) / "loopback.pcapng")
        if not sniffer.is_running:
            self.skipTest("capturing on the loopback interface is not permitted: " + sniffer.said)
        with stand.Player(PROGRAMS, self.directory, "--console"), \
                stand.Browser(PROGRAMS, self.directory) as browser:
            browser.ask("wait-player 10")
            browser.tell("load clock:0.5")
            browser.ask("wait-status paused 10")
            browser.tell("seek 0.25", "play")
            browser.ask("wait-status ended 10")
            subprocess.run([stand.program(PROGRAMS, "console"), "--exec", "player_state"], check=True, timeout=30)
            self.assertEqual(browser.quit(), 0)
        path = sniffer.stop()
        methods = [method for method, in self.fields("html5_video.method", path=path)]
        self.assertEqual([method for method in methods if method != "SetStatus"],
                         ["load", "seek", "play"])
        self.assertEqual(self.fields("html5_video.load.url", path=path), [["clock:0.5"]])
        self.assertEqual(self.fields("html5_video.seek.ms", path=path), [["250"]])
        states = self.fields("html5_video.status.media", "html5_video.status.play_time",
                             "html5_video.status.end_time", path=path,
                             only="html5_video.status.media")
        self.assertEqual((states[0], states[-1]), (["1", "0", "0"], ["6", "500", "500"]))
        self.assertEqual([line for line, in self.fields("html5_video_console.line", path=path)],
                         ["START", "player_state", "quit"])
        self.assertEqual(self.fields("frame.number", path=path, only=(
            "html5_video.malformed or html5_video.unusual or html5_video_console.malformed")), [])


class Page(DissectorTest):
    def read_session(self, page):
        """The session of the page as a capture."""
        session = re.search("^```session\n(.*?)^```$", page, re.MULTILINE | re.DOTALL).group(1)
        connections = {}
        for line in re.sub(r"\n +", " ", session).splitlines():
            who, arrow, what = re.fullmatch(r"(\w+) *([<>]?) *(.*)", line).groups()
            if what == "open":
                port = {"state": wire.STATE_PORT, "commands": wire.COMMAND_PORT}[who]
                connections[who] = self.capture.connect(port, 40001 + len(self.capture.packets))
            elif what == "close":
                connections[who].close(0 if who == "state" else 1)
            elif arrow:
                data = bytes.fromhex(what.replace("|", " "))
                (connections[who].request if arrow == ">" else connections[who].reply)(data)

    def test_it_shows_what_is_printed(self):
        page = (SOURCES / "docs/protocol.md").read_text()
        self.read_session(page)
        shown = re.findall(r"^```capture\n\$ tshark ((?:[^\n]*\\\n)*[^\n]*\n)(.*?)^```$", page,
                           re.MULTILINE | re.DOTALL)
        self.assertEqual(len(shown), 2)
        for command, output in shown:
            words = shlex.split(command.replace("\\\n", ""))
            self.assertEqual(words[:4], ["-X", "lua_script:" + SCRIPT, "-r", "session.pcap"])
            self.assertEqual(self.tshark(*words[4:]).rstrip(), output.rstrip())


if __name__ == "__main__":
    unittest.main()
