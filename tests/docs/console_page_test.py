"""Runs every example of docs/console.md and compares what comes out."""
import os
import re
import shlex
import socket
import unittest

from console_process import Host, run

ROOT = os.environ["SOURCE_ROOT"]


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def blocks():
    """The page's fenced blocks: line number, kind, text."""
    page = read("docs/console.md")
    found = []
    for match in re.finditer(r"^```(\w*)\n(.*?)^```$", page, re.MULTILINE | re.DOTALL):
        found.append((page.count("\n", 0, match.start()) + 1, match.group(1), match.group(2)))
    return found


class Page(unittest.TestCase):
    def setUp(self):
        self.blocks = blocks()

    def of_kind(self, kind):
        chosen = [(line, text) for line, found, text in self.blocks if found == kind]
        self.assertTrue(chosen, f"the page has no {kind} block")
        return chosen

    def host(self):
        host = Host()
        self.addCleanup(host.stop)
        return host

    def test_every_block_is_of_a_kind_that_is_run(self):
        kinds = {kind for _, kind, _ in self.blocks}
        self.assertLessEqual(kinds, {"sh", "console", "output", "frames", "conf", "cpp"})

    def test_statements_give_the_output_that_follows(self):
        for (line, kind, text), (_, after, expected) in zip(self.blocks, self.blocks[1:]):
            if kind not in ("console", "sh"):
                continue
            with self.subTest(line=line):
                self.assertEqual(after, "output")
                host = self.host()
                if kind == "console":
                    result = run("--port", host.port, text=text)
                else:
                    result = run("--port", host.port, *shlex.split(text)[1:])
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertEqual(host.output(), expected)

    def test_frames_are_answered_as_shown(self):
        for line, text in self.of_kind("frames"):
            with self.subTest(line=line):
                host = self.host()
                with socket.create_connection(("127.0.0.1", host.port), timeout=20) as client:
                    for row in text.splitlines():
                        direction, data = row[0], row[2:]
                        if direction == ">":
                            client.sendall(bytes.fromhex(data))
                        elif data == "end":
                            self.assertEqual(client.recv(1), b"")
                        else:
                            wanted = bytes.fromhex(data)
                            got = b""
                            while len(got) < len(wanted):
                                part = client.recv(len(wanted) - len(got))
                                self.assertTrue(part, row)
                                got += part
                            self.assertEqual(got, wanted, row)

    def test_settings_are_taken(self):
        for line, text in self.of_kind("conf"):
            with self.subTest(line=line):
                host = Host(settings=text)
                self.addCleanup(host.stop)
                self.assertEqual(run("--port", host.port, "--exec", "PRINT set").returncode, 0)
                self.assertEqual(host.output(), "set\n")

    def test_code_is_that_of_the_example_host(self):
        host = read("examples/console_host.cpp")
        for line, text in self.of_kind("cpp"):
            with self.subTest(line=line):
                self.assertIn(text, host)

    def test_the_table_of_settings_names_the_keys_there_are(self):
        keys = set(re.findall(r'"(\w+=)"', read("util/console/lines/ConsoleSettings.cpp")))
        self.assertEqual(keys, set(re.findall(r"^\| `(\w+=)`", read("docs/console.md"),
                                              re.MULTILINE)))


if __name__ == "__main__":
    unittest.main()
