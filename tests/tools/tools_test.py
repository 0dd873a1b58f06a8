"""The player and the browser stand-in, end to end, with the clock engine.

Usage: tools_test.py PROGRAMS [unittest's arguments]. The folder scripts/lib must be on the path.
"""

import json
import os
import pathlib
import pty
import re
import signal
import socket
import subprocess
import tempfile
import unittest

from stand import program
from tools_case import PROGRAMS, ToolsTest
from wire import request


class Commands(ToolsTest):
    """Each command's effect, as the status tells it."""

    def setUp(self):
        super().setUp()
        self.player = self.start_player()
        self.browser = self.start_browser()

    def wait_for_volume(self, volume):
        # The audible volume is the status value that the library only logs, ahead of the others.
        def heard(_):
            reports = re.findall(r"(\d+) -?\d+ -?\d+ -?\d+ -?\d+ inSeek", self.browser.log_text())
            return int(reports[-1]) == volume
        self.browser.until(f"volume {volume}", heard)

    def test_load_play_pause_and_cancel(self):
        loaded = self.load(self.browser, "clock:30")
        self.assertEqual((loaded["position"], loaded["duration"], loaded["speed"]),
                         (0, 30000, 100))
        self.assertEqual((loaded["width"], loaded["height"]), (640, 360))
        self.browser.tell("play")
        self.browser.ask("wait-status playing 5")
        self.browser.ask("wait-position 500 5")
        self.browser.tell("pause")
        paused = self.browser.ask("wait-status paused 5")
        self.browser.tell("wait 0.6")
        self.assertEqual(self.browser.status()["position"], paused["position"])
        self.browser.tell("load")  # without an address: unloads, as cancel-load does
        self.browser.ask("wait-status idle 5")
        self.load(self.browser)
        self.browser.tell("cancel-load")
        idle = self.browser.ask("wait-status idle 5")
        self.assertEqual((idle["position"], idle["duration"]), (0, 0))

    def test_seek_tells_that_it_is_under_way_and_lands(self):
        self.load(self.browser)
        self.browser.tell("seek 12.5")
        under_way = self.browser.until("in seek", lambda status: status["inSeek"])
        self.assertEqual(under_way["position"], 12500)
        landed = self.browser.until("the end of the seek", lambda status: not status["inSeek"])
        self.assertEqual(landed["position"], 12500)
        self.browser.tell("seek 1000")
        self.browser.until("the end of the media", lambda status: status["position"] == 60000)

    def test_rates(self):
        self.load(self.browser)
        self.browser.tell("seek 30", "play", "rate -2")
        self.browser.until("speed -200", lambda status: status["speed"] == -200)
        self.browser.ask("wait-position 29000 5")
        self.browser.tell("rate 0")
        still = self.browser.until("speed 0", lambda status: status["speed"] == 0)
        self.assertEqual(still["state"], "playing")
        self.browser.tell("wait 0.6")
        self.assertEqual(self.browser.status()["position"], still["position"])
        self.browser.tell("rate 16")
        ended = self.browser.ask("wait-status ended 10")
        self.assertEqual((ended["position"], ended["speed"]), (60000, 1600))
        self.load(self.browser)
        self.assertEqual(self.browser.status()["speed"], 100)

    def test_volume_mute_and_size(self):
        self.load(self.browser)
        self.browser.tell("volume 0.4")
        self.wait_for_volume(40)
        self.browser.tell("mute on")
        self.wait_for_volume(0)
        self.browser.tell("mute off")
        self.wait_for_volume(40)
        self.browser.tell("size 800 450")
        self.browser.status()  # the command before it has been answered by now
        self.assertIn("setSize 800 450", self.player.log_text())

    def test_a_file_beyond_4_gibibytes(self):
        size = 5 << 30
        with open(pathlib.Path(self.directory) / "large.webm", "wb") as media:
            media.truncate(size)
        self.assertEqual(self.load(self.browser, "large.webm")["totalBytes"], size)
        self.browser.tell("seek 55")
        self.browser.until("an offset", lambda status: status["currentOffset"] > 1 << 32)

    def test_a_missing_file_is_shown_and_the_next_one_plays(self):
        self.browser.ask("wait-player 10")
        self.browser.tell("load /nowhere/video.webm", "play")
        missing = self.browser.ask("wait-status not-found 5")
        self.assertEqual(missing["mediaStatus"], 100)
        self.load(self.browser)
        self.browser.tell("play")
        self.browser.ask("wait-position 200 5")

