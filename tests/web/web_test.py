"""The pages of this folder in the web browser, with the reference player. Each stand has loopback
addresses of its own, so several may run side by side."""

import concurrent.futures
import contextlib
import http.server
import itertools
import mimetypes
import os
import pathlib
import re
import signal
import socket
import socketserver
import subprocess
import tempfile
import threading
import unittest
import urllib.parse

from stand import Player, Process
from tools_case import PROGRAMS, wait_until
from wire import COMMAND_PORT, EMPTY_RECORD, framed, receive_frame

PAGES = pathlib.Path(__file__).resolve().parent / "pages"
PAGE = ('<!doctype html><meta charset="utf-8"><body><script src="steps.js"></script>'
        '<script src="%s.js"></script>')
STANDS = itertools.count(1)


def setUpModule():
    """The media: a picture and a tone, with a key frame each half second, so that seeks are
    exact."""
    global MEDIA
    MEDIA = pathlib.Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    for name, seconds in ("short", 6), ("long", 10):
        pipeline = (f"videotestsrc num-buffers={seconds * 25} ! video/x-raw,width=320,height=240,"
                    "framerate=25/1 ! vp8enc deadline=1 keyframe-max-dist=12 ! webmmux name=mux ! "
                    f"filesink location={MEDIA}/{name}.webm audiotestsrc samplesperbuffer=441 "
                    f"num-buffers={seconds * 100} ! audio/x-raw,rate=44100 ! vorbisenc ! mux.")
        subprocess.run(["gst-launch-1.0", "-q", *pipeline.split()], check=True, timeout=60)
    (MEDIA / "noise.webm").write_bytes(bytes(range(256)) * 40)


class Server(socketserver.ThreadingTCPServer):
    """Answers on threads until it is closed; its handlers find the facts in it."""

    daemon_threads = True
    allow_reuse_address = True

    def __init__(self, address, handler, **facts):
        super().__init__(address, handler)
        vars(self).update(facts)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *_):
        pass  # whoever plays may close early

    def close(self):
        self.shutdown()
        self.server_close()


class Site(http.server.BaseHTTPRequestHandler):
    """Serves the pages and the media, and lets a page look at its player and kill it."""

    protocol_version = "HTTP/1.1"

    def do_GET(self):
        path = pathlib.PurePath(urllib.parse.urlsplit(self.path).path)
        file = (MEDIA if path.parent.name == "media" else PAGES) / path.name
        status, data, headers = 200, b"", {"Accept-Ranges": "bytes"}
        if action := self.server.actions.get(str(path)):
            data = (action() or "").encode()
        elif file.with_suffix(".js").is_file() and file.suffix == ".html":
            data = (PAGE % path.stem).encode()
            headers["Content-Type"] = "text/html"
        elif not file.is_file():
            status = 404
        else:
            data = file.read_bytes()
            headers["Content-Type"] = mimetypes.guess_type(file)[0]
            if file.suffix == ".webm":
                self.server.agents.append(self.headers.get("User-Agent", "?"))
            if wanted := re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", "")):
                first, last = int(wanted[1]), min(int(wanted[2] or len(data)), len(data) - 1)
                headers["Content-Range"] = f"bytes {first}-{last}/{len(data)}"
                status, data = 206 if first <= last else 416, data[first:last + 1]
        self.send_response(status)
        for header in (*headers.items(), ("Content-Length", str(len(data)))):
            self.send_header(*header)
        self.end_headers()
        self.wfile.write(data)

    def log_message(self, *_):
        pass


class Dropper(socketserver.BaseRequestHandler):
    """Stands between browser and player, and keeps one command from the player: the browser gets
    the empty answer of a player that took it."""

    def handle(self):
        with socket.create_connection((self.server.player_address, COMMAND_PORT)) as player:
            while True:  # until one of them closes
                frame = receive_frame(self.request)
                if frame.startswith(b"\0\0\0G" + self.server.method.encode() + b"\0"):
                    self.server.dropped += 1
                    answer = EMPTY_RECORD
                else:
                    player.sendall(framed(frame))
                    answer = receive_frame(player)
                self.request.sendall(framed(answer))


