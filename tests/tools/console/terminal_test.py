"""The console's client at a terminal, driven key by key in tmux."""
import os
import subprocess
import tempfile
import termios
import unittest

from console_process import CLIENT, Host, run, wait_until

class Terminal:
    """The client in a terminal of its own."""

    count = 0

    def __init__(self, port, home, options=""):
        Terminal.count += 1
        self.socket = os.path.join(home, f"tmux{Terminal.count}")
        self.status = os.path.join(home, f"status{Terminal.count}")
        environment = dict(os.environ, HOME=home, TERM="screen", LC_ALL="C.UTF-8")
        environment.pop("XDG_STATE_HOME", None)
        environment.pop("TMUX", None)
        command = f"'{CLIENT}' --port {port} {options}; echo $? > '{self.status}'; cat"
        subprocess.run(["tmux", "-S", self.socket, "-f", "/dev/null", "new-session", "-d", "-x",
                        "100", "-y", "40", command], env=environment, check=True)
        self.tty = self.tmux("display", "-p", "#{pane_tty}").strip()

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-S", self.socket, *arguments], capture_output=True,
                              text=True, check=True).stdout

    def keys(self, *keys):
        self.tmux("send-keys", *keys)

    def type(self, text):
        self.tmux("send-keys", "-l", text)

    def enter(self, text):
        self.type(text)
        self.keys("Enter")

    def screen(self):
        return self.tmux("capture-pane", "-p").rstrip("\n")

    def reads_keys(self):
        with open(self.tty, "rb") as tty:
            return not termios.tcgetattr(tty)[3] & termios.ICANON

    def ends_with(self, text):
        """Waits until the screen ends with the text, and at a prompt until keys are read one by one:
        the editor shows the prompt first."""
        return wait_until(lambda: self.screen().endswith(text) and
                          (text[-1] != ">" or self.reads_keys())) is not None

    def exit_status(self):
        """The client's, once it has ended."""
        def read():
            with open(self.status, encoding="ascii") as file:
                return file.read().strip()
        return wait_until(lambda: os.path.exists(self.status) and read())

    def close(self):
        subprocess.run(["tmux", "-S", self.socket, "kill-server"], capture_output=True, check=False)

def runs(terminal, host, *block):
    """Types the block and waits until it runs: ^C before that would be one that forgets a line. The
    block is to print "on"."""
    before = host.output()
    for line in block[:-1]:
        terminal.enter(line)
        if not terminal.ends_with(line + "\n...>"):
            return None
    terminal.enter(block[-1])
    return wait_until(lambda: "on\n" in host.output()[len(before):])