class Recovery(ToolsTest):
    def test_the_browser_tells_a_dead_player_and_goes_on_with_the_next(self):
        player = self.start_player()
        browser = self.start_browser()
        self.load(browser)
        browser.tell("volume 0.3", "seek 20", "rate 0.5", "play")
        browser.until("playing", lambda status: status["position"] > 20000)
        for name in ("second", "third"):
            browser.events.clear()
            player.kill()
            browser.ask("wait-gone 10")
            self.assertEqual(browser.events, ["player-gone"])
            browser.tell("wait 0.7")  # it stays away for more than one attempt
            self.assertFalse(browser.status()["player"])
            player = self.start_player(name=name)
            browser.ask("wait-player 10")
            self.assertEqual(browser.events, ["player-gone", "player-found"])
            back = browser.ask("wait-status playing 10")
            self.assertGreater(back["position"], 20000)
            self.assertEqual(back["speed"], 50)
            self.assertIn("setVolume 30", player.log_text())
        self.assertEqual(browser.quit(), 0)

    def test_a_command_without_a_player_is_kept_for_it(self):
        browser = self.start_browser()
        browser.tell("load clock:10", "play", "wait 0.3")
        self.assertFalse(browser.status()["player"])
        self.start_player()
        browser.ask("wait-player 10")
        browser.ask("wait-position 200 5")

    def test_wrong_requests_are_logged_and_do_no_harm(self):
        player = self.start_player()
        self.wait_until_listening(player)
        with socket.create_connection(("127.0.0.1", 56911), 10) as peer:
            for line, method, *arguments in (
                    ("load refused", "load"), ("load refused", "load", ("url", 7)),
                    ("load refused", "load", ("url", "a\033[2Jb")),
                    ("load refused", "load", ("link", "a")), ("seek refused", "seek"),
                    ("seek refused", "seek", ("ms", "1500")), ("setVolume refused", "setVolume"),
                    ("setRate refused", "setRate", ("ms", 1)),
                    ("setSize refused", "setSize", ("w", 1)),
                    ("setMuted refused", "setMuted", ("m", "")),
                    ("setRate: 2147483647 is taken as 1600", "setRate", ("speed", 2147483647)),
                    ("setRate: -1601 is taken as -1600", "setRate", ("speed", -1601)),
                    ("setVolume: -1 is taken as 0", "setVolume", ("v", -1)),
                    ("setSize: 0 is taken as 1", "setSize", ("w", 0), ("h", 10))):
                before = player.log_text().count(line)
                peer.sendall(request(method, *arguments))
                self.assertEqual(peer.recv(4), bytes(4), "an empty answer")
                self.assertEqual(player.log_text().count(line), before + 1, line)
        browser = self.start_browser()
        self.load(browser)
        browser.tell("play")
        browser.ask("wait-position 200 5")

    def test_browsers_come_and_go_while_the_player_plays_on(self):
        player = self.start_player()
        first = self.start_browser(name="first")
        self.load(first)
        first.tell("play")
        last = first.ask("wait-position 200 5")["position"]
        first.kill()
        for name in ("second", "third", "fourth"):
            browser = self.start_browser(name=name)
            seen = browser.ask("wait-status playing 10")
            self.assertGreater(seen["position"], last)
            last = seen["position"]
            browser.tell("volume 0.5")  # so that the player has a connection to lose, too
            self.assertEqual(browser.quit(), 0)
        self.assertEqual(player.end(), 0)

class Consoles(ToolsTest):
    PORT = "28282"  # the default, in a network of its own

    def console(self, *lines):
        command = [program(PROGRAMS, "console"), "--port", self.PORT]
        command += [word for line in lines for word in ("--exec", line)]

        def run():
            status = subprocess.run(command, timeout=60, check=False).returncode
            self.assertIn(status, (0, 3))
            return status == 0

        self.until(run)  # 3: the console's thread, one of its own, does not listen yet

    def test_a_player_fails_and_answers_late_on_request(self):
        player = self.start_player("--console")
        names = pathlib.Path(self.directory) / "names"
        self.wait_until_listening(player)
        self.console(f"commands {names}", "commands", f"commands {names}")
        self.assertEqual(sorted(names.read_text().split()),
                         ["commands", "player_delay", "player_fail", "player_state",
                          "thread_show"])
        browser = self.start_browser()
        self.load(browser)
        self.console("player_fail 101")
        browser.ask("wait-status unsupported 10")
        self.console("player_fail 0")
        browser.ask("wait-status paused 10")
        self.console("player_delay 700")
        before = browser.status()["time"]
        browser.tell("play")
        self.assertGreaterEqual(browser.status()["time"] - before, 700)
        self.console("player_delay 0", "player_fail 99", "player_fail x", "player_delay -1",
                     "player_fail", "player_state")
        browser.ask("wait-status playing 10")
        self.assertEqual(player.end(), 0)

    def test_the_browser_takes_commands_beside_its_own(self):
        self.start_player()
        browser = self.start_browser(options=["--console=" + self.PORT])
        self.load(browser)
        self.console("video_play")
        browser.ask("wait-status playing 10")
        self.console("video_seek 20000")
        browser.ask("wait-position 20000 10")
        self.console("video_pause")
        browser.ask("wait-status paused 10")
        self.console("video_status")
        self.assertRegex(browser.log_text(), r"media status 3 at 2\d+ of 60000 ms, speed 100")
        self.console("PRINT hello", "help")  # on standard output they would be no JSON
        browser.status()
        self.assertIn("hello\nYou can find available command", browser.log_text())

