"""remove_missing: what is certainly gone is dropped, and nothing else."""

import os
import unittest

from server import KINDS, LIBRARY, PREFERENCE, ROOT, SHARED, RootTest, cgi, playlistctl, songs_of
from test_faults import POWERLESS

STREAM = "http://radio.example/live"


class RemoveMissing(RootTest):
    def setUp(self):
        self.songs = [str(LIBRARY / f"song {n}.mp3") for n in range(4)]
        for song in self.songs:
            with open(song, "w", encoding="ascii") as file:
                file.write(song)

    def make(self, kind, name):
        entries = [{"res": song} for song in (self.songs[0], STREAM, *self.songs[1:])]
        _, answer = cgi(kind.user, action="add", name=name, type=kind.type, id_info_list=entries)
        return answer.id

    def remove_missing(self, kind, id_, wrapper=()):
        return cgi(kind.user, wrapper, action="remove_missing", playlist_id=id_)[1]

    def test_exactly_the_files_that_are_gone_are_dropped(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                self.setUp()
                id_ = self.make(kind, "some gone")
                os.unlink(self.songs[1])
                os.unlink(self.songs[3])
                self.assertTrue(self.remove_missing(kind, id_).success)
                self.assertEqual(songs_of(kind.file("some gone")),
                                 [self.songs[0], STREAM, self.songs[2]])

    def test_what_was_dropped_is_in_the_administrative_log(self):
        id_ = self.make(SHARED, "told")
        os.unlink(self.songs[2])
        self.remove_missing(SHARED, id_)
        log = [line for line in playlistctl("log").splitlines() if "told.m3u" in line]
        self.assertEqual(len(log), 1, log)
        self.assertIn(self.songs[2], log[0])

    def test_a_library_that_is_not_mounted_changes_nothing_and_is_an_error(self):
        for description, leave in (("no folder", lambda: None), ("an empty folder", LIBRARY.mkdir)):
            with self.subTest(description):
                id_ = self.make(PREFERENCE, description)
                away = ROOT / "away"
                os.rename(LIBRARY, away)
                try:
                    leave()
                    answer = self.remove_missing(PREFERENCE, id_)
                finally:
                    if LIBRARY.exists():
                        LIBRARY.rmdir()
                    os.rename(away, LIBRARY)
                self.assertEqual(answer.error, "common/error_system")
                self.assertEqual(len(songs_of(PREFERENCE.file(description))), 5)

    def test_a_library_that_cannot_be_read_changes_nothing(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                id_ = self.make(kind, "unreadable")
                LIBRARY.chmod(0)
                try:
                    self.remove_missing(kind, id_, POWERLESS)
                finally:
                    LIBRARY.chmod(0o755)
                self.assertEqual(len(songs_of(kind.file("unreadable"))), 5)

    def test_a_folder_that_cannot_be_read_keeps_its_songs(self):
        closed = LIBRARY / "closed"
        closed.mkdir()
        entries = [{"res": str(closed / "song.mp3")}, {"res": self.songs[0]}]
        _, made = cgi(SHARED.user, action="add", name="closed", type="shared", id_info_list=entries)
        closed.chmod(0)
        try:
            self.assertTrue(self.remove_missing(SHARED, made.id, POWERLESS).success)
        finally:
            closed.chmod(0o755)
        self.assertEqual(len(songs_of(SHARED.file("closed"))), 2)


if __name__ == "__main__":
    unittest.main()