class Stand(contextlib.ExitStack):
    """A player, a site, and a folder for what they leave."""

    def __init__(self, dropped=None, player=True):
        super().__init__()
        number = next(STANDS)
        self.folder = pathlib.Path(self.enter_context(
            tempfile.TemporaryDirectory(ignore_cleanup_errors=True)))
        self.player_address, self.browser_address, dropper_address = (
            f"127.1.{number}.{last}" for last in (1, 2, 3))
        self.environment = dict(os.environ, HBB_BROWSER_IP=self.browser_address,
                                HBB_SYSTEM_IP=self.player_address, HOME=str(self.folder),
                                XDG_RUNTIME_DIR=str(self.folder), GIO_USE_PROXY_RESOLVER="dummy")
        for name in "http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "DISPLAY":
            self.environment.pop(name, None)
        self.site = self.serve(("0.0.0.0", 0), Site, agents=[], actions={
            "/player/log": self.player_log, "/player/kill": self.kill_player,
            "/player/start": self.start_player,
            "/media/agents": lambda: "\n".join(self.site.agents)})
        self.players = []
        if player:
            self.start_player()
        if dropped:
            self.dropper = self.serve((dropper_address, COMMAND_PORT), Dropper, dropped=0,
                                      method=dropped, player_address=self.player_address)
            self.environment["HBB_SYSTEM_IP"] = dropper_address

    def serve(self, *arguments, **facts):
        return self.enter_context(contextlib.closing(Server(*arguments, **facts)))

    def start_player(self):
        self.players.append(self.enter_context(Player(
            PROGRAMS, self.folder, "--listen", self.player_address, "--browser",
            self.browser_address, engine="gstreamer", name=f"player{len(self.players)}")))
        wait_until(lambda: "engine listens" in self.player_log(), "the player listens")

    def kill_player(self):
        self.players[-1].kill()

    def player_log(self):
        return self.players[-1].log_text()

    def url(self, page):
        return f"http://127.0.0.1:{self.site.server_address[1]}/{page}"

    def start_browser(self, url, *options):
        with open(self.folder / "output", "ab") as output:
            return Process([PROGRAMS / "html5-video-web-browser", "--headless", *options, url],
                           self.folder, "browser", stdout=output, env=self.environment)

    def browse(self, url, *options, seconds=30):
        """Runs the browser to its end; returns the exit status and the page's lines."""
        with self.start_browser(url, "--timeout", str(seconds), *options) as browser:
            status = browser.child.wait(seconds + 10)
        return status, self.output()

    def output(self):
        return (self.folder / "output").read_text(errors="replace")


class Pages(unittest.TestCase):
    def test_each_page_passes_and_leaves_nothing_loaded(self):
        for page, *options in (("playing.html",), ("events.html",), ("elements.html",),
                               ("sites.html",), ("recovery.html",),
                               ("recovery.html#resume", "--resume")):
            with self.subTest(page), Stand() as stand:
                status, output = stand.browse(stand.url(page), *options)
                print(f"---- {page}\n{output}", flush=True)
                self.assertEqual(status, 0, (stand.folder / "browser.log").read_text()[-2000:])
                self.assertIn("RESULT PASS", output)
                log = stand.player_log()
                self.assertGreater(log.rfind(": cancelLoad"), log.rfind(": load "))


class Faults(unittest.TestCase):
    # The step of playing.html that notices that this command does not arrive.
    NOTICED = {"load": "metadata", "setSize": "size", "setVolume": "volume", "setMuted": "mute",
               "play": "pace 1", "setRate": "pace 2", "pause": "pause", "seek": "seek",
               "cancelLoad": "unload"}

    def drop(self, command):
        with Stand(dropped=command) as stand:
            status, output = stand.browse(stand.url("playing.html"))
            return command, stand.dropper.dropped, status, output

    def test_each_command_that_is_dropped_is_noticed(self):
        with concurrent.futures.ThreadPoolExecutor(3) as runs:
            for command, dropped, status, output in runs.map(self.drop, self.NOTICED):
                with self.subTest(command):
                    print(command, "dropped:", output.strip().splitlines()[-1], flush=True)
                    self.assertGreater(dropped, 0)
                    self.assertEqual(status, 1)
                    self.assertIn(f"RESULT FAIL {self.NOTICED[command]}:", output)


class Program(unittest.TestCase):
    """What the browser does beside playing. No player is needed."""

    def stand(self):
        return self.enterContext(Stand(player=False))

    def run_page(self, text, *options, seconds=10):
        stand = self.stand()
        (stand.folder / "page.html").write_text(text)
        return stand.browse("page.html", *options, seconds=seconds)

    def test_lines_and_the_status_of_a_result(self):
        status, output = self.run_page(
            "<script>console.log('one', 2); console.warn('three'); console.log('RESULT FAIL x');"
            "</script>")
        self.assertEqual(status, 1)
        self.assertRegex(output, r"(?s)(\A|\n)one 2\n.*WARN three  \(file://.*\nRESULT FAIL x\n")

    def test_a_script_is_run_when_the_page_is_read(self):
        script = MEDIA / "script.js"
        script.write_text("console.log('RESULT PASS', document.body.textContent)")
        status, output = self.run_page("<body>text</body>", "--script", script)
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

    def test_pages_that_can_not_be_loaded_or_take_too_long(self):
        self.assertEqual(self.run_page("<p>", seconds=1)[0], 3)
        stand = self.stand()
        self.assertEqual(stand.browse(stand.url("no_such_page.html"))[0], 1)
        stand.site.close()
        self.assertEqual(stand.browse(stand.url("playing.html"))[0], 1)
        self.assertEqual(stand.browse("page.html", "--unknown")[0], 2)

    def test_it_ends_when_it_is_told_to_and_when_the_engine_dies(self):
        for victim, how, status in (("web-browser", signal.SIGTERM, 0),
                                    ("WPEWebProcess", signal.SIGKILL, 4)):
            stand = self.stand()
            (stand.folder / "page.html").write_text("<script>console.log('here')</script>")
            with stand.start_browser("page.html") as browser:
                wait_until(lambda stand=stand: "here" in stand.output(), "the page runs")
                pid = browser.child.pid
                children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
                os.kill(next(int(process) for process in (pid, *children) if victim in
                             pathlib.Path(f"/proc/{process}/cmdline").read_text()), how)
                self.assertEqual(browser.child.wait(10), status)
