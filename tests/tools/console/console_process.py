"""A host with a console, and the client, as processes for tests."""
import os
import signal
import socket
import subprocess
import sys
import tempfile
import time

HOST = os.environ["CONSOLE_HOST"]
CLIENT = os.environ["CONSOLE_CLIENT"]


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_until(condition, seconds=20):
    """Polls until the condition gives something true, and returns it; None when time is up."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    return None


class Host:
    """console_host in a directory of its own; what it prints after its start is its output."""

    def __init__(self, settings=""):
        self.directory = tempfile.TemporaryDirectory()
        self.port = free_port()
        with open(self.path("cmd.conf"), "w", encoding="ascii") as configuration:
            configuration.write(f"{settings}port={self.port}\n")
        with open(self.path("stdout"), "wb") as output, open(self.path("stderr"), "wb") as log:
            self.process = subprocess.Popen([HOST], cwd=self.directory.name,
                                            stdin=subprocess.DEVNULL, stdout=output, stderr=log)
        if not wait_until(self.answers):
            sys.exit("the host does not listen")
        self.start = len(self.read("stdout"))

    def path(self, name):
        return os.path.join(self.directory.name, name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def answers(self):
        return run("--port", self.port, "--exec", "").returncode == 0

    def output(self):
        return self.read("stdout")[self.start:].decode()

    def log(self):
        return self.read("stderr").decode()

    def stop(self):
        """Ends the host; its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        status = self.process.wait(timeout=20)
        self.directory.cleanup()
        return status


def run(*arguments, text=""):
    """Runs the client to its end."""
    return subprocess.run([CLIENT, *map(str, arguments)], input=text, capture_output=True,
                          text=True, timeout=60, check=False)