class AtATerminal(unittest.TestCase):
    def setUp(self):
        self.host = Host()
        self.addCleanup(self.host.stop)
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)
        self.terminal = self.connect()

    def connect(self, options=""):
        terminal = Terminal(self.host.port, self.home.name, options)
        self.addCleanup(terminal.close)
        self.assertTrue(terminal.ends_with("CMD>"), terminal.screen())
        return terminal

    def assert_screen_ends(self, text):
        self.assertTrue(self.terminal.ends_with(text), self.terminal.screen())

    def assert_output(self, text):
        """Waits for the output, and for the prompt that follows it: keys typed before are echoed
        where they should not be."""
        self.assertTrue(wait_until(lambda: self.host.output() == text), self.host.output())
        self.assert_screen_ends("CMD>")

    def test_lines_are_typed_edited_and_recalled(self):
        self.assertIn("Results appear where that process prints", self.terminal.screen())
        self.terminal.type("PRINT on")
        self.terminal.keys("Left", "Left", "BSpace")
        self.terminal.type("_")
        self.terminal.keys("End")
        self.terminal.type("e")
        self.assert_screen_ends("CMD>PRINT_one")
        self.terminal.keys("C-a", "Right", "Right", "Right", "Right", "Right", "DC")
        self.terminal.type(" ")
        self.assert_screen_ends("CMD>PRINT one")
        self.terminal.keys("Enter")
        self.assert_output("one\n")
        self.terminal.enter("PRINT 2")
        self.assert_output("one\n2\n")
        self.terminal.keys("Up", "Up")
        self.assert_screen_ends("CMD>PRINT one")
        self.terminal.keys("Enter")
        self.assert_output("one\n2\none\n")
        self.terminal.type("PRINT \u00e9t\u00e9")
        self.terminal.keys("BSpace", "Enter")
        self.assert_output("one\n2\none\n\u00e9t\n")

    def test_history_outlives_the_client(self):
        self.terminal.enter("PRINT kept")
        self.assert_output("kept\n")
        self.terminal.keys("C-d")
        self.assertEqual(self.terminal.exit_status(), "0")
        self.terminal.close()
        path = os.path.join(self.home.name, ".html5_video_console_history")
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o600)
        self.terminal = self.connect()
        self.terminal.keys("Up")
        self.assert_screen_ends("CMD>PRINT kept")
        self.terminal.keys("Enter")
        self.assert_output("kept\nkept\n")

    def test_words_are_completed(self):
        self.terminal.type("WHI")
        self.terminal.keys("Tab")
        self.assert_screen_ends("CMD>WHILE")
        self.terminal.keys("C-c")
        self.assert_screen_ends("CMD>")
        self.terminal.enter("tunw")
        self.terminal.enter("INT counter 3")
        names = self.host.path("names")
        self.terminal.enter(f"commands {names}")
        self.assertTrue(wait_until(lambda: os.path.exists(names)))
        self.terminal.type("PRINT cou")
        self.terminal.keys("Tab")
        self.assert_screen_ends("CMD>PRINT counter")
        self.terminal.keys("Enter")
        mistyped = "tunw -> 0 no such command\n"
        self.assert_output(mistyped + "3\n")
        self.terminal.keys("C-d")
        self.assertEqual(self.terminal.exit_status(), "0")
        self.terminal.close()
        self.terminal = self.connect(f"--words {names}")
        self.terminal.type("tu")
        self.terminal.keys("Tab")  # the host's command, and not what was mistyped before
        self.terminal.type("4")
        self.assert_screen_ends("CMD>tune 4")
        self.terminal.keys("Enter")
        self.assert_output(mistyped + "3\nchannel 4\n")

    def test_blocks_continue_and_can_be_forgotten(self):
        self.terminal.enter("FOR 1 2 1")
        self.assert_screen_ends("FOR 1 2 1\n...>")
        self.terminal.enter("PRINT never")
        self.assert_screen_ends("PRINT never\n...>")
        self.terminal.keys("C-c")
        self.assert_screen_ends("^C\nCMD>")
        for line in ("FOR 1 2 1", "IF 1 == 1", "PRINT block", "END"):
            self.terminal.enter(line)
            self.assert_screen_ends(line + "\n...>")
        self.terminal.enter("END")
        self.assert_output("block\nblock\n")

    def test_it_ends_with_quit_and_with_the_console(self):
        self.terminal.type("PRINT half")
        self.terminal.keys("C-c")
        self.assert_screen_ends("^C\nCMD>")
        self.terminal.enter("quit")
        self.assertEqual(self.terminal.exit_status(), "0")
        self.terminal.close()
        self.terminal = self.connect()
        self.host.process.terminate()
        self.assertEqual(self.terminal.exit_status(), "4")
        self.assertIn("html5-video-console: the connection was lost", self.terminal.screen())

    def test_a_statement_that_runs_can_be_left(self):
        self.assertTrue(runs(self.terminal, self.host, "IF 1 == 1", "PRINT on", "SLEEP 100000", "END"))
        self.terminal.keys("C-c")
        self.assert_screen_ends("^C again leaves, and the host ends\n"
                                "it after its linger time (10 s unless its cmd.conf says otherwise)")
        self.terminal.keys("C-c")
        self.assertEqual(self.terminal.exit_status(), "130")

    def test_it_waits_for_a_console_that_serves_somebody_else(self):
        waiting = Terminal(self.host.port, self.home.name)
        self.addCleanup(waiting.close)
        self.assertTrue(waiting.ends_with("html5-video-console: waiting: the console may be serving somebody "
                                          "else; ^C ends this"), waiting.screen())
        waiting.keys("C-c")
        self.assertEqual(waiting.exit_status(), "130")

class AfterItsClient(unittest.TestCase):
    def test_an_endless_loop_ends_and_the_next_client_is_served(self):
        host = Host(settings="linger=1\n")
        self.addCleanup(host.stop)
        home = self.enterContext(tempfile.TemporaryDirectory())
        for head, milliseconds in ("WHILE", 10), ("IF", 100000):
            terminal = Terminal(host.port, home)
            self.addCleanup(terminal.close)
            self.assertTrue(terminal.ends_with("CMD>"), terminal.screen())
            self.assertTrue(runs(terminal, host, f"{head} 1 == 1", "PRINT on",
                                 f"SLEEP {milliseconds}", "END"))
            terminal.keys("C-c")
            self.assertTrue(wait_until(lambda: "linger time" in terminal.screen()))
            terminal.keys("C-c")
            self.assertEqual(terminal.exit_status(), "130")
            self.assertEqual(run("--port", host.port, "--exec", "PRINT next").returncode, 0)
        self.assertEqual(host.output().replace("on\n", ""), "next\nnext\n")

if __name__ == "__main__":
    unittest.main()
