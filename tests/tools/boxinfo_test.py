"""The program that shows what the platform layer knows, as a user runs it."""

import json
import os
import pathlib

from tools_case import ToolsTest

SHA1 = "f7c3bc1d808e04732adf679965ccc34ca7ae3441"  # of 123456789


class BoxInfo(ToolsTest):
    def ask(self, *question, **options):
        return self.run_to_end("boxinfo", *question, **options).stdout

    def test_the_facts_of_this_machine(self):
        (self.directory / "film").write_text("123456789")
        own = pathlib.Path("/proc/self/cmdline").read_text().split("\0")[0]
        # Nothing but the object is written.
        facts = json.loads(self.ask("--json", "-p", "-s", "/", "-r", own, "-c", "film"))
        self.assertIsInstance(facts["partitions"], list)
        root = os.statvfs("/")
        self.assertEqual(facts["fileSystems"][0]["totalBytes"], root.f_bsize * root.f_blocks)
        self.assertEqual((facts["processes"][0]["running"], facts["mounts"]), (True, []))
        self.assertEqual(facts["checksums"][0]["sha1"], SHA1)
        self.assertIn(f"sha1 {SHA1}  crc32/mpeg2 0376e6e7", self.ask("-c", "film"))
        name = os.fsdecode(b"\xff\xfe")  # which is no text
        (self.directory / name).touch()
        json.loads(self.ask("--json", "-c", name))
        self.assertIn("Partitions\n", self.ask())

    def test_what_is_missing_is_shown_and_ends_with_1(self):
        for question in (("-s", "absent"), ("-c", "absent"), ("-c", "."), ("-m", "/dev/absent"),
                         ("-r", "/absent/program")):
            self.ask(*question, status=1)
            json.loads(self.ask("--json", *question, status=1))
        self.assertIn("cannot be read", self.ask("-c", "absent", status=1))
        with open("/dev/full", "w") as full:  # an answer that cannot be written
            self.ask("-p", status=1, stdout=full)
