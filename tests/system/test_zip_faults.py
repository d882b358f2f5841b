"""The zip tool on a disk that fails: an archive has every song, or it is visibly broken."""

import os
import subprocess
import unittest
import zipfile
from pathlib import Path

import faults
from server import ANNA, ROOT, RootTest

READING = {"openat", "open", "fstat", "newfstatat", "statx", "read", "pread64", "readlink",
           "readlinkat", "splice", "write"}
END_OF_DIRECTORY = b"PK\x05\x06"


class FailingDisk(RootTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.folder = ROOT / "tmp/audiodlTest"
        cls.folder.mkdir()
        songs = [Path(track) for track in cls.tracks[:2]]
        for song in songs:
            (cls.folder / song.name).symlink_to(song)
        cls.names = [*(song.name for song in songs), "playlist.m3u", "playlist.m3u8"]
        for name in cls.names[2:]:
            (cls.folder / name).write_text("".join(f"{song.name}\n" for song in songs))
        (cls.folder / "names").write_text("".join(f"{name}\n" for name in cls.names))

    def archive(self, wrapper=()):
        """Runs the tool. Gives its exit status; what it wrote is in `archive.zip`."""
        with open(self.folder / "names", "rb") as names, open(ROOT / "archive.zip", "wb") as output:
            return subprocess.run(
                [*wrapper, ROOT / "usr/vexo/bin/zip", "-q", "-0", "-G", "-r", "-@", "-"],
                stdin=names, stdout=output, stderr=subprocess.DEVNULL, cwd=self.folder,
                env={**os.environ, "REMOTE_USER": ANNA}, timeout=60, check=False).returncode

    def test_no_failure_leaves_a_song_out_silently(self):
        self.assertEqual(self.archive(), 0)
        broken = 0
        for call, number in faults.steps(faults.count_calls(self.archive), READING):
            with self.subTest(f"{call} {number}"):
                status = self.archive(faults.failing_at(call, number, "EIO"))
                if status:
                    broken += 1
                    self.assertNotIn(END_OF_DIRECTORY, (ROOT / "archive.zip").read_bytes())
                else:
                    with zipfile.ZipFile(ROOT / "archive.zip") as archive:
                        self.assertEqual(archive.namelist(), self.names)
                        self.assertIsNone(archive.testzip())
        self.assertGreater(broken, 10)


if __name__ == "__main__":
    unittest.main()
