"""What the tests of the programs share. PROGRAMS of the environment is their folder."""

import os
import pathlib
import subprocess
import tempfile
import time
import unittest

import stand

PROGRAMS = pathlib.Path(os.environ["PROGRAMS"]).resolve()
SOURCES = pathlib.Path(__file__).resolve().parents[2]


def wait_until(condition, what="", seconds=20):
    """Polls until the condition gives something true, and returns it."""
    end = time.monotonic() + seconds
    while not (value := condition()):
        assert time.monotonic() < end, f"not within {seconds} s: {what}"
        time.sleep(0.01)
    return value


def run(name, *arguments, **options):
    """Runs a program to its end."""
    file = PROGRAMS / name if name == "example_browser" else stand.program(PROGRAMS, name)
    return subprocess.run([file, *map(str, arguments)], text=True, timeout=60, check=False, **{
        "input": "", "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options})


class ToolsTest(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def run_to_end(self, name, *arguments, status=0, **options):
        """Runs a program in the directory; it is to end with that status."""
        done = run(name, *arguments, **{"cwd": self.directory, **options})
        self.assertEqual(done.returncode, status, done)
        return done

    def start_player(self, *options, **named):
        """A player that listens."""
        player = self.enterContext(stand.Player(PROGRAMS, self.directory, *options, **named))
        wait_until(lambda: "engine listens" in player.log_text(), "the player listens")
        return player

    def start_browser(self, **named):
        return self.enterContext(stand.Browser(PROGRAMS, self.directory, **named))

    def start_loaded(self, *player_options, **browser_options):
        """Both, with a medium."""
        player = self.start_player(*player_options)
        browser = self.start_browser(**browser_options)
        self.load(browser)
        return player, browser

    def load(self, browser, address="clock:60"):
        browser.ask("wait-player 10")
        browser.tell(f"load {address}")
        browser.until("loading", lambda status: status["duration"] > 0)
        return browser.ask("wait-status paused 10")
