"""The browser's live screen, in a terminal that the test looks at."""

import os
import signal

from stand import program
from terminal import Terminal
from tools_case import PROGRAMS, ToolsTest, run


class Screen(ToolsTest):
    def setUp(self):
        super().setUp()
        self.player = self.start_player()

    def open_terminal(self, *arguments, command=()):
        self.terminal = Terminal(self.directory, *command, program(PROGRAMS, "browser"), *arguments)
        self.addCleanup(self.terminal.close)
        self.press, self.shown = self.terminal.press, self.terminal.shown
        self.wait, self.wait_for = self.terminal.wait, self.terminal.wait_for

    def open_screen(self, *options):
        self.open_terminal("clock:60", *options)
        self.wait_for("playing")
        self.assertTrue(self.terminal.reads_keys())

    def open_paused_screen(self, *options):
        """At the beginning of the media, so that the screen stands still."""
        self.open_screen(*options)
        self.wait(lambda shown: " 0:00.0 " not in shown, "progress")
        self.press("Space", shows="paused")
        self.press("Left")
        self.wait(lambda shown: " 0:00.0 " in shown and "seeking" not in shown, "beginning")

    def resize(self, width, height):
        self.terminal.tmux("resize-window", "-x", str(width), "-y", str(height))

    def wait_for_lines(self, lines):
        """The whole screen, less the empty lines around."""
        self.wait(lambda shown: shown.strip("\n") == lines.strip("\n"), lines)

    def end(self, *keys, status=0):
        self.press(*keys)
        self.assertEqual(self.terminal.exit_status(), status)

    def test_keys_drive_the_video(self):
        self.open_screen()
        for shown, *keys in (("paused", "Space"), ("rate 1.25", "+"), ("rate 1.00", "1"),
                             ("0:1", "Right"), ("muted", "m"), ("volume 90 %", "Down"),
                             ("window 640 x 360", "s"), ("idle", "c"),
                             ("not-found", "l", "/nowhere", "Enter")):
            self.press(*keys, shows=shown)
        self.end("q")

    def test_a_dead_player_is_told_and_the_next_one_found(self):
        self.open_screen()
        self.player.kill()
        self.wait_for("The player has gone")
        self.start_player(name="second")
        self.wait_for("The player is there")
        self.wait_for("playing")
        self.end("q")

    def test_signals_and_a_crash_restore_the_terminal(self):
        for how, status in ((signal.SIGTERM, 0), (signal.SIGINT, 0), (signal.SIGHUP, 0),
                            (signal.SIGABRT, 128 + signal.SIGABRT)):
            with self.subTest(how):
                self.open_screen()
                os.kill(self.terminal.pid(), how)
                self.end(status=status)

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
        self.terminal.tmux("pipe-pane", "cat >raw")
        self.wait_for("  \u65e5\u672c\u8a9e cafe\u0301 x ?]2;evil??1m??.webm\n")
        self.resize(5, 5)
        self.wait_for("\u65e5\u672c\n")  # half of the third would fit
        self.resize(80, 24)
        self.end("q")
        raw = (self.directory / "raw").read_bytes()
        self.assertIn(b"\xe6\x97\xa5", raw)
        for hostile in b"\033]2;", b"\x9b", b"\xff", b"\xc2\x85", b"\xe2\x80\xae":
            self.assertNotIn(hostile, raw)

    def test_the_load_prompt_can_be_left_and_the_screen_goes_on(self):
        self.open_screen()
        for leave in "Escape", "C-c":
            self.press("l", "x", shows="Load: x\n")
            before = self.shown()
            self.wait(lambda shown, before=before: shown != before, "progress")
            self.press(leave, shows="l load")
            self.assertNotIn("Load:", self.shown())
        self.resize(12, 5)
        self.press("l", "\u65e5\u672c\u00e9", "BSpace", "BSpace", "C-l", shows="Load: \u65e5\n")
        self.press("C-u", "clock:1.7")  # the end of it is seen, with the cursor behind it
        self.wait_for("Load: k:1.7\n")
        self.assertEqual(self.terminal.tmux("display", "-p", "#{cursor_x} #{cursor_flag}"),
                         "11 1\n")
        self.press("Enter")
        self.wait_for("0:01.7 / 0:0")  # it has played to its end
        self.end("C-c")

    def test_control_l_repairs_the_screen(self):
        self.open_paused_screen()
        whole = self.shown()
        with open(self.terminal.tty, "wb") as tty:
            tty.write(b"\033[3;1Hgarbled")
        self.wait_for("garbled")
        self.press("C-l")
        self.wait_for_lines(whole)

    def test_what_the_console_prints_leaves_the_screen_alone(self):
        self.open_paused_screen("--console", "--log-file", "log")
        whole = self.shown()
        self.assertEqual(run("console", "--exec", "PRINT hello", "--exec", "help").returncode, 0)
        self.assertIn("hello\nYou can find", (self.directory / "log").read_text())
        self.assertEqual(self.shown(), whole)
        self.press("s", shows="window 640 x 360")
        self.assertNotIn("hello", self.shown())

    def test_a_terminal_that_can_not_be_a_screen_is_served_with_lines(self):
        for kind in "dumb", "nonsense":
            with self.subTest(kind):
                self.open_terminal("--log", "none", command=("env", f"TERM={kind}"))
                self.wait_for("type commands")
                self.press("wait-player 10", "Enter", "quit", "Enter", shows='"player-found"')
                self.end()
