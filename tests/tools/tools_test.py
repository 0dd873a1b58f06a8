"""The player and the browser stand-in, end to end, with the clock engine."""

import json
import os
import re
import signal
import socket
import subprocess

import stand
import wire
from tools_case import PROGRAMS, ToolsTest, run, wait_until


class Commands(ToolsTest):
    """What the status tells of commands; player_test.py has the rest of them."""

    def test_seek_volume_mute_size_and_unload(self):
        player, browser = self.start_loaded()
        browser.tell("seek 12.5")
        under_way = browser.until("in seek", lambda status: status["inSeek"])
        self.assertEqual(under_way["position"], 12500)
        landed = browser.until("the end of the seek", lambda status: not status["inSeek"])
        self.assertEqual(landed["position"], 12500)
        for command, volume in ("volume 0.4", "40"), ("mute on", "0"), ("mute off", "40"):
            browser.tell(command)
            # The library only logs the audible volume, ahead of the values of the status.
            browser.until(command, lambda _, volume=volume: re.findall(
                r"(\d+) -?\d+ -?\d+ -?\d+ -?\d+ inSeek", browser.log_text())[-1] == volume)
        browser.tell("size 800 450")
        browser.status()  # the command before it has been answered by now
        self.assertIn("setSize 800 450", player.log_text())
        for unload in "cancel-load", "load":
            browser.tell(unload)
            idle = browser.ask("wait-status idle 10")
            self.assertEqual((idle["position"], idle["duration"], idle["speed"]), (0, 0, 100))
            self.load(browser)

    def test_a_file_beyond_4_gibibytes(self):
        size = 5 << 30
        with (self.directory / "large.webm").open("wb") as media:
            media.truncate(size)
        self.start_player()
        browser = self.start_browser()
        self.assertEqual(self.load(browser, "large.webm")["totalBytes"], size)
        browser.tell("seek 55")
        browser.until("an offset", lambda status: status["currentOffset"] > 1 << 32)


class Recovery(ToolsTest):
    def test_the_browser_tells_a_dead_player_and_goes_on_with_the_next(self):
        player, browser = self.start_loaded()
        browser.tell("volume 0.3", "seek 20", "rate 0.5", "play")
        browser.until("playing", lambda status: status["position"] > 20000)
        for name in "second", "third":
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
        browser.ask("wait-position 200 10")

    def test_wrong_requests_are_logged_and_do_no_harm(self):
        player = self.start_player()
        with socket.create_connection(("127.0.0.1", wire.COMMAND_PORT), 10) as peer:
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
                peer.sendall(wire.request(method, *arguments))
                self.assertEqual(peer.recv(4), bytes(4), "an empty answer")
                self.assertEqual(player.log_text().count(line), before + 1, line)
        self.load(self.start_browser())


class Consoles(ToolsTest):
    PORT = "28282"  # the default, in a network of its own

    def console(self, *lines):
        """Runs the lines as soon as the console's thread, one of its own, listens."""
        words = [word for line in lines for word in ("--exec", line)]
        wait_until(lambda: run("console", "--port", self.PORT, *words).returncode == 0, lines)

    def test_a_player_fails_and_answers_late_on_request(self):
        player, browser = self.start_loaded("--console")
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
        _, browser = self.start_loaded(options=["--console=" + self.PORT])
        for line, awaited in (("video_play", "wait-status playing 10"),
                              ("video_seek 20000", "wait-position 20000 10"),
                              ("video_pause", "wait-status paused 10")):
            self.console(line)
            browser.ask(awaited)
        # On standard output the answers would be no JSON.
        self.console("video_status", "PRINT hello", "help")
        browser.status()
        self.assertRegex(browser.log_text(), r"media status 3 at 2\d+ of 60000 ms, speed 100")
        self.assertIn("hello\nYou can find available command", browser.log_text())


