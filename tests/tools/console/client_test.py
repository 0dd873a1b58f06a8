"""The console's client with lines from files, arguments and standard input."""
import socket
import threading
import unittest

from console_process import Host, free_port, run

class Lines(unittest.TestCase):
    def setUp(self):
        self.host = Host()
        self.addCleanup(self.host.stop)

    def run_client(self, *arguments, text=""):
        return run("--port", self.host.port, *arguments, text=text)

    def test_come_from_arguments_before_the_file(self):
        script = self.host.path("script.txt")
        with open(script, "w", encoding="utf-8") as file:
            file.write("PRINT file\n")
        result = self.run_client("--exec", "FOR 1 2 1", "--exec", "PRINT line", "--exec", "END",
                                 script)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(self.host.output(), "line\nline\nfile\n")

    def test_end_with_quit(self):
        self.assertEqual(self.run_client(text="PRINT a\nQuit\nPRINT b").returncode, 0)
        self.assertEqual(self.run_client(text="IF 1 == 1\nquit\nEND\nPRINT b").returncode, 0)
        self.assertEqual(self.host.output(), "a\n")
        self.assertIn('0    every line was run, or every line up to a "quit"', run("--help").stdout)

    def test_that_are_wrong_are_reported(self):
        result = self.run_client(text="PRINT before\nPRINT " + "x" * 1018 + "\nPRINT after")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, "html5-video-console: standard input:2: a line has at most 1023 bytes, "
                                        "this one has 1024\n")
        result = self.run_client(text="IF 1 == 1\nPRINT never\n")
        self.assertEqual(result.returncode, 1)
        self.assertIn("has no END and was not sent", result.stderr)
        self.assertEqual(self.run_client("nowhere.txt").returncode, 1)
        for usage in (["--unknown"], ["--timeout", "-1"], ["--port", "0"], ["--port", "70000"]):
            self.assertEqual(self.run_client(*usage).returncode, 2, usage)
        wrong = run("--port", "abc")
        self.assertEqual((wrong.returncode, wrong.stdout), (2, ""))
        self.assertIn("a port is a number from 1 to 65535, not abc", wrong.stderr)
        self.assertEqual(self.run_client("--words", "nowhere.txt").returncode, 1)
        self.assertEqual(self.host.output(), "before\n")

    def test_reach_the_hosts_own_commands(self):
        usage = "tune N : tune to channel N; without N show the channel"
        self.run_client(text="tune 7\nSTRING c\nc = TUNE\nPRINT c\ntune 0\nthread_show\n")
        self.assertEqual(self.host.output(),
                         f"channel 7\nchannel 7\n7\n{usage}\nchannel 7\n")
        self.assertIn(" All Thread Count = 4\n  [0] Thread[Tuner thread]", self.host.log())
        self.assertIn("Thread[Command line Tester thread] Priority = 0, Status = 2, IsRunning = 1",
                      self.host.log())
        names = self.host.path("names")
        self.run_client("--exec", f"commands {names}", "--exec", f"commands {names}")
        with open(names, encoding="ascii") as file:
            self.assertEqual(sorted(file.read().split()),
                             ["List", "commands", "thread_show", "tune"])
        self.assertTrue(self.host.output().endswith("commands FILE : write all names to a new "
                                                    "file\n"), "a file that is there is left alone")
        self.run_client("--exec", "list")
        for line in (usage, "List : show all commands", "thread_show : show all threads"):
            self.assertIn(line + "\n", self.host.output())

class Connection(unittest.TestCase):
    """What the client says, and returns, when the other side is not a console that answers."""

    def serve(self, replies):
        """A peer that sends the replies, one for each piece it receives, and closes."""
        listener = socket.socket()
        listener.bind(("127.0.0.1", 0))
        listener.listen()

        def answer():
            peer, _ = listener.accept()
            with peer:
                for reply in replies:
                    if not peer.recv(4096):
                        return
                    peer.sendall(reply)

        thread = threading.Thread(target=answer)
        thread.start()
        self.addCleanup(listener.close)
        self.addCleanup(thread.join)
        return listener.getsockname()[1]

    def test_fails_in_ways_that_are_told_apart(self):
        prompt = b"tavi\5\0\0\0\nCMD>"
        cases = [
            ("nobody there", free_port(), 3, "cannot connect to 127.0.0.1 port"),
            ("closed at once", self.serve([b""]), 3, None),
            ("another service", self.serve([b"HTTP/1.1 400 Bad Request"]), 3, "is no console"),
            ("a huge frame", self.serve([b"tavi\xff\xff\xff\xff"]), 3, "is no console"),
            ("lost later", self.serve([prompt, b""]), 4, "the connection was lost"),
            ("lost in a prompt", self.serve([prompt, prompt[:7]]), 4, "the connection was lost"),
        ]
        for name, port, status, message in cases:
            with self.subTest(name):
                result = run("--port", port, "--timeout", "5", "--exec", "PRINT x")
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(message or "html5-video-console: ", result.stderr)
        result = run("--host", "no.such.host.invalid", "--exec", "x")
        self.assertEqual(result.returncode, 3)

    def test_waits_as_long_as_it_is_told_to(self):
        with socket.socket() as silent:
            silent.bind(("127.0.0.1", 0))
            silent.listen()
            result = run("--port", silent.getsockname()[1], "--timeout", "0.2", "--exec", "x")
            self.assertEqual(result.returncode, 3)
            self.assertIn("no answer", result.stderr)
            self.assertNotIn("waiting", result.stderr)
            result = run("--port", silent.getsockname()[1], "--timeout", "1.2", "--exec", "x")
            self.assertEqual(result.returncode, 3)
            self.assertIn("waiting: the console may be serving somebody else\n", result.stderr)
        for line in ("Without it 30, at a terminal 0", "3    no connection"):
            self.assertIn(line, run("--help").stdout)
        self.assertRegex(run("--version").stdout, r"\Ahtml5-video-console \d+\.\d+\.\d+\n\Z")

    def test_help_says_where_results_are(self):
        result = run("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn("process, not here", result.stdout)

if __name__ == "__main__":
    unittest.main()
