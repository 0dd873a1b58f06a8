"""What the tests of the programs share. The first argument of a test is the programs' folder."""

import pathlib
import sys
import tempfile
import time
import unittest

from stand import Browser, Player

PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()

class ToolsTest(unittest.TestCase):
    def setUp(self):
        self.directory = self.enterContext(tempfile.TemporaryDirectory())

    def start_player(self, *options, **named):
        return self.enterContext(Player(PROGRAMS, self.directory, *options, **named))

    def until(self, condition):
        end = time.monotonic() + 20
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    def wait_until_listening(self, player):
        self.until(lambda: "engine listens" in player.log_text())

    def start_browser(self, **named):
        return self.enterContext(Browser(PROGRAMS, self.directory, **named))

    def load(self, browser, address="clock:60"):
        browser.ask("wait-player 10")
        browser.tell(f"load {address}")
        browser.until("loading", lambda status: status["duration"] > 0)
        return browser.ask("wait-status paused 10")
