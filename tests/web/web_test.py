"""The pages of this folder in the web browser, with the reference player.

Usage: web_test.py PROGRAMS [unittest's arguments]. The folder scripts/lib must be on the path. Each
stand has loopback addresses of its own, so several may run side by side.
"""

import http.server
import itertools
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse

from stand import Player, Process

PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
BROWSER = PROGRAMS / "html5-video-web-browser"
PAGES = pathlib.Path(__file__).resolve().parent / "pages"
STANDS = itertools.count(1)


def wait_until(condition, what, seconds=10):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.01)


def make_media(folder):
    """A picture and a tone, with a key frame each half second, so that seeks are exact."""
    for name, seconds in (("short", 6), ("long", 10)):
        subprocess.run(
            ["gst-launch-1.0", "-q", "videotestsrc", f"num-buffers={seconds * 25}", "!",
             "video/x-raw,width=320,height=240,framerate=25/1", "!", "vp8enc", "deadline=1",
             "keyframe-max-dist=12", "!", "webmmux", "name=mux", "!", "filesink",
             f"location={folder}/{name}.webm", "audiotestsrc", "samplesperbuffer=441",
             f"num-buffers={seconds * 100}", "!", "audio/x-raw,rate=44100", "!", "vorbisenc", "!",
             "mux."],
            check=True, timeout=60)
    (folder / "noise.webm").write_bytes(bytes(range(256)) * 40)


class Site(http.server.ThreadingHTTPServer):
    """Serves the pages and the media, and lets a page look at its player and kill it."""

    daemon_threads = True

    def __init__(self, stand):
        super().__init__(("0.0.0.0", 0), Handler)
        self.stand = stand
        self.agents = []  # who asked for media
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *_):
        pass  # whoever plays may close early


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        path = urllib.parse.urlsplit(self.path).path
        action = {"/player/log": self.server.stand.player_log,
                  "/player/kill": self.server.stand.kill_player,
                  "/player/start": self.server.stand.start_player,
                  "/media/agents": lambda: "\n".join(self.server.agents)}.get(path)
        folder = MEDIA if path.startswith("/media/") else PAGES
        file = folder / pathlib.PurePath(path).name
        if action:
            self.answer(200, (action() or "").encode(), "text/plain")
        elif file.is_file():
            self.send_file(file)
        else:
            self.answer(404, b"missing", "text/plain")

    def send_file(self, file):
        types = {".html": "text/html", ".js": "text/javascript", ".webm": "video/webm"}
        data = file.read_bytes()
        if file.suffix == ".webm":
            self.server.agents.append(self.headers.get("User-Agent", "?"))
        wanted = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
        if not wanted:
            self.answer(200, data, types[file.suffix])
            return
        first = int(wanted[1])
        last = min(int(wanted[2] or len(data)), len(data) - 1)
        if first > last:
            self.answer(416, b"", "text/plain")
        else:
            self.answer(206, data[first:last + 1], types[file.suffix],
                        ("Content-Range", f"bytes {first}-{last}/{len(data)}"))

    def answer(self, status, body, kind, *headers):
        self.send_response(status)
        for name, value in (("Content-Type", kind), ("Content-Length", str(len(body))),
                            ("Accept-Ranges", "bytes"), *headers):
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


