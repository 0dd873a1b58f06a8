"""A browser built for the box's processor, under emulation, drives a player built for this machine.

Usage: other_processor_test.py PLAYER BROWSER-COMMAND...
Exit status 77, which CTest lists as skipped, without the player: the release preset builds it.
"""

import pathlib
import subprocess
import sys
import tempfile

SECONDS = 2  # of the clock engine's media


def main(player, *browser):
    if not pathlib.Path(player).exists():
        print(f"skipped: {player} is not built")
        return 77
    # The ELF headers' e_machine: 62 is x86-64, 40 is ARM.
    if len({pathlib.Path(program).read_bytes()[18:20] for program in (player, browser[-1])}) == 1:
        print("both are for the same processor")
        return 1
    with tempfile.TemporaryDirectory() as directory:
        with subprocess.Popen([player, "--engine", "clock", "--headless"], cwd=directory,
                              stderr=subprocess.DEVNULL) as playing:
            try:
                output = subprocess.check_output([*browser, f"clock:{SECONDS}"], cwd=directory,
                                                 timeout=60, text=True)
            finally:
                playing.terminate()
    print(output.replace("\r", "\n"))
    last = output.split("\r")[-1]
    return 0 if f"{SECONDS}.0 of {SECONDS}.0 s" in last and "ended" in last else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
