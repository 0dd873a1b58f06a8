"""The console's client at a terminal, driven key by key."""

import pathlib
import tempfile

from console_process import ConsoleTest
from stand import program
from terminal import Terminal
from tools_case import PROGRAMS, wait_until


class AtATerminal(ConsoleTest):
    def setUp(self):
        self.home = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def open_client(self, *options):
        client = Terminal(self.home, program(PROGRAMS, "console"), "--port", self.host.port,
                          *options, width=100, height=40)
        self.addCleanup(client.close)
        return client

    def connect(self, *options, settings=None):
        """To a host of its own, unless there is one."""
        if not hasattr(self, "host"):
            self.host = self.start_host(settings or "")
        self.client = self.open_client(*options)
        self.client.wait_for_last("CMD>")

    def press(self, *keys, shows):
        """The keys, after which the screen ends with that text."""
        self.client.press(*keys)
        self.client.wait_for_last(shows)

    def wait_for_output(self, text):
        """The whole output, and the prompt that follows it: keys typed before are echoed where they
        should not be."""
        wait_until(lambda: self.host.output() == text, text)
        self.client.wait_for_last("CMD>")

    def enter(self, *keys, prints):
        self.client.press(*keys, "Enter")
        self.wait_for_output(prints)

    def leave(self, *keys, status):
        self.client.press(*keys)
        self.assertEqual(self.client.exit_status(), status)

    def begin_block(self, *lines):
        for line in lines:
            self.client.enter(line)
            self.client.wait_for_last(line + "\n...>")

    def leave_what_runs(self, head, statement):
        """Leaves it once it runs: ^C before that would be one that forgets a line."""
        before = len(self.host.output())
        self.begin_block(f"{head} 1 == 1", "PRINT on", statement)
        self.client.enter("END")
        wait_until(lambda: "on\n" in self.host.output()[before:], "a block that runs")
        self.press("C-c", shows="^C again leaves, and the host ends\n"
                   "it after its linger time (10 s unless its cmd.conf says otherwise)")
        self.leave("C-c", status=130)

    def test_lines_are_typed_edited_and_recalled(self):
        self.connect()
        self.assertIn("Results appear where that process prints", self.client.shown())
        self.press("PRINT on", "Left", "Left", "BSpace", "_", "End", "e", shows="CMD>PRINT_one")
        self.press("C-a", *["Right"] * 5, "DC", " ", shows="CMD>PRINT one")
        self.enter(prints="one\n")
        self.enter("PRINT 2", prints="one\n2\n")
        self.press("Up", "Up", shows="CMD>PRINT one")
        self.enter(prints="one\n2\none\n")
        self.enter("PRINT \u00e9t\u00e9", "BSpace", prints="one\n2\none\n\u00e9t\n")

    def test_history_outlives_the_client(self):
        self.connect()
        self.enter("PRINT kept", prints="kept\n")
        self.leave("C-d", status=0)
        history = self.home / ".html5_video_console_history"
        self.assertEqual(history.stat().st_mode & 0o777, 0o600)
        self.connect()
        self.press("Up", shows="CMD>PRINT kept")
        self.enter(prints="kept\nkept\n")

    def test_words_are_completed(self):
        self.connect()
        self.press("WHI", "Tab", shows="CMD>WHILE")
        self.press("C-c", shows="CMD>")
        names = self.home / "names"
        for line in "tunw", "INT counter 3", f"commands {names}":
            self.client.enter(line)
        wait_until(names.exists, "names")
        self.press("PRINT cou", "Tab", shows="CMD>PRINT counter")
        mistyped = "tunw -> 0 no such command\n"
        self.enter(prints=mistyped + "3\n")
        self.leave("C-d", status=0)
        self.connect("--words", names)
        # The host's command, not what was mistyped before.
        self.press("tu", "Tab", "4", shows="CMD>tune 4")
        self.enter(prints=mistyped + "3\nchannel 4\n")

    def test_blocks_continue_and_can_be_forgotten(self):
        self.connect()
        self.begin_block("FOR 1 2 1", "PRINT never")
        self.press("C-c", shows="^C\nCMD>")
        self.begin_block("FOR 1 2 1", "IF 1 == 1", "PRINT block", "END")
        self.client.enter("END")  # which would be a key of that name
        self.wait_for_output("block\nblock\n")

    def test_it_ends_with_quit_and_with_the_console(self):
        self.connect()
        self.press("PRINT half", "C-c", shows="^C\nCMD>")
        self.leave("quit", "Enter", status=0)
        self.connect()
        self.host.child.terminate()
        self.leave(status=4)
        self.assertIn("html5-video-console: the connection was lost", self.client.shown())

    def test_it_waits_for_a_console_that_serves_somebody_else(self):
        self.connect()
        self.client = self.open_client()
        self.client.wait_for_last("html5-video-console: waiting: the console may be serving "
                                  "somebody else; ^C ends this")
        self.leave("C-c", status=130)

    def test_what_runs_can_be_left_and_ends_before_the_next_client(self):
        for head, milliseconds in ("WHILE", 10), ("IF", 100000):
            self.connect(settings="linger=1\n")
            self.leave_what_runs(head, f"SLEEP {milliseconds}")
            self.assertEqual(self.host.run("--exec", "PRINT next").returncode, 0)
        self.assertEqual(self.host.output().replace("on\n", ""), "next\nnext\n")