class Stand:
    """A player, a site, and a folder for what they leave."""

    def __init__(self, player=True):
        number = next(STANDS)
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.player_address, self.browser_address = (f"127.1.{number}.{last}" for last in (1, 2))
        self.environment = dict(os.environ, HBB_BROWSER_IP=self.browser_address,
                                HBB_SYSTEM_IP=self.player_address, HOME=str(self.folder),
                                XDG_RUNTIME_DIR=str(self.folder), GIO_USE_PROXY_RESOLVER="dummy")
        for name in ("http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "DISPLAY"):
            self.environment.pop(name, None)
        self.site = Site(self)
        self.players = []
        if player:
            self.start_player()

    def start_player(self):
        name = f"player{len(self.players)}"
        self.players.append(Player(
            PROGRAMS, self.folder, "--listen", self.player_address, "--browser",
            self.browser_address, engine="gstreamer", name=name))
        wait_until(lambda: "engine listens" in self.player_log(), "the player listens")

    def kill_player(self):
        self.players[-1].kill()

    def player_log(self):
        return self.players[-1].log_text()

    def url(self, page, host="127.0.0.1"):
        return f"http://{host}:{self.site.server_address[1]}/{page}"

    def start_browser(self, url, *options):
        with open(self.folder / "output", "ab") as output:
            return Process([BROWSER, "--headless", *options, url], self.folder, "browser",
                           stdout=output, env=self.environment)

    def browse(self, url, *options, seconds=30):
        """Runs the browser to its end; returns the exit status and the page's lines."""
        with self.start_browser(url, "--timeout", str(seconds), *options) as browser:
            status = browser.child.wait(seconds + 10)
        return status, self.output()

    def output(self):
        return (self.folder / "output").read_text(errors="replace")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for player in self.players:
            player.__exit__()
        self.site.shutdown()
        self.site.server_close()
        shutil.rmtree(self.folder, ignore_errors=True)


class WebTest(unittest.TestCase):
    def stand(self, **named):
        return self.enterContext(Stand(**named))

    def passes(self, page, *options, stand=None):
        stand = stand or self.stand()
        status, output = stand.browse(stand.url(page), *options)
        print(f"---- {page}\n{output}", flush=True)
        self.assertEqual(status, 0, stand.folder.joinpath("browser.log").read_text()[-2000:])
        self.assertIn("RESULT PASS", output)
        log = stand.player_log()
        self.assertGreater(log.rfind(": cancelLoad"), log.rfind(": load "),
                           "what the page left was not unloaded")


class Pages(WebTest):
    def test_playing(self):
        self.passes("playing.html")

    def test_events(self):
        self.passes("events.html")

    def test_elements(self):
        self.passes("elements.html")

    def test_another_site_and_back(self):
        self.passes("first_site.html")

    def test_a_player_that_dies(self):
        self.passes("recovery.html")

    def test_a_player_that_dies_and_is_waited_for(self):
        self.passes("recovery.html#resume", "--resume")


class Program(WebTest):
    """What the browser does beside playing. No player is needed."""

    def run_page(self, text, *options, seconds=10):
        stand = self.stand(player=False)
        page = stand.folder / "page.html"
        page.write_text(text)
        return stand.browse(page, *options, seconds=seconds)

    def test_lines_and_the_status_of_a_result(self):
        status, output = self.run_page(
            "<script>console.log('one', 2); console.warn('three'); console.log('RESULT FAIL x');"
            "</script>")
        self.assertEqual(status, 1)
        lines = output.splitlines()
        self.assertIn("one 2", lines)
        self.assertIn("RESULT FAIL x", lines)
        self.assertTrue(any(line.startswith("WARN three  (file://") for line in lines))

    def test_a_script_is_run_when_the_page_is_read(self):
        with tempfile.NamedTemporaryFile("w", suffix=".js") as script:
            script.write("console.log('RESULT PASS', document.body.textContent)")
            script.flush()
            status, output = self.run_page("<body>text</body>", "--script", script.name)
        self.assertEqual((status, output.splitlines()[-1]), (0, "RESULT PASS text"))

    def test_messages_that_are_no_commands(self):
        status, output = self.run_page(
            "<script>for (const message of [null, 7, 'play', [], {}, ['play'], ['stop', 1, 1],"
            "[1, 2, 3], ['load', -1, NaN], ['begin', 1e300, -5], ['begin', 77, 1],"
            "['load', 77, 2, 5], ['load', 77, 3, 'x'.repeat(1 << 20)], ['seek', 77, 4, Infinity],"
            "['setSize', 77, 5, -1e99, 'w'], ['play', 78, 6]])"
            "  webkit.messageHandlers.html5Video.postMessage(message);"
            "setTimeout(() => console.log('RESULT PASS'), 200)</script>")
        self.assertEqual(status, 0, output)

    def test_the_time_is_over(self):
        self.assertEqual(self.run_page("<p>", seconds=1)[0], 3)

    def test_pages_that_can_not_be_loaded(self):
        stand = self.stand(player=False)
        self.assertEqual(stand.browse(stand.url("no_such_page.html"))[0], 1)
        stand.site.shutdown()
        stand.site.server_close()
        self.assertEqual(stand.browse(stand.url("playing.html"))[0], 1)
        self.assertEqual(stand.browse("page.html", "--unknown")[0], 2)

    def test_it_ends_when_it_is_told_to_and_when_the_engine_dies(self):
        for victim, status in (("browser", 0), ("engine", 4)):
            stand = self.stand(player=False)
            (stand.folder / "page.html").write_text("<script>console.log('here')</script>")
            with stand.start_browser("page.html") as browser:
                wait_until(lambda: "here" in stand.output(), "the page runs")
                pid = browser.child.pid
                if victim == "engine":
                    pid = self.child_of(pid, "WPEWebProcess")
                os.kill(pid, signal.SIGTERM if victim == "browser" else signal.SIGKILL)
                self.assertEqual(browser.child.wait(10), status)

    def child_of(self, parent, name):
        children = pathlib.Path(f"/proc/{parent}/task/{parent}/children").read_text().split()
        return next(int(child) for child in children
                    if name in pathlib.Path(f"/proc/{child}/cmdline").read_text())


if __name__ == "__main__":
    MEDIA = pathlib.Path(tempfile.mkdtemp())
    try:
        make_media(MEDIA)
        unittest.main(verbosity=2)
    finally:
        shutil.rmtree(MEDIA)
