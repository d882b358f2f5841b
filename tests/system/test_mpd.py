"""Playlists go to and fro between the program and MPD, as files in the shared playlists folder."""

import unittest

from mpd import Mpd
from server import LIBRARY, PREFERENCE, SHARED, ServerTest, playlistctl, songs_of

STREAM = "http://radio.example/live"


class ThroughMpd(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        SHARED.folder.mkdir(exist_ok=True)
        cls.mpd = Mpd()
        cls.addClassCleanup(cls.mpd.stop)
        cls.mpd.mpc("--wait", "update")

    def setUp(self):
        self.mpd.mpc("clear")

    def test_mpd_loads_what_add_has_made(self):
        ids = [str(number) for number in (5, 3, 12, 1, 2, 4, 6, 7, 8, 9, 10, 11)]
        self.assertTrue(self.server.add(SHARED, "for mpd", [*ids, {"res": STREAM}]).success)
        self.mpd.mpc("load", "for mpd")
        below = [song.removeprefix(f"{LIBRARY}/") for song in songs_of(SHARED.file("for mpd"))]
        self.assertEqual(len(below), 13)
        self.assertEqual(self.mpd.queue(), below)

    def test_what_mpd_has_saved_is_read(self):
        songs = [song.removeprefix(f"{LIBRARY}/") for song in self.tracks[::-1]]
        for song in songs:
            self.mpd.mpc("add", song)
        self.mpd.mpc("add", STREAM)
        self.mpd.mpc("save", "of mpd")
        id_ = self.take_in("of mpd")
        self.assertFalse(self.server.ask("checkempty", playlist=id_).json["isEmpty"])
        self.assertTrue(self.server.ask("duplicate", PREFERENCE.user, id=id_).success)
        self.assertEqual([song.removeprefix(f"{LIBRARY}/")
                          for song in songs_of(PREFERENCE.file("of mpd"))], [*songs, STREAM])

    def test_an_edit_of_what_mpd_has_saved_is_loaded_by_mpd(self):
        songs = [song.removeprefix(f"{LIBRARY}/") for song in self.tracks]
        for song in songs:
            self.mpd.mpc("add", song)
        self.mpd.mpc("save", "edited")
        self.assertTrue(self.server.ask("removesongs", playlist=self.take_in("edited"),
                                        seq_list="0,2").success)
        self.mpd.mpc("clear")
        self.mpd.mpc("load", "edited")
        self.assertEqual(self.mpd.queue(), [songs[1], *songs[3:]])

    def take_in(self, name):
        """Gives a file that somebody else has made its row, and tells its id."""
        playlistctl("scan")
        answer = self.server.add(SHARED, name, overwrite="true")
        self.assertTrue(answer.success, answer)
        return answer.id


if __name__ == "__main__":
    unittest.main()
