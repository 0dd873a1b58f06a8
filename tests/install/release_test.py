"""The release script, in a repository of its own: what it refuses, and what it writes.

    release_test.py SOURCE
"""
import hashlib
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv.pop(1))


def output_of(*command, cwd):
    return subprocess.run(command, cwd=cwd, check=True, text=True, stdout=subprocess.PIPE).stdout


class Release(unittest.TestCase):
    def setUp(self):
        self.tree = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "tree"
        files = output_of("git", "ls-files", "-z", "--cached", "--others", "--exclude-standard",
                          cwd=SOURCE)
        for name in files.split("\0"):
            if (SOURCE / name).is_file():
                (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(SOURCE / name, self.tree / name)
        text = (self.tree / "CMakeLists.txt").read_text()
        self.version = re.search(r"VERSION (\S+)", text.split("project(")[1]).group(1)
        self.heading = f"## [{self.version}] - 2026-01-02\n\n- All of it.\n"
        self.change("CHANGELOG.md", f"# Changes\n\n## [Unreleased]\n\n{self.heading}")
        self.git("init", "--quiet")
        self.commit()

    def git(self, *words):
        return output_of("git", "-c", "user.name=test", "-c", "user.email=test@example.org", *words,
                         cwd=self.tree)

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "a state")

    def change(self, name, text):
        (self.tree / name).write_text(text)

    def release(self, version=None):
        done = subprocess.run([self.tree / "scripts/release", version or self.version,
                               "--skip-suites"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True)
        return done.returncode, done.stdout

    def refuses(self, reason, version=None):
        status, output = self.release(version)
        self.assertEqual(status, 1, output)
        self.assertIn(reason, output)
        self.assertEqual(list(self.tree.glob("build/*.tar.*")), [])

    def test_what_is_refused(self):
        self.refuses("a version has three numbers", "1.0")
        self.refuses(f"CMakeLists.txt has version {self.version}", "1.99.0")
        self.change("stray", "")
        self.refuses("not as committed")
        (self.tree / "stray").unlink()
        self.change("debian/libhtml5-video1.symbols", " Later@HTML5_VIDEO_1 1.99.0\n")
        self.commit()
        self.refuses("has symbols of 1.99.0")
        self.git("revert", "--no-edit", "HEAD")
        self.change("CHANGELOG.md", f"## [Unreleased]\n\n- More.\n\n{self.heading}")
        self.refuses("something above the section")
        self.change("CHANGELOG.md", f"## {self.version}, not yet released\n")
        self.refuses("has no section")

    def test_the_tarball_is_the_commit_and_builds_without_git(self):
        status, output = self.release()  # it writes two and compares them
        self.assertEqual(status, 0, output)
        self.assertIn("NOT A RELEASE", output)
        (tarball,) = self.tree.glob("build/*.tar.*")
        self.assertIn("unchecked", tarball.name)
        self.assertIn(hashlib.sha256(tarball.read_bytes()).hexdigest(), output)
        with tarfile.open(tarball) as archive:
            names = {member.name for member in archive if member.isfile()}
        committed = self.git("ls-files").split()
        self.assertEqual(names, {f"html5_video-{self.version}/{name}" for name in committed})
