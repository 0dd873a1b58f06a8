#!/usr/bin/env python3
"""Kills the player at random moments while the browser stand-in plays, again and again.

Each time the browser must recover: the next player's position advances. Every status seen must be
one whole report: the player reports the file's size and position together with the times, so that
with the clock engine the ratio of the offset to the size is that of the position to the duration.
"""

import argparse
import pathlib
import random
import sys
import tempfile
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "lib"))
import stand  # noqa: E402

SIZE = 1000000  # bytes of the media file; its content does not matter to the clock engine


def is_whole(status):
    """A status before the first report is all zeros; later ones agree in themselves."""
    duration, total = status["duration"], status["totalBytes"]
    if duration == 0 or total == 0:
        return True
    return abs(status["currentOffset"] / total - status["position"] / duration) < 0.02


def play_and_kill(programs, directory, media, browser, generator):
    """One life of a player; the number of statuses looked at."""
    looked = 0
    with stand.Player(programs, directory) as player:
        browser.tell(f"load {media}", "play")
        start = browser.until("a new player's position",
                              lambda s: s["position"] > 0 and s["totalBytes"] == SIZE, 20)
        end = time.monotonic() + generator.uniform(0.0, 0.4)
        while looked == 0 or time.monotonic() < end:
            status = browser.status()
            if not is_whole(status):
                raise stand.Failure(f"a mixture of two reports: {status} after {start}")
            looked += 1
        player.kill()
    return looked


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", type=pathlib.Path, required=True)
    parser.add_argument("--kills", type=int, default=200)
    options = parser.parse_args()
    generator = random.Random(20261124)
    looked = 0
    begin = time.monotonic()
    with tempfile.TemporaryDirectory() as directory:
        media = pathlib.Path(directory) / "media.bin"
        media.write_bytes(bytes(SIZE))
        with stand.Browser(options.programs.resolve(), directory) as browser:
            for kill in range(options.kills):
                try:
                    looked += play_and_kill(options.programs.resolve(), directory, media, browser,
                                            generator)
                except stand.Failure as failure:
                    logs = "".join(f"\n{log.name}: ...{log.read_text(errors='replace')[-3000:]}"
                                   for log in pathlib.Path(directory).glob("*.log"))
                    raise stand.Failure(f"player {kill}: {failure}{logs}") from None
            browser.quit()
    print(f"players killed: {options.kills}, recovered each time; "
          f"{looked} statuses, none a mixture; {time.monotonic() - begin:.0f} s")


if __name__ == "__main__":
    try:
        main()
    except stand.Failure as failure:
        sys.exit(f"kill_player: {failure}")
