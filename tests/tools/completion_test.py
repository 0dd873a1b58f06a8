"""The completion of bash, asked as bash asks it: completion_test.py SCRIPT PROGRAM..."""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SCRIPT, PROGRAMS = sys.argv[1], {pathlib.Path(path).name: path for path in sys.argv[2:]}

ASK = """
source "$1" || exit
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_html5_video "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\\n' "${COMPREPLY[@]}"
"""


class Completion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in ("a film.webm", "other"):
            (self.folder / name).touch()

    def complete(self, program, *words):
        """What bash would offer for the last word."""
        name = f"html5-video-{program}"
        if name not in PROGRAMS:
            self.skipTest(f"{name} is not built")
        done = subprocess.run(["bash", "-c", ASK, "bash", SCRIPT, PROGRAMS[name], *words],
                              capture_output=True, text=True, cwd=self.folder, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return set(done.stdout.split("\n")) - {""}

    def test_every_option_of_every_program(self):
        for name, path in PROGRAMS.items():
            helped = subprocess.run([path, "--help"], capture_output=True, text=True, cwd=self.folder)
            names = re.findall(r"(?m)^  (-.*?)(?:  |$)", helped.stdout)
            expected = {word for name in names for word in re.findall(r"-[\w-]+", name)}
            self.assertTrue({"--help", "--version"} < expected, expected)
            self.assertEqual(self.complete(name.removeprefix("html5-video-"), "-"), expected)

    def test_values_that_are_words(self):
        modes = {"none", "stderr", "file", "udp", "unix"}
        self.assertEqual(self.complete("player", "--headless", "--log", ""), modes)
        self.assertEqual(self.complete("player", "--log", "="), modes)
        self.assertEqual(self.complete("player", "--log", "=", "u"), {"udp", "unix"})
        self.assertEqual(self.complete("player", "--engine", "cl"), {"clock"})
        self.assertEqual(self.complete("browser", "--exec", "wait-p"),
                         {"wait-position", "wait-player"})

    def test_files_where_files_are_meant_and_nowhere_else(self):
        self.assertEqual(self.complete("browser", "a"), {"a film.webm"})
        self.assertEqual(self.complete("browser", "--script", "o"), {"other"})
        self.assertEqual(self.complete("boxinfo", "-c", "a"), {"a film.webm"})
        self.assertEqual(self.complete("player", ""), set())
        self.assertEqual(self.complete("player", "--listen-port", ""), set())
        self.assertIn("--log", self.complete("player", "--console", "--l"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
