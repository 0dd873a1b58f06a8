"""The completion of bash, asked as bash asks it."""

import re
import subprocess

from stand import program
from tools_case import PROGRAMS, SOURCES, ToolsTest, run

ASK = """
source "$1" || exit
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_html5_video "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\\n' "${COMPREPLY[@]}"
"""
MODES = {"none", "stderr", "file", "udp", "unix"}


class Completion(ToolsTest):
    def complete(self, name, *words):
        """What bash would offer for the last word."""
        done = subprocess.run(["bash", "-c", ASK, "bash", SOURCES / "tools/completion.bash",
                               program(PROGRAMS, name), *words],
                              capture_output=True, text=True, cwd=self.directory, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return set(done.stdout.split("\n")) - {""}

    def test_every_option_of_every_program(self):
        names = [path.name.removeprefix("html5-video-") for path in PROGRAMS.glob("html5-video-*")]
        self.assertLessEqual({"player", "browser"}, set(names))
        for name in names:
            options = re.findall(r"(?m)^  (-.*?)(?:  |$)", run(name, "--help").stdout)
            expected = {word for option in options for word in re.findall(r"-[\w-]+", option)}
            self.assertLess({"--help", "--version"}, expected)
            self.assertEqual(self.complete(name, "-"), expected)

    def test_words_and_files_where_they_are_meant_and_nowhere_else(self):
        for name in "a film.webm", "other":
            (self.directory / name).touch()
        for expected, *words in (
                (MODES, "player", "--headless", "--log", ""), (MODES, "player", "--log", "="),
                ({"udp", "unix"}, "player", "--log", "=", "u"),
                ({"clock"}, "player", "--engine", "cl"), (set(), "player", ""),
                ({"wait-position", "wait-player"}, "browser", "--exec", "wait-p"),
                ({"a film.webm"}, "browser", "a"), ({"other"}, "browser", "--script", "o"),
                ({"a film.webm"}, "boxinfo", "-c", "a"), (set(), "player", "--listen-port", ""),
                ({"--log", "--log-file"}, "browser", "--console", "--log")):
            self.assertEqual(self.complete(*words), expected, words)
