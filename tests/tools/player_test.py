"""docs/protocol.md of a player, held against the reference player and examples/player.py."""

import functools
import itertools
import socket
import struct
import subprocess
import sys
import time

import stand
import wire
from tools_case import SOURCES, ToolsTest

IDLE, PAUSED, PLAYING, ENDED, UNSUPPORTED = 1, 3, 4, 6, 101


class PlayerTest(ToolsTest):
    def meet(self, **named):
        """A browser, and what it sees of a player after a command."""
        browser = self.enterContext(wire.Browser(**named))
        self.addCleanup(lambda: self.assertEqual(
            [report for report in browser.reports if report.play_time > report.end_time], []))
        return browser, functools.partial(self.see, browser)

    def see(self, browser, method, value=None, **wanted):
        """Sends the command and waits for a report that tells all that is wanted."""
        argument = {"load": "url", "seek": "ms", "setRate": "speed", "setVolume": "v",
                    "setMuted": "m"}.get(method)
        before = browser.call(method, *([(argument, value)] if argument else []))
        return browser.wait(lambda report: wanted.items() <= report._asdict().items(), before)


class Contract:
    """The same for every player; start_player is the subclass's."""

    def test_nothing_of_the_medium_before_follows_the_answer_to_a_load(self):
        self.start_player()
        browser, _ = self.meet(pause=0.001)
        media = []  # how many reports were taken before the answer, length in milliseconds
        for turn in range(1000):
            length = 5 + turn % 3
            start = browser.call("load", ("url", f"clock:0.00{length}"))
            media.append((start, length))
            browser.wait(lambda report: report.end_time == length, start)
            browser.call("play")
            if turn % 10 == 0:
                browser.wait(lambda report: report.media == ENDED, start)
            time.sleep(turn % 8 * 0.0015)  # the next load comes before, at or after the end
        media.append((len(browser.reports), 0))
        for (start, length), (end, next_length) in itertools.pairwise(media):
            for report in browser.reports[start:end]:
                self.assertIn(report.end_time, (length, next_length), (length, report))

    def test_commands_at_odd_moments_and_with_odd_values(self):
        self.start_player()
        _, see = self.meet()
        nothing = {"media": IDLE, "play_time": 0, "end_time": 0, "speed": 100}
        for method in "play", "seek", "pause", "cancelLoad":
            see(method, 500, **nothing)
        see("load", "clock:0.4", end_time=400)
        see("play", media=PLAYING)  # asked for before or after the load is done
        see("pause", media=PAUSED)
        see("seek", 2147483647, media=PAUSED, play_time=400)
        see("seek", -2147483648, media=PAUSED, play_time=0)
        see("setRate", 99999, speed=1600)
        see("setRate", -99999, speed=-1600)
        see("setRate", 0, speed=0)
        see("play", media=PLAYING, play_time=0)
        see("setRate", 100, media=ENDED, play_time=400, speed=100)
        see("seek", 100, media=PAUSED, play_time=100)
        see("play", media=ENDED, play_time=400)
        self.assertLess(see("play", media=PLAYING).play_time, 400)
        see("load", None, **nothing)
        see("load", "clock:1", media=PAUSED)
        see("load", "", **nothing)
        see("load", "clock:x", media=UNSUPPORTED, play_time=0, end_time=0)
        see("load", b"http://a/\xc3\xa9\xff", end_time=60000)
        see("cancelLoad", **nothing)

    def test_the_pace_and_an_unchanged_state_once_a_second(self):
        self.start_player()
        browser, see = self.meet()
        see("load", "clock:9", media=PAUSED)
        start = see("play", media=PLAYING)
        later = browser.wait(lambda report: report.play_time > start.play_time + 1000)
        self.assertAlmostEqual((later.play_time - start.play_time) / 1000,
                               later.time - start.time, delta=0.3)
        see("pause", media=PAUSED)
        first = len(browser.reports)
        browser.wait(lambda _: len(browser.reports) >= first + 3)
        for earlier, later in itertools.pairwise(browser.reports[first:first + 3]):
            self.assertEqual(earlier[1:], later[1:])
            self.assertGreater(later.time - earlier.time, 0.9)

    def test_a_browser_that_restarts_and_one_too_many(self):
        self.start_player()
        with wire.Browser() as first:
            first.call("load", ("url", "clock:60"))
            first.call("play")
            first.wait(lambda report: report.play_time > 0)
            with socket.create_connection(("127.0.0.1", wire.COMMAND_PORT), 10) as second:
                second.sendall(wire.request("pause"))
                second.settimeout(0.5)
                self.assertRaises(TimeoutError, second.recv, 1)  # until the first one leaves
        browser, see = self.meet()
        browser.wait(lambda report: report.media == PAUSED and report.play_time > 0)
        see("play", media=PLAYING)


class ReferencePlayer(Contract, PlayerTest):
    def start_player(self):
        player = super().start_player("--clock-load-time", "0", "--clock-seek-time", "0")
        self.addCleanup(lambda: self.assertEqual(player.end(), 0))


