"""Compares the library's binary interface with the two files that hold it, or writes these anew."""

import argparse
import difflib
import lzma
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
SYMBOLS = ROOT / "debian/libhtml5-video1.symbols"
DESCRIPTION = ROOT / "docs/abi/libhtml5_video.abi.xz"
HEAD = """\
libhtml5_video.so.1 libhtml5-video1 #MINVER#
* Build-Depends-Package: libhtml5-video-dev
"""
# What headers of others declare is theirs to keep.
SUPPRESSIONS = """\
[suppress_type]
  name_regexp = ^(std|__gnu_cxx)::
  drop = yes
"""


def output_of(*command, **options):
    return subprocess.run([str(word) for word in command], cwd=ROOT, text=True, check=True,
                          stdout=subprocess.PIPE, **options).stdout


def project_version():
    return re.search(r"^project\(\S+ VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(),
                     re.M).group(1)


def exported(library):
    """The entries of a symbols file, less what comes before and after the names."""
    listed = output_of("readelf", "--dyn-syms", "--wide", library)
    mangled = re.findall(r" (?:GLOBAL|WEAK) +DEFAULT +(?!UND)\w+ (\S+)@@(\S+)$", listed, re.M)
    readable = output_of("c++filt", input="\n".join(name for name, _ in mangled)).splitlines()
    return {f"{name}@{version}" if name == symbol else f'"{name}@{version}"'
            for name, (symbol, version) in zip(readable, mangled)
            } | {f"{version}@{version}" for _, version in mangled}


def symbols_file(library, library_arm):
    """Debian's list of both. A symbol keeps the version that first had it."""
    before = SYMBOLS.read_text() if SYMBOLS.exists() else ""
    since = dict(re.findall(r'^ (?:\([^)]*\))?(".*"|\S+) (\S+)$', before, re.M))
    wide, narrow = exported(library), exported(library_arm)
    lines = []
    for entry in sorted(wide | narrow):
        tags = ["c++"] if entry.startswith('"') else []
        if entry not in wide & narrow:
            tags.append(f"arch-bits={64 if entry in wide else 32}")
        shown = f"({'|'.join(tags)}){entry}" if tags else entry
        lines.append(f" {shown} {since.get(entry, project_version())}\n")
    return HEAD + "".join(lines)


def described(library, folder):
    """The interface of a library with debugging information: symbols, and the types of the public
    headers. No path is in it."""
    headers = folder / "headers"
    headers.mkdir()
    for path in (*ROOT.glob("html5_video/*.h"), *ROOT.glob("util/**/*.h")):
        if re.match(r"(//|/\*) Public\. ", path.read_text()):
            (headers / path.name).symlink_to(path)
    suppressions = folder / "suppressions"
    suppressions.write_text(SUPPRESSIONS)
    return output_of("abidw", "--exported-interfaces-only", "--drop-private-types",
                     "--headers-dir", headers, "--suppressions", suppressions, "--no-show-locs",
                     "--no-corpus-path", "--no-comp-dir-path", "--no-elf-needed",
                     "--no-parameter-names", "--no-write-default-sizes", "--type-id-style", "hash",
                     library)


def same_symbols(symbols):
    before = SYMBOLS.read_text()
    sys.stdout.writelines(difflib.unified_diff(before.splitlines(True), symbols.splitlines(True),
                                               "in the file", "exported"))
    return before == symbols


def same_description(description, folder, options):
    before, now = folder / "released.abi", folder / "now.abi"
    before.write_bytes(lzma.decompress(DESCRIPTION.read_bytes()))
    now.write_text(description)
    return subprocess.run(["abidiff", *options, before, now]).returncode == 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--described", type=pathlib.Path, required=True)
    parser.add_argument("--library", type=pathlib.Path, required=True)
    parser.add_argument("--library-arm", type=pathlib.Path, required=True)
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--released", action="store_true")
    arguments = parser.parse_args()
    symbols = symbols_file(arguments.library, arguments.library_arm)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        description = described(arguments.described, folder)
        if arguments.write:
            SYMBOLS.write_text(symbols)
            DESCRIPTION.write_bytes(lzma.compress(description.encode(),
                                                  preset=9 | lzma.PRESET_EXTREME))
            print(f"{symbols.count(chr(10)) - 2} symbols and the description, written")
            return 0
        # A list, so that both are told of.
        same = [same_symbols(symbols),
                same_description(description, folder,
                                 [] if arguments.released else ["--no-added-syms"])]
    if all(same):
        print("the binary interface is that of the last release")
        return 0
    print("a change that means this writes the files anew: scripts/abi --write", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
