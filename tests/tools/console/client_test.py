"""The console's client with lines from files, arguments and standard input."""

import socket
import threading
import unittest

from console_process import ConsoleTest, free_port, run_client


class Lines(ConsoleTest):
    def setUp(self):
        self.host = self.start_host()

    def test_come_from_arguments_before_the_file_and_end_with_quit(self):
        script = self.host.directory / "script.txt"
        script.write_text("PRINT file\n")
        block = "--exec", "FOR 1 2 1", "--exec", "PRINT line", "--exec", "END"
        for arguments, text in (((*block, script), ""), ((), "PRINT a\nQuit\nPRINT b"),
                                ((), "IF 1 == 1\nquit\nEND\nPRINT b")):
            result = self.host.run(*arguments, text=text)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(self.host.output(), "line\nline\nfile\na\n")

    def test_that_are_wrong_are_reported(self):
        start = "html5-video-console: "
        for arguments, text, status, told in (
                ((), "PRINT before\nPRINT " + "x" * 1018 + "\nPRINT after", 1, start + "standard "
                 "input:2: a line has at most 1023 bytes, this one has 1024\n"),
                ((), "IF 1 == 1\nPRINT never\n", 1, "has no END and was not sent"),
                (("nowhere.txt",), "", 1, start), (("--words", "nowhere.txt"), "", 1, start),
                (("--unknown",), "", 2, ""), (("--timeout", "-1"), "", 2, ""),
                (("--port", "0"), "", 2, ""), (("--port", "70000"), "", 2, ""),
                (("--port", "abc"), "", 2, "a port is a number from 1 to 65535, not abc")):
            with self.subTest(arguments, told=told):
                result = self.host.run(*arguments, text=text)
                self.assertEqual((result.returncode, result.stdout), (status, ""))
                self.assertIn(told, result.stderr)
        self.assertEqual(self.host.output(), "before\n")

    def test_reach_the_hosts_own_commands(self):
        usage = "tune N : tune to channel N; without N show the channel"
        self.host.run(text="tune 7\nSTRING c\nc = TUNE\nPRINT c\ntune 0\nthread_show\n")
        self.assertEqual(self.host.output(), f"channel 7\nchannel 7\n7\n{usage}\nchannel 7\n")
        self.assertIn(" All Thread Count = 4\n  [0] Thread[Tuner thread]", self.host.log_text())
        self.assertIn("Thread[Command line Tester thread] Priority = 0, Status = 2, IsRunning = 1",
                      self.host.log_text())
        names = self.host.directory / "names"
        self.host.run("--exec", f"commands {names}", "--exec", f"commands {names}")
        self.assertEqual(sorted(names.read_text().split()),
                         ["List", "commands", "thread_show", "tune"])
        self.assertTrue(self.host.output().endswith("commands FILE : write all names to a new "
                                                    "file\n"), "a file that is there is left alone")
        self.host.run("--exec", "list")
        for line in usage, "List : show all commands", "thread_show : show all threads":
            self.assertIn(line + "\n", self.host.output())


class Connection(unittest.TestCase):
    """What the client says, and returns, when the other side is not a console that answers."""

    def serve(self, *replies):
        """The port of a peer that sends the replies, one for each piece it receives, and closes."""
        listener = socket.create_server(("127.0.0.1", 0))

        def answer():
            with listener.accept()[0] as peer:
                for reply in replies:
                    if not peer.recv(4096):
                        return
                    peer.sendall(reply)

        threading.Thread(target=answer, daemon=True).start()
        self.addCleanup(listener.close)
        return listener.getsockname()[1]

    def test_fails_in_ways_that_are_told_apart(self):
        prompt = b"tavi\5\0\0\0\nCMD>"
        for port, status, message in (
                (free_port(), 3, "cannot connect to 127.0.0.1 port"),
                (self.serve(b""), 3, "html5-video-console: "),
                (self.serve(b"HTTP/1.1 400 Bad Request"), 3, "is no console"),
                (self.serve(b"tavi\xff\xff\xff\xff"), 3, "is no console"),
                (self.serve(prompt, b""), 4, "the connection was lost"),
                (self.serve(prompt, prompt[:7]), 4, "the connection was lost")):
            result = run_client("--port", port, "--timeout", "5", "--exec", "PRINT x")
            self.assertEqual(result.returncode, status, result.stderr)
            self.assertIn(message, result.stderr)
        self.assertEqual(run_client("--host", "no.such.host.invalid", "--exec", "x").returncode, 3)

    def test_waits_as_long_as_it_is_told_to(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            for seconds, waits in ("0.2", 0), ("1.2", 1):
                result = run_client("--port", silent.getsockname()[1], "--timeout", seconds,
                                    "--exec", "x")
                self.assertEqual(result.returncode, 3)
                self.assertIn("no answer", result.stderr)
                self.assertEqual(result.stderr.count(
                    "waiting: the console may be serving somebody else\n"), waits)

    def test_help_and_version(self):
        shown = run_client("--help").stdout
        for text in ("process, not here", "Without it 30, at a terminal 0", "3    no connection",
                     '0    every line was run, or every line up to a "quit"'):
            self.assertIn(text, shown)
        self.assertRegex(run_client("--version").stdout,
                         r"\Ahtml5-video-console \d+\.\d+\.\d+\n\Z")
