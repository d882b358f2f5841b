"""A disk that is full or fails, a folder that cannot be written, a database locked or damaged."""

import contextlib
import os
import shutil
import sqlite3
import subprocess
import unittest

import faults
from server import KINDS, LIBRARY, ROOT, SHARED, RootTest, cgi, objects, playlistctl, run, songs_of

INDEX = ROOT / "var/lib/vexo/index.db"
OLD, NEW = ["http://old/1", "http://old/2"], ["http://new/1", "http://new/2", "http://new/3"]
WRITING = {"write", "writev", "pwrite64", "fsync", "fdatasync", "openat", "ftruncate", "fallocate",
           "rename", "renameat", "renameat2", "linkat", "unlink"}
# Whatever user runs the tests, file permissions hold for this process.
POWERLESS = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"] if os.geteuid() == 0 else []


def add(kind, name, songs, wrapper=(), **parameters):
    _, answer = cgi(kind.user, wrapper, action="add", name=name, type=kind.type,
                    id_info_list=objects(*songs), **parameters)
    return answer


@contextlib.contextmanager
def damaged_index():
    good = INDEX.read_bytes()
    logs = {file: file.read_bytes() for file in INDEX.parent.glob(f"{INDEX.name}-*")}
    for file in logs:
        file.unlink()
    INDEX.write_bytes(b"garbage" * 1000)
    try:
        yield
    finally:
        for file, content in {INDEX: good, **logs}.items():
            file.write_bytes(content)


class FailingDisk(RootTest):
    def walk(self, error):
        """Overwrites a playlist with each writing system call failing once."""
        for kind in KINDS:
            self.assertTrue(add(kind, error, OLD).success)
            request = {"action": "add", "name": error, "type": kind.type, "overwrite": "true",
                       "id_info_list": objects(*NEW)}
            counts = faults.system_calls(kind.user, **request)
            failed = 0
            for call, number in faults.steps(counts, WRITING):
                add(kind, error, OLD, overwrite="true")
                answer = add(kind, error, NEW, faults.failing_at(call, number, error),
                             overwrite="true")
                failed += not (answer and answer.success)
                with self.subTest(f"{kind.name}, {call} {number}"):
                    self.check(answer, songs_of(kind.file(error)))
            self.assertGreater(failed, 0)

    def check(self, answer, songs):
        if answer is None:
            self.assertIn(songs, (OLD, NEW))
        elif answer.success:
            self.assertEqual(songs, NEW)
        else:
            self.assertEqual(answer.error, "common/error_system")
            self.assertIn(songs, (OLD, NEW))

    def test_a_full_disk_leaves_the_old_list_or_the_new_one(self):
        self.walk("ENOSPC")

    def test_a_disk_that_fails_leaves_the_old_list_or_the_new_one(self):
        self.walk("EIO")

    def test_a_disk_that_stays_full_is_an_error_and_changes_nothing(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                add(kind, "full", OLD)
                always = ["strace", "-qq", "-o", "/dev/null", "-P", kind.folder, "-e",
                          "inject=openat,linkat,renameat2,rename:error=ENOSPC"]
                answer = add(kind, "full", NEW, always, overwrite="true")
                self.assertEqual(answer.error, "common/error_system")
                self.assertEqual(songs_of(kind.file("full")), OLD)


class FullDisk(RootTest):
    """Everything lies on one small disk, which is full."""

    SIZE, PLACES = "1m", (ROOT / "var/lib/vexo", LIBRARY)

    def setUp(self):
        self.disk = ROOT / "disk"
        self.disk.mkdir()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={self.SIZE}", "tmpfs",
                                  self.disk], stderr=subprocess.DEVNULL, check=False)
        if mounted.returncode:
            self.skipTest("no disk can be mounted")
        self.addCleanup(run, "umount", self.disk)
        for place in self.PLACES:
            shutil.copytree(place, self.disk / place.name, symlinks=True,
                            ignore=shutil.ignore_patterns("*.flac", "*.mp3", "*.ogg", "*.opus"))
            shutil.rmtree(place)
            place.symlink_to(self.disk / place.name)
        playlistctl("doctor", "--repair")

    def test_a_playlist_can_be_deleted(self):
        ids = [add(SHARED, f"list {number}", OLD).id for number in range(12)]
        for emptied in range(len(ids)):
            with self.subTest(emptied):
                fill = self.disk / "fill"
                with open(fill, "wb", 0) as rest, self.assertRaises(OSError):
                    while True:
                        rest.write(bytes(4096))
                _, answer = cgi(SHARED.user, action="delete", playlists=ids[emptied])
                self.assertTrue(answer.success, answer)
                self.assertFalse(SHARED.file(f"list {emptied}").exists())
                fill.unlink()
                self.assertEqual(add(SHARED, f"more {emptied}", NEW).success, True)


