"""A host with a console, and the client, as processes for tests."""

import functools
import pathlib
import socket
import subprocess
import tempfile
import unittest

from stand import Process
from tools_case import PROGRAMS, run, wait_until


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as probe:
        return probe.getsockname()[1]


def run_client(*arguments, text=""):
    return run("console", *arguments, input=text)


class Host(Process):
    """console_host; what it prints after its start is its output."""

    def __init__(self, directory, settings):
        self.directory = pathlib.Path(directory)
        self.port = free_port()
        self.run = functools.partial(run_client, "--port", self.port)
        (self.directory / "cmd.conf").write_text(f"{settings}port={self.port}\n")
        self.printed = self.directory / "stdout"
        with self.printed.open("wb") as output:
            super().__init__([PROGRAMS / "console_host"], directory, "host",
                             stdin=subprocess.DEVNULL, stdout=output)
        wait_until(lambda: self.run("--exec", "").returncode == 0, "the host listens")
        self.start = len(self.printed.read_bytes())

    def output(self):
        return self.printed.read_bytes()[self.start:].decode()


class ConsoleTest(unittest.TestCase):
    def start_host(self, settings=""):
        host = Host(self.enterContext(tempfile.TemporaryDirectory()), settings)
        self.addCleanup(host.end)
        return host
