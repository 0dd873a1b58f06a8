"""A player and a browser as child processes, driven and observed by a script.

The browser takes commands on its standard input and answers with JSON lines; nothing here looks
at anything else to know what the player does.
"""

import json
import pathlib
import queue
import signal
import subprocess
import threading

PORTS = (56910, 56911)


def program(programs, name):
    """The file of the player, the browser, the console's client or boxinfo."""
    return programs / f"html5-video-{name}"


class Failure(Exception):
    """What was expected did not happen; the text says what."""


class Process:
    def __init__(self, command, directory, name, **options):
        self.log = pathlib.Path(directory) / f"{name}.log"
        with self.log.open("ab") as log:
            self.child = subprocess.Popen(
                [str(part) for part in command], cwd=directory, stderr=log, **options)

    def log_text(self):
        return self.log.read_text(errors="replace")

    def kill(self):
        self.child.kill()
        self.child.wait()

    def end(self, how=signal.SIGTERM, seconds=10):
        """Asks for the end and returns the exit status."""
        self.child.send_signal(how)
        return self.child.wait(seconds)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.child.poll() is None:
            self.kill()


class Player(Process):
    def __init__(self, programs, directory, *options, engine="clock", name="player"):
        super().__init__([program(programs, "player"), "--engine", engine, "--headless", *options],
                         directory, name, stdout=subprocess.DEVNULL)


class Browser(Process):
    def __init__(self, programs, directory, name="browser", options=()):
        super().__init__([program(programs, "browser"), "--script", "-", *options], directory, name,
                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.events = []  # all but statuses
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.child.stdout:
            self._lines.put(json.loads(line))
        self._lines.put(None)

    def _next(self, seconds):
        try:
            line = self._lines.get(timeout=seconds)
        except queue.Empty:
            raise Failure(f"the browser did not answer within {seconds} s") from None
        if line is None:
            raise Failure("the browser has ended; the end of its log:\n" + self.log_text()[-2000:])
        return line

    def tell(self, *commands):
        """Commands that print no status."""
        for command in commands:
            self.child.stdin.write(command + "\n")
        self.child.stdin.flush()

    def ask(self, command, seconds=40):
        """A command that prints one status, which is returned."""
        self.tell(command)
        while True:
            line = self._next(seconds)
            if line["event"] == "status":
                return line
            if line["event"] in ("timeout", "error"):
                raise Failure(f"{command}: {line}")
            self.events.append(line["event"])

    def status(self):
        return self.ask("status")

    def until(self, what, condition, seconds=10):
        """Asks for the status until the condition holds for it."""
        status = self.status()
        end = status["time"] + seconds * 1000
        while not condition(status):
            if status["time"] > end:
                raise Failure(f"{what} was not seen, but {status}")
            self.tell("wait 0.01")
            status = self.status()
        return status

    def quit(self):
        """Returns the exit status."""
        self.tell("quit")
        return self.child.wait(10)

    def __exit__(self, *arguments):
        super().__exit__(*arguments)
        self.child.stdin.close()
        self._reader.join()
        self.child.stdout.close()
