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

    def assert_output(self, text):
        """Waits for the output, and for the prompt that follows it: keys typed before are echoed
        where they should not be."""
        wait_until(lambda: self.host.output() == text, text)
        self.client.wait_for_last("CMD>")

    def leave(self, *keys, status):
        self.client.press(*keys)
        self.assertEqual(self.client.exit_status(), status)

    def enter_block(self, *lines):
        for line in lines:
            self.client.enter(line)
            self.client.wait_for_last(line + "\n...>")
        self.client.enter("END")

    def leave_what_runs(self, head, statement):
        """Leaves it once it runs: ^C before that would be one that forgets a line."""
        before = len(self.host.output())
        self.enter_block(f"{head} 1 == 1", "PRINT on", statement)
        wait_until(lambda: "on\n" in self.host.output()[before:], "a block that runs")
        self.client.press("C-c")
        self.client.wait_for_last(
            "^C again leaves, and the host ends\n"
            "it after its linger time (10 s unless its cmd.conf says otherwise)")
        self.leave("C-c", status=130)

    def test_lines_are_typed_edited_and_recalled(self):
        self.connect()
        self.assertIn("Results appear where that process prints", self.client.shown())
        self.client.press("PRINT on", "Left", "Left", "BSpace", "_", "End", "e")
        self.client.wait_for_last("CMD>PRINT_one")
        self.client.press("C-a", *["Right"] * 5, "DC", " ")
        self.client.wait_for_last("CMD>PRINT one")
        self.client.press("Enter")
        self.assert_output("one\n")
        self.client.enter("PRINT 2")
        self.assert_output("one\n2\n")
        self.client.press("Up", "Up")
        self.client.wait_for_last("CMD>PRINT one")
        self.client.press("Enter")
        self.assert_output("one\n2\none\n")
        self.client.press("PRINT \u00e9t\u00e9", "BSpace", "Enter")
        self.assert_output("one\n2\none\n\u00e9t\n")

    def test_history_outlives_the_client(self):
        self.connect()
        self.client.enter("PRINT kept")
        self.assert_output("kept\n")
        self.leave("C-d", status=0)
        history = self.home / ".html5_video_console_history"
        self.assertEqual(history.stat().st_mode & 0o777, 0o600)
        self.connect()
        self.client.press("Up")
        self.client.wait_for_last("CMD>PRINT kept")
        self.client.press("Enter")
        self.assert_output("kept\nkept\n")

    def test_words_are_completed(self):
        self.connect()
        self.client.press("WHI", "Tab")
        self.client.wait_for_last("CMD>WHILE")
        self.client.press("C-c")
        self.client.wait_for_last("CMD>")
        names = self.home / "names"
        for line in "tunw", "INT counter 3", f"commands {names}":
            self.client.enter(line)
        wait_until(names.exists, "names")
        self.client.press("PRINT cou", "Tab")
        self.client.wait_for_last("CMD>PRINT counter")
        self.client.press("Enter")
        mistyped = "tunw -> 0 no such command\n"
        self.assert_output(mistyped + "3\n")
        self.leave("C-d", status=0)
        self.connect("--words", names)
        self.client.press("tu", "Tab", "4")  # the host's command, not what was mistyped before
        self.client.wait_for_last("CMD>tune 4")
        self.client.press("Enter")
        self.assert_output(mistyped + "3\nchannel 4\n")

    def test_blocks_continue_and_can_be_forgotten(self):
        self.connect()
        for line in "FOR 1 2 1", "PRINT never":
            self.client.enter(line)
            self.client.wait_for_last(line + "\n...>")
        self.client.press("C-c")
        self.client.wait_for_last("^C\nCMD>")
        self.enter_block("FOR 1 2 1", "IF 1 == 1", "PRINT block", "END")
        self.assert_output("block\nblock\n")

    def test_it_ends_with_quit_and_with_the_console(self):
        self.connect()
        self.client.press("PRINT half", "C-c")
        self.client.wait_for_last("^C\nCMD>")
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
