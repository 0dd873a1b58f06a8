"""A program in a terminal of tmux, driven key by key and looked at."""

import contextlib
import itertools
import os
import pathlib
import re
import shlex
import signal
import subprocess
import termios
import time

from tools_case import wait_until

NUMBERS = itertools.count(1)


class Terminal:
    """The program works in the directory, which is also its home."""

    def __init__(self, directory, *command, width=80, height=24):
        self.directory = directory
        self.socket = f"terminal{next(NUMBERS)}"
        self.tmux("new-session", "-d", "-x", str(width), "-y", str(height),
                  f"before=$(stty -g); {shlex.join(map(str, command))}; echo status=$?; "
                  "test $before = $(stty -g) && echo restored; read go")
        self.shell, self.tty = self.tmux("display", "-p", "#{pane_pid} #{pane_tty}").split()

    def tmux(self, *arguments):
        return subprocess.run(
            ["env", "-u", "TMUX", "-u", "XDG_STATE_HOME", "tmux", "-u", "-S", self.socket, "-f",
             "/dev/null", *arguments], check=True, cwd=self.directory, capture_output=True,
            text=True, env={**os.environ, "LC_ALL": "C.UTF-8", "HOME": str(self.directory)}).stdout

    def press(self, *keys, shows=""):
        """Keys by name, what is none is typed as it is; then waits for the text on the screen."""
        if keys:
            self.tmux("send-keys", *keys)
        self.wait_for(shows)

    def enter(self, text):
        self.tmux("send-keys", "-l", text)
        self.press("Enter")

    def shown(self):
        return self.tmux("capture-pane", "-p")

    def reads_keys(self):
        """Whether it reads them one by one."""
        with open(self.tty, "rb") as tty:
            return not termios.tcgetattr(tty)[3] & termios.ICANON

    def wait(self, condition, what):
        try:
            return wait_until(lambda: condition(self.shown()))
        except AssertionError:
            raise AssertionError(f"no {what} in\n{self.shown()}") from None

    def wait_for(self, text):
        self.wait(lambda shown: text in shown, text)

    def wait_for_last(self, text):
        """Until the screen ends with the text, and at a prompt until keys are read one by one: the
        editor shows the prompt first."""
        self.wait(lambda shown: shown.rstrip("\n").endswith(text) and
                  (text[-1] != ">" or self.reads_keys()), text)

    def exit_status(self):
        """The program's, once it has ended and left the terminal's settings as they were."""
        return int(self.wait(lambda shown: re.search(r"status=(\d+)\nrestored$", shown, re.M),
                             "end")[1])

    def pid(self):
        """The program's, 0 when it has ended."""
        return int(pathlib.Path(f"/proc/{self.shell}/task/{self.shell}/children").read_text() or 0)

    def close(self):
        """Ends the program, too: tmux would not wait for its end, and the next needs its port."""
        with contextlib.suppress(OSError):
            while pid := self.pid():
                os.kill(pid, signal.SIGKILL)
                time.sleep(0.01)
        with contextlib.suppress(subprocess.CalledProcessError):
            self.tmux("kill-server")
