"""Runs every example of docs/console.md and compares what comes out."""

import re
import shlex
import socket

from console_process import ConsoleTest
from tools_case import SOURCES
from wire import receive

PAGE = (SOURCES / "docs/console.md").read_text(encoding="utf-8")
# The page's fenced blocks: kind, text.
BLOCKS = re.findall(r"^```(\w*)\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)


class Page(ConsoleTest):
    def of_kind(self, *kinds):
        """The blocks, each with the one that follows."""
        return [(kind, text, after) for (kind, text), after in zip(BLOCKS, [*BLOCKS[1:], None])
                if kind in kinds]

    def test_every_block_is_of_a_kind_that_is_run(self):
        self.assertEqual({kind for kind, _ in BLOCKS},
                         {"sh", "console", "output", "frames", "conf", "cpp"})

    def test_statements_give_the_output_that_follows(self):
        for kind, text, (after, expected) in self.of_kind("console", "sh"):
            self.assertEqual(after, "output")
            host = self.start_host()
            result = host.run(text=text) if kind == "console" else host.run(*shlex.split(text)[1:])
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertEqual(host.output(), expected)

    def test_frames_are_answered_as_shown(self):
        for _, text, _ in self.of_kind("frames"):
            with socket.create_connection(("127.0.0.1", self.start_host().port), 20) as client:
                for direction, data in re.findall("(.) (.*)", text):
                    if direction == ">":
                        client.sendall(bytes.fromhex(data))
                    elif data == "end":
                        self.assertEqual(client.recv(1), b"")
                    else:
                        wanted = bytes.fromhex(data)
                        self.assertEqual(receive(client, len(wanted)), wanted)

    def test_settings_are_taken(self):
        for _, text, _ in self.of_kind("conf"):
            host = self.start_host(text)
            self.assertEqual(host.run("--exec", "PRINT set").returncode, 0)
            self.assertEqual(host.output(), "set\n")

    def test_code_is_that_of_the_example_host(self):
        for _, text, _ in self.of_kind("cpp"):
            self.assertIn(text, (SOURCES / "examples/console_host.cpp").read_text())

    def test_the_table_of_settings_names_the_keys_there_are(self):
        source = (SOURCES / "util/console/lines/ConsoleSettings.cpp").read_text()
        self.assertEqual(set(re.findall(r'"(\w+=)"', source)),
                         set(re.findall(r"^\| `(\w+=)`", PAGE, re.MULTILINE)))