class Endings(ToolsTest):
    def run_program(self, name, *arguments, directory=None, stdout=subprocess.PIPE, **named):
        file = PROGRAMS / name if name == "example_browser" else program(PROGRAMS, name)
        return subprocess.run([file, *arguments], cwd=directory or self.directory,
                              timeout=60, stdout=stdout, stderr=subprocess.PIPE, text=True,
                              stdin=subprocess.DEVNULL, check=False, **named)

    def test_signals_end_the_player_cleanly(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            player = self.start_player(name=how.name)
            self.wait_until_listening(player)
            self.assertEqual(player.end(how), 0)
        player = self.start_player(name="playing")
        browser = self.start_browser()
        self.load(browser)
        browser.tell("play")
        browser.ask("wait-position 1 5")
        self.assertEqual(player.end(), 0)

    def test_a_wrong_command_line_is_a_usage_error(self):
        for name, *arguments in (
                ("player", "--engine", "magic"), ("player", "--listen", "nobody"),
                ("player", "--listen-port", "0"), ("player", "--browser-port", "65536"),
                ("player", "surplus"), ("player", "--log", "loud"), ("browser", "--script", "missing file"),
                ("browser", "--exec", "play", "--script", "x"),
                ("browser", "--log-file", "no/where"), ("browser", "--log", "5"),
                ("browser", "--log", "-1"), ("browser", "--console", "x"),
                ("boxinfo", "--log", "loud"), ("boxinfo", "surplus")):
            done = self.run_program(name, *arguments)
            self.assertEqual(done.returncode, 2, (name, arguments, done))
            self.assertNotEqual(done.stderr, "")
        bad_address = self.run_program("player", env={**os.environ, "HBB_SYSTEM_IP": "x"})
        self.assertEqual(bad_address.returncode, 2)

    def at_a_terminal(self, name, *arguments):
        """What the program writes to a terminal."""
        master, terminal = pty.openpty()
        done = self.run_program(name, *arguments, stdout=terminal)
        os.close(terminal)
        written = b""
        try:
            while part := os.read(master, 65536):
                written += part
        except OSError:  # the end of a terminal
            pass
        os.close(master)
        self.assertEqual(done.returncode, 0, done)
        return written.decode().replace("\r\n", "\n")

    def test_help_and_version_stand_alone(self):
        for name, start in (("browser", "A stand-in"), ("boxinfo", "Shows what"),
                            ("player", "The refere")):
            helped = self.at_a_terminal(name, "--help")
            self.assertEqual(helped[:10], start, "nothing of the library's stands before")
            self.assertIn("Exit status:\n  0  ", helped)
            version = self.at_a_terminal(name, "--version")
            self.assertRegex(version, rf"\Ahtml5-video-{name} \d+\.\d+\.\d+\n\Z")

    def test_the_log_goes_where_logger_conf_and_the_option_say(self):
        for text, options, errors, in_file in (
                (None, [], True, False), (None, ["--log", "none"], False, False),
                ("mode=0", [], False, False), ("mode=2\noutpath=log", [], False, True),
                ("mode=2\noutpath=log", ["--log", "1"], True, False),
                ("mode=0\noutpath=log", ["--log", "FILE"], False, True)):
            with self.subTest(text, options=options), tempfile.TemporaryDirectory() as place:
                if text is not None:
                    (pathlib.Path(place) / "logger.conf").write_text(text)
                done = self.run_program("browser", "--exec", "play", *options, directory=place)
                self.assertEqual((done.returncode, done.stdout), (0, ""))
                log = pathlib.Path(place) / "log"
                self.assertEqual("play" in done.stderr, errors, done.stderr)
                self.assertEqual(log.exists() and "play" in log.read_text(), in_file)

    def test_the_players_log_comes_by_udp(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as receiver:
            receiver.bind(("127.0.0.1", 0))
            receiver.settimeout(20)
            (pathlib.Path(self.directory) / "logger.conf").write_text(
                f"mode=3\nserverip=127.0.0.1\nport={receiver.getsockname()[1]}\n")
            player = self.start_player()
            received = b""
            while b"The clock engine listens on 127.0.0.1" not in received:
                received += receiver.recv(4096)
            self.assertEqual(player.end(), 0)
            self.assertEqual(player.log_text(), "")
            player = self.start_player("--log", "stderr", name="asked")
            self.wait_until_listening(player)
            self.assertEqual(player.end(), 0)

    def test_a_taken_port_is_told(self):
        with socket.socket() as other:
            other.bind(("127.0.0.1", 0))
            other.listen(1)
            done = self.run_program("player", "--engine", "clock", "--listen-port",
                                    str(other.getsockname()[1]))
        self.assertEqual(done.returncode, 1)
        self.assertIn("Can not listen", done.stderr)

    def test_scripts_of_the_browser(self):
        self.start_player()
        script = pathlib.Path(self.directory) / "script"
        script.write_text("# a comment\n\nwait-player 10\nload clock:1\nplay\n"
                          "wait-status ended 20\nquit\nstatus\n")
        done = self.run_program("browser", "--script", "script")
        self.assertEqual(done.returncode, 0, done)
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([line["event"] for line in lines], ["player-found", "status", "status"])
        self.assertEqual((lines[-1]["state"], lines[-1]["position"]), ("ended", 1000))

        timed_out = self.run_program("browser", "--exec", "wait-status buffering 0.2; status")
        self.assertEqual(timed_out.returncode, 1)
        self.assertEqual(json.loads(timed_out.stdout.splitlines()[-1])["event"], "timeout")

    def test_a_wrong_command_stops_a_script_before_it_begins(self):
        for wrong, reason in (
                ("jump 3", "jump"), ("seek", "usage"), ("seek fast", "usage"),
                ("seek 1 2", "usage"), ("seek nan", "usage"), ("seek -1", "0 to"),
                ("mute maybe", "usage"), ("size 1", "usage"), ("wait-status playing", "usage"), ("play now", "usage"),
                ("load a b", "usage"), ('load "a', "usage"), ("rate 16.5", "-16 to 16"),
                ("rate -17", "-16 to 16"), ("wait 1e9", "0 to 86400"),
                ("wait-status plaing 1", "idle, loading, paused, playing"),
                ("wait-status ? 1", "unknown state: ?")):
            done = self.run_program("browser", "--exec", f"status; {wrong}")
            self.assertEqual(done.returncode, 2, wrong)
            events = [json.loads(line) for line in done.stdout.splitlines()]
            self.assertEqual([event["event"] for event in events], ["error"], wrong)
            self.assertIn(reason, events[0]["reason"])
        self.assertIn("not-found", self.run_program("browser", "--help").stdout)

    def test_a_url_without_a_terminal_is_played_to_its_end(self):
        player = self.start_player("--clock-duration", "500")
        (pathlib.Path(self.directory) / "a; film.webm").touch()
        for _ in range(2):  # the former end is not taken for the second one
            done = self.run_program("browser", "clock:0.5")
            self.assertEqual(done.returncode, 0, done)
            states = [json.loads(line).get("state") for line in done.stdout.splitlines()]
            self.assertIn("playing", states)
            self.assertEqual(states[-1], "ended")
        missing = self.run_program("browser", "/nowhere")
        self.assertEqual(missing.returncode, 4)
        self.assertEqual(json.loads(missing.stdout.splitlines()[-1])["state"], "not-found")
        quoted = 'wait-player 10; load "a; film.webm"; play; wait-status ended 10'
        self.assertEqual(self.run_program("browser", "--exec", quoted).returncode, 0)
        self.assertEqual(player.end(), 0)

    def test_a_library_that_can_not_be_used_is_told(self):
        for library in ("missing.so", "libc.so.6"):
            done = self.run_program("browser", "--library", library, "--exec", "status")
            self.assertEqual(done.returncode, 3)
            self.assertNotEqual(done.stderr, "")

    def test_the_c_example_plays_to_the_end(self):
        self.wait_until_listening(self.start_player())
        self.assertEqual(self.run_program("example_browser", "clock:1").returncode, 0)
        self.assertEqual(self.run_program("example_browser", "/nowhere").returncode, 1)
        self.assertEqual(self.run_program("example_browser").returncode, 2)

    def test_the_c_example_goes_on_where_its_player_died(self):
        def shown(pattern):
            return self.until(lambda: re.search(pattern, output.read_text()))

        player = self.start_player()
        self.wait_until_listening(player)
        output = pathlib.Path(self.directory) / "output"
        with output.open("w") as out, subprocess.Popen(
                [PROGRAMS / "example_browser", "clock:4"], cwd=self.directory, stdout=out,
                stderr=subprocess.PIPE) as browser:
            shown(r" 2\.\d of 4.0 s, .* playing")
            player.kill()
            shown("the player has gone")
            self.start_player(name="second")
            self.assertEqual(browser.wait(30), 0)
            self.assertEqual(browser.stderr.read(), b"")
        after = output.read_text().split("the player has gone")[1]
        positions = [float(word) for word in re.findall(r"([\d.]+) of 4.0 s, .* playing", after)]
        self.assertGreaterEqual(min(positions), 2.0)

if __name__ == "__main__":
    unittest.main()