class Endings(ToolsTest):
    def events(self, *arguments, status=0):
        """What the browser told."""
        return [json.loads(line) for line in
                self.run_to_end("browser", *arguments, status=status).stdout.splitlines()]

    def test_signals_end_the_player_cleanly(self):
        for how in signal.SIGTERM, signal.SIGINT:
            self.assertEqual(self.start_player(name=how.name).end(how), 0)

    def test_what_can_not_be_done_is_told(self):
        for library in "missing.so", "libc.so.6":
            done = self.run_to_end("browser", "--library", library, "--exec", "status", status=3)
            self.assertNotEqual(done.stderr, "")
        with socket.create_server(("127.0.0.1", 0)) as other:
            done = self.run_to_end("player", "--engine", "clock", "--listen-port",
                                   other.getsockname()[1], status=1)
        self.assertIn("Can not listen", done.stderr)
        for name, *arguments in (
                ("player", "--engine", "magic"), ("player", "--listen", "nobody"),
                ("player", "--listen-port", "0"), ("player", "--browser-port", "65536"),
                ("player", "surplus"), ("player", "--log", "loud"),
                ("browser", "--script", "missing file"), ("browser", "--log", "-1"),
                ("browser", "--exec", "play", "--script", "x"), ("browser", "--log", "5"),
                ("browser", "--log-file", "no/where"), ("browser", "--console", "x"),
                ("boxinfo", "--log", "loud"), ("boxinfo", "surplus"), ("example_browser",)):
            self.assertNotEqual(self.run_to_end(name, *arguments, status=2).stderr, "")
        self.run_to_end("player", env={**os.environ, "HBB_SYSTEM_IP": "x"}, status=2)

    def test_help_and_version_stand_alone(self):
        def at_a_terminal(name, option):
            command = f"{stand.program(PROGRAMS, name)} {option}"
            return subprocess.check_output(["script", "-qec", command, "/dev/null"], timeout=60,
                                           stdin=subprocess.DEVNULL, text=True)

        for name, start in (("browser", "A stand-in"), ("boxinfo", "Shows what"),
                            ("player", "The refere")):
            helped = at_a_terminal(name, "--help")
            self.assertEqual(helped[:10], start, "nothing of the library's stands before")
            self.assertIn("Exit status:\n  0  ", helped)
            self.assertRegex(at_a_terminal(name, "--version"),
                             rf"\Ahtml5-video-{name} \d+\.\d+\.\d+\n\Z")

    def test_the_log_goes_where_logger_conf_and_the_option_say(self):
        conf, log = self.directory / "logger.conf", self.directory / "log"
        for text, options, errors, in_file in (
                (None, [], True, False), (None, ["--log", "none"], False, False),
                ("mode=0", [], False, False), ("mode=2\noutpath=log", [], False, True),
                ("mode=2\noutpath=log", ["--log", "1"], True, False),
                ("mode=0\noutpath=log", ["--log", "FILE"], False, True)):
            with self.subTest(text, options=options):
                if text is not None:
                    conf.write_text(text)
                log.unlink(missing_ok=True)
                done = self.run_to_end("browser", "--exec", "play", *options)
                self.assertEqual((done.stdout, "play" in done.stderr), ("", errors), done)
                self.assertEqual(log.exists() and "play" in log.read_text(), in_file)

    def test_scripts_of_the_browser(self):
        self.start_player()
        (self.directory / "script").write_text(
            "# a comment\n\nwait-player 10\nload clock:1\nplay\nwait-status ended 20\nquit\n"
            "status\n")
        events = self.events("--script", "script")
        self.assertEqual([event["event"] for event in events],
                         ["player-found", "status", "status"])
        self.assertEqual((events[-1]["state"], events[-1]["position"]), ("ended", 1000))
        events = self.events("--exec", "wait-status buffering 0.2; status", status=1)
        self.assertEqual(events[-1]["event"], "timeout")

    def test_a_wrong_command_stops_a_script_before_it_begins(self):
        for wrong, reason in (
                ("jump 3", "jump"), ("seek", "usage"), ("seek fast", "usage"),
                ("seek 1 2", "usage"), ("seek nan", "usage"), ("seek -1", "0 to"),
                ("mute maybe", "usage"), ("size 1", "usage"), ("wait-status playing", "usage"),
                ("play now", "usage"), ("load a b", "usage"), ('load "a', "usage"),
                ("rate 16.5", "-16 to 16"), ("rate -17", "-16 to 16"), ("wait 1e9", "0 to 86400"),
                ("wait-status plaing 1", "idle, loading, paused, playing"),
                ("wait-status ? 1", "unknown state: ?")):
            (event, ) = self.events("--exec", f"status; {wrong}", status=2)
            self.assertEqual(event["event"], "error", wrong)
            self.assertIn(reason, event["reason"])
        self.assertIn("not-found", self.run_to_end("browser", "--help").stdout)

    def test_a_url_without_a_terminal_is_played_to_its_end(self):
        self.start_player("--clock-duration", "500")
        (self.directory / "a; film.webm").touch()
        for _ in range(2):  # the former end is not taken for the second one
            states = [event.get("state") for event in self.events("clock:0.5")]
            self.assertIn("playing", states)
            self.assertEqual(states[-1], "ended")
        missing = self.events("/nowhere", status=4)[-1]
        self.assertEqual((missing["state"], missing["mediaStatus"]), ("not-found", 100))
        self.run_to_end("browser", "--exec",
                        'wait-player 10; load "a; film.webm"; play; wait-status ended 10')

    def test_the_c_example_goes_on_where_its_player_died(self):
        player = self.start_player()
        output = self.directory / "output"
        with output.open("w") as out, stand.Process(
                [PROGRAMS / "example_browser", "clock:4"], self.directory, "browser",
                stdout=out) as browser:
            wait_until(lambda: re.search(r" 2\.\d of 4.0 s, .* playing", output.read_text()))
            player.kill()
            wait_until(lambda: "the player has gone" in output.read_text())
            self.start_player(name="second")
            self.assertEqual(browser.child.wait(30), 0)
            self.assertEqual(browser.log_text(), "")
        after = output.read_text().split("the player has gone")[1]
        self.run_to_end("example_browser", "/nowhere", status=1)
        positions = [float(word) for word in re.findall(r"([\d.]+) of 4.0 s, .* playing", after)]
        self.assertGreaterEqual(min(positions), 2.0)