class SamplePlayer(Contract, PlayerTest):
    def start_player(self):
        self.player = self.enterContext(stand.Process(
            [sys.executable, SOURCES / "examples/player.py"], self.directory, "player"))
        self.addCleanup(lambda: self.assertIsNone(self.player.child.poll()))

    def test_frames_that_are_none_cost_their_sender_the_connection(self):
        self.start_player()
        browser, _ = self.meet()
        seek = wire.request("seek", ("ms", 1))
        for bad in (wire.number(0), wire.number(-1), wire.number(2097153), wire.number(-2147483648),
                    wire.framed(b"\0\0\0F" + seek[8:]), wire.framed(b"\0\0\0Gplay"),
                    wire.framed(seek[4:-4]), wire.framed(seek[4:-5]), wire.framed(b"\0\0\0G"),
                    seek.replace(b"i\0\0\0", b"x\0\0\0"), seek.replace(b"i\0\0\0", b"iiii"),
                    seek.replace(b"i\0\0\0", b"b\0\0\0"), seek.replace(b"\0\0\0H", b"\0\0\0I"),
                    wire.request("seek"), wire.request("seek", ("ms", "1")),
                    wire.request("load", ("url", 7)), bytes(range(256)) * 256, seek[:20]):
            with self.subTest(bad[:40]):
                lines = self.player.log_text().count("\n")
                self.assertIsNone(browser.send(bad))
                self.assertGreater(self.player.log_text().count("\n"), lines)
                self.assertEqual(browser.send(wire.request("play")), b"")
        self.assertEqual(browser.send(wire.request("unknown", ("a", None))), b"")
        self.assertNotIn("Traceback", self.player.log_text())

    def test_a_browser_whose_answers_are_none_is_left_and_found_again(self):
        self.start_player()
        with socket.create_server(("127.0.0.1", wire.STATE_PORT)) as listener:
            listener.settimeout(20)
            for answer in wire.number(-1), wire.number(2097153), wire.number(8) + b"short", b"":
                with listener.accept()[0] as state:
                    wire.read_report(wire.receive_frame(state))
                    state.sendall(answer)
                    state.shutdown(socket.SHUT_WR)
                    self.assertRaises(ConnectionError, wire.receive, state, 1000000)
        self.assertGreaterEqual(self.player.log_text().count("the state connection is closed"), 3)
        self.meet()[0].wait(lambda report: report.media == IDLE)


class GStreamer(PlayerTest):
    """The reference player's GStreamer engine."""

    def make(self, name, pipeline):
        path = self.directory / name
        subprocess.run(["gst-launch-1.0", "-q", *(
            f"{pipeline} ! webmmux ! filesink location={path}").split()], check=True, timeout=60)
        return path

    def make_audio(self):
        """A file that is longer than it says."""
        path = self.make("long.webm", "audiotestsrc samplesperbuffer=1764 num-buffers=40 ! "
                         "audio/x-raw,rate=44100 ! audioconvert ! vorbisenc")
        data = bytearray(path.read_bytes())
        at = data.index(b"\x44\x89\x88") + 3  # its duration
        self.assertAlmostEqual(struct.unpack_from(">d", data, at)[0], 1600, delta=50)
        struct.pack_into(">d", data, at, 800.0)
        path.write_bytes(data)
        return path

    def test_the_position_stays_within_the_duration(self):
        self.start_player(engine="gstreamer")
        browser, see = self.meet()
        see("load", str(self.make_audio()))
        # A demuxer that reads ahead may know a little better by now.
        browser.wait(lambda report: report.media == PAUSED and report.end_time >= 800)
        ended = see("play", media=ENDED)
        self.assertEqual(ended.play_time, ended.end_time)

    def test_commands_with_a_video(self):
        player = self.start_player(engine="gstreamer")
        path = self.make("video.webm", "videotestsrc num-buffers=50 ! video/x-raw,width=320,"
                         "height=240,framerate=25/1 ! vp8enc deadline=1 keyframe-max-dist=5")
        noise = self.directory / "noise.webm"
        noise.write_bytes(bytes(range(256)) * 40)
        browser, see = self.meet()
        nothing = {"play_time": 0, "end_time": 0, "speed": 100, "in_seek": 0, "width": 0}
        see("setVolume", 40, volume=40, media=IDLE)
        see("load", str(path), media=PAUSED, play_time=0, width=320, height=240, volume=40,
            total_low=path.stat().st_size)
        see("setMuted", 1, volume=0)
        see("setMuted", 0, volume=40)
        browser.call("setSize", ("w", 160), ("h", 120))
        see("seek", 1000, media=PAUSED, play_time=1000, in_seek=0)
        self.assertIn("Shown at 160 x 120", player.log_text())
        see("setRate", -100, speed=-100, play_time=1000)
        see("play", media=ENDED, play_time=0)
        see("setRate", 50, speed=50)
        see("play", media=PLAYING)
        see("pause", media=PAUSED)
        before = browser.call("seek", ("ms", 99999999))  # the place before may still be told
        end = browser.wait(lambda report: report.media == PAUSED and not report.in_seek and
                           report.play_time > 1000, before)
        self.assertAlmostEqual(end.play_time, 2000, delta=100)
        see("play", media=ENDED, play_time=end.end_time)
        see("cancelLoad", media=IDLE, **nothing)
        see("load", "/nowhere", media=100, **nothing)
        see("load", str(noise), media=UNSUPPORTED, **nothing)
        see("play", media=UNSUPPORTED)
        see("load", str(path), media=PAUSED, speed=100)
