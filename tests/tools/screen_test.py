"""The browser's live screen, in a terminal of tmux that the test looks at.

Usage: screen_test.py PROGRAMS [unittest's arguments]. The folder scripts/lib must be on the path.
"""

import os
import pathlib
import shlex
import signal
import subprocess
import termios
import time
import unittest

from stand import program
from tools_case import PROGRAMS, ToolsTest

class Screen(ToolsTest):
    """The live screen, in a terminal of tmux that the test looks at."""

    def setUp(self):
        super().setUp()
        self.player = self.start_player()
        # Else the server would leave with its last session, perhaps just when the next one asks.
        self.tmux("start-server", ";", "set", "-s", "exit-empty", "off")
        self.addCleanup(self.tmux, "kill-server")

    def open_terminal(self, *arguments, prefix=""):
        """Runs the browser in a terminal of 80 x 24."""
        command = shlex.join([str(program(PROGRAMS, "browser")), *arguments])
        pid = pathlib.Path(self.directory) / "pid"
        pid.unlink(missing_ok=True)
        self.tmux("new-session", "-d", "-x", "80", "-y", "24",
                  "echo press Enter; read go; clear; sh -c 'echo $$ >new; mv new pid; "
                  f"exec env {prefix} \"$0\" \"$@\"' {command}; echo status=$?; read go")
        self.wait_for("press Enter")  # from now on the terminal's settings are those of a shell
        self.tty = self.enterContext(open(self.tmux("display", "-p", "#{pane_tty}").strip(), "r+b",
                                          buffering=0))
        self.settings = termios.tcgetattr(self.tty)
        self.press("Enter")
        self.wait_until(lambda _: pid.exists(), "start")
        self.pid = int(pid.read_text())
        self.addCleanup(self.end_browser, self.pid)

    def end_browser(self, pid):
        """The next one needs its port, and tmux does not wait for what it ends."""
        try:
            while True:
                os.kill(pid, signal.SIGKILL)
                time.sleep(0.01)
        except ProcessLookupError:
            pass

    def open_screen(self, *options):
        self.open_terminal("clock:60", *options)
        self.wait_for("playing")
        self.assertNotEqual(termios.tcgetattr(self.tty), self.settings)

    def open_paused_screen(self, *options):
        """At the beginning of the media, so that the screen stands still."""
        self.open_screen(*options)
        self.wait_until(lambda shown: " 0:00.0 " not in shown, "progress")
        self.press("Space")
        self.wait_for("paused")
        self.press("Left")
        self.wait_until(lambda shown: " 0:00.0 " in shown and "seeking" not in shown, "beginning")

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-u", "-S", "terminal", "-f", "/dev/null", *arguments],
                              check=True, cwd=self.directory, capture_output=True, text=True,
                              env={**os.environ, "LC_ALL": "C.UTF-8"}).stdout

    def press(self, *keys):
        self.tmux("send-keys", *keys)

    def resize(self, width, height):
        self.tmux("resize-window", "-x", str(width), "-y", str(height))

    def shown(self):
        return self.tmux("capture-pane", "-p")

    def wait_until(self, condition, what):
        end = time.monotonic() + 20
        while not condition(shown := self.shown()):
            self.assertLess(time.monotonic(), end, f"no {what} in\n{shown}")
            time.sleep(0.02)

    def wait_for(self, text):
        self.wait_until(lambda shown: text in shown, text)

    def wait_for_lines(self, lines):
        """The whole screen, less the empty lines around."""
        self.wait_until(lambda shown: shown.strip("\n") == lines.strip("\n"), lines)

    def wait_for_the_end(self, status):
        self.wait_for(f"status={status}")
        self.assertEqual(termios.tcgetattr(self.tty), self.settings)

    def test_keys_drive_the_video(self):
        self.open_screen()
        for keys, shown in ((["Space"], "paused"), (["+"], "rate 1.25"), (["1"], "rate 1.00"),
                            (["Right"], "0:1"), (["m"], "muted"), (["Down"], "volume 90 %"),
                            (["s"], "window 640 x 360"), (["c"], "idle"),
                            (["l", "/nowhere", "Enter"], "not-found")):
            self.press(*keys)
            self.wait_for(shown)
        self.press("q")
        self.wait_for_the_end(0)

    def test_signals_and_a_crash_restore_the_terminal(self):
        for how, status in ((signal.SIGTERM, 0), (signal.SIGINT, 0), (signal.SIGHUP, 0),
                            (signal.SIGABRT, 128 + signal.SIGABRT)):
            with self.subTest(how):
                self.open_screen()
                os.kill(self.pid, how)
                self.wait_for_the_end(status)
                self.tmux("kill-session")

    def test_it_fits_in_small_windows_as_soon_as_they_change(self):
        self.open_paused_screen()
        self.press("m", "s")
        bar = "-" * 57
        for size, lines in ((80, 24), f"""
  HTML5 video
  clock:60

  paused
  0:00.0 / 1:00.0  [{bar}]
  rate 1.00   volume 100 %, muted   video 640 x 360   window 640 x 360
  bytes 0 / 0

  The player is there

  space play/pause   left right 10 s   up down volume   m mute
  + - rate   1 normal   s size   l load   c cancel   q quit"""), ((40, 10), f"""
HTML5 video
clock:60
paused
0:00.0 / 1:00.0  [{bar[:21]}]
rate 1.00  volume 100 %, muted
video 640 x 360  window 640 x 360
bytes 0 / 0
The player is there
space play  left right 10 s  up down vol
+ - rate  m mute  s size  l load  q quit"""), ((20, 5), """
clock:60
paused
0:00.0 / 1:00.0
1.00x 100%, muted
space l load q quit"""), ((9, 2), """
paused
0:00.0 /"""):
            with self.subTest(size):
                self.resize(*size)
                self.wait_for_lines(lines)
        self.resize(80, 24)
        self.wait_for(bar)

    def test_titles_are_shown_in_any_script_and_harm_nothing(self):
        self.open_terminal("\u65e5\u672c\u8a9e cafe\u0301 \u202e\u200dx "
                           "\033]2;evil\007\x9b1m\udcff\u0085.webm")
        self.tmux("pipe-pane", "cat >raw")
        self.wait_for("  \u65e5\u672c\u8a9e cafe\u0301 x ?]2;evil??1m??.webm\n")
        self.resize(5, 5)
        self.wait_for("\u65e5\u672c\n")  # half of the third would fit
        self.resize(80, 24)
        self.press("q")
        self.wait_for_the_end(0)
        raw = (pathlib.Path(self.directory) / "raw").read_bytes()
        self.assertIn(b"\xe6\x97\xa5", raw)
        for hostile in (b"\033]2;", b"\x9b", b"\xff", b"\xc2\x85", b"\xe2\x80\xae"):
            self.assertNotIn(hostile, raw)

    def test_the_load_prompt_can_be_left_and_the_screen_goes_on(self):
        self.open_screen()
        for leave in ("Escape", "C-c"):
            self.press("l", "x")
            self.wait_for("Load: x\n")
            before = self.shown()
            self.wait_until(lambda shown, before=before: shown != before, "progress")
            self.press(leave)
            self.wait_for("l load")
            self.assertNotIn("Load:", self.shown())
        self.resize(12, 5)
        self.press("l", "\u65e5\u672c\u00e9", "BSpace", "BSpace", "C-l")
        self.wait_for("Load: \u65e5\n")
        self.press("C-u", "clock:1.7")  # the end of it is seen, with the cursor behind it
        self.wait_for("Load: k:1.7\n")
        self.assertEqual(self.tmux("display", "-p", "#{cursor_x} #{cursor_flag}"), "11 1\n")
        self.press("Enter")
        self.wait_for("0:01.7 / 0:0")  # it has played to its end
        self.press("C-c")
        self.wait_for_the_end(0)

    def test_a_terminal_that_can_not_be_a_screen_is_served_with_lines(self):
        for terminal in ("dumb", "nonsense"):
            with self.subTest(terminal):
                self.open_terminal("--log", "none", prefix="TERM=" + terminal)
                self.wait_for("type commands")
                self.press("wait-player 10", "Enter", "quit", "Enter")
                self.wait_for('{"event":"player-found"')
                self.wait_for_the_end(0)
                self.tmux("kill-session")

if __name__ == "__main__":
    unittest.main()
