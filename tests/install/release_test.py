"""The release script, in a repository of its own: what it refuses, and what it writes."""

import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import tarfile
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["SOURCE"])


def output_of(*command, cwd):
    return subprocess.run(command, cwd=cwd, check=True, text=True, stdout=subprocess.PIPE).stdout


class Release(unittest.TestCase):
    def setUp(self):
        self.tree = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "tree"
        names = output_of("git", "ls-files", "--cached", "--others", "--exclude-standard",
                          cwd=SOURCE).splitlines()
        for name in filter(lambda name: (SOURCE / name).is_file(), names):
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
        return subprocess.run([self.tree / "scripts/release", version or self.version,
                               "--skip-suites"], capture_output=True, text=True)

    def refuses(self, reason, version=None):
        done = self.release(version)
        self.assertEqual(done.returncode, 1, done)
        self.assertIn(reason, done.stderr)
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
        done = self.release()  # it writes two and compares them
        self.assertEqual(done.returncode, 0, done)
        self.assertIn("NOT A RELEASE", done.stdout + done.stderr)
        (tarball,) = self.tree.glob("build/*.tar.*")
        self.assertIn("unchecked", tarball.name)
        self.assertIn(hashlib.sha256(tarball.read_bytes()).hexdigest(), done.stdout)
        with tarfile.open(tarball) as archive:
            names = {member.name for member in archive if member.isfile()}
        self.assertEqual(names, {f"html5_video-{self.version}/{name}"
                                 for name in self.git("ls-files").split()})