class ReadOnlyFolder(RootTest):
    def test_nothing_is_written_and_the_answer_is_an_error(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                add(kind, "list", OLD)
                kind.folder.chmod(0o555)
                try:
                    for name, overwrite in (("new", "false"), ("list", "true")):
                        answer = add(kind, name, NEW, POWERLESS, overwrite=overwrite)
                        self.assertEqual(answer.error, "common/error_system")
                finally:
                    kind.folder.chmod(0o777)
                self.assertEqual(songs_of(kind.file("list")), OLD)
                self.assertFalse(kind.file("new").exists())


class Database(RootTest):
    INDEXED = [kind for kind in KINDS if kind.indexed]

    def setUp(self):
        for kind in KINDS:
            add(kind, "list", OLD, overwrite=str(kind.file("list").exists()).lower())

    def assert_refused(self, kind, name):
        answer = add(kind, name, NEW)
        self.assertEqual(answer.error, "common/error_system")
        self.assertEqual(songs_of(kind.file("list")), OLD)

    def test_a_locked_database_is_an_error_and_what_was_there_stays(self):
        lock = sqlite3.connect(INDEX, isolation_level=None)
        lock.execute("BEGIN EXCLUSIVE")
        try:
            for kind in self.INDEXED:
                self.assert_refused(kind, "while locked")
        finally:
            lock.execute("ROLLBACK")
            lock.close()
        playlistctl("doctor", "--repair")
        for kind in self.INDEXED:
            self.assertTrue(add(kind, "while locked", NEW, overwrite="true").success)

    def test_a_damaged_database_is_an_error_and_what_was_there_stays(self):
        good = INDEX.read_bytes()
        for suffix in ("-wal", "-shm"):
            INDEX.with_name(INDEX.name + suffix).unlink(missing_ok=True)
        for description, bad in (("garbage", b"garbage" * 1000), ("cut short", good[:3000]),
                                 ("zeroes within", good[:4096] + bytes(len(good) - 4096))):
            INDEX.write_bytes(bad)
            with self.subTest(description):
                for kind in self.INDEXED:
                    self.assert_refused(kind, f"damaged, {description}")
                self.assertEqual(INDEX.read_bytes()[:3000], bad[:3000])
        INDEX.write_bytes(good)

    def test_a_search_that_fails_empties_no_list(self):
        kind = KINDS[2]  # whose playlists need no row, so that the search is what fails first
        with damaged_index():
            for name, overwrite in (("list", "true"), ("found", "false")):
                _, answer = cgi(kind.user, action="addsearch", name=name, type=kind.type,
                                category="all", keyword="a", overwrite=overwrite)
                self.assertEqual(answer.error, "common/error_system")
        self.assertEqual(songs_of(kind.file("list")), OLD)
        self.assertFalse(kind.file("found").exists())

    def test_a_rename_that_does_not_find_its_row_is_an_error(self):
        for kind in self.INDEXED:
            id_ = add(kind, f"to rename {kind.name}", OLD).id
            with self.subTest(kind.name), damaged_index():
                _, answer = cgi(kind.user, action="saveplsname", id=id_, name="renamed")
                self.assertEqual(answer.error, "common/error_system")
                self.assertNotIn("name", answer.json)
                self.assertFalse(kind.file("renamed").exists())

    def test_a_copy_of_a_list_that_cannot_be_read_is_an_error(self):
        source, target = KINDS[0], KINDS[2]
        copies = (("list", "true"), ("only here", "false"), ("only here", "false"))
        for name, overwrite in copies:
            id_ = add(source, name, NEW, overwrite=str(source.file(name).exists()).lower()).id
            source.file(name).chmod(0)
            with self.subTest(overwrite=overwrite):
                _, answer = cgi(target.user, POWERLESS, action="duplicate", id=id_,
                                overwrite=overwrite)
                self.assertEqual(answer.error, "common/error_system")
            source.file(name).chmod(0o666)
        self.assertEqual(songs_of(target.file("list")), OLD)
        self.assertFalse(target.file("only here").exists())

    def test_a_preference_folder_needs_no_database(self):
        kind = KINDS[2]
        away = INDEX.with_suffix(".away")
        os.rename(INDEX, away)
        try:
            self.assertTrue(add(kind, "without", NEW).success)
        finally:
            os.rename(away, INDEX)


if __name__ == "__main__":
    unittest.main()
