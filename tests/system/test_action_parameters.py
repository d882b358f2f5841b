"""Every parameter of every action once, as the API's document tells them."""

import unittest

from player_daemon import Daemon, PlayerMpd
from server import ANNA, PERSONAL, ROOT, SHARED, ServerTest, songs_of


class Parameters(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n")
        cls.mpd = PlayerMpd()
        cls.addClassCleanup(cls.mpd.stop)
        cls.mpd.fill([song.removeprefix(f"{ROOT}/library/") for song in cls.tracks[:2]])
        cls.daemon = Daemon()
        cls.addClassCleanup(cls.daemon.stop)

    def done(self, action, **parameters):
        answer = self.server.ask(action, **parameters)
        self.assertEqual(answer.status, 200, answer)
        if answer.body.startswith(b"{"):
            self.assertTrue(answer.success, answer)
        return answer

    def test_of_those_that_make_a_playlist(self):
        for overwrite in ("false", "true"):
            self.done("add", name="chosen", type="shared", id_info_list=["1"], overwrite=overwrite)
            self.done("addsearch", name="found", type="shared", category="all", keyword="a",
                      library="shared", sort="title", dir="DESC", overwrite=overwrite)
            made = self.done("addplaying", name="heard", type="shared", target="0",
                             overwrite=overwrite)
            self.done("duplicate", id=made.id, overwrite=overwrite)
        self.assertTrue(PERSONAL.file("heard").exists())

    def test_of_what_drops_missing_songs(self):
        made = self.server.add(SHARED, "with a loss", ["1", {"res": f"{ROOT}/library/gone.mp3"}])
        self.done("remove_missing", playlist_id=made.id)
        self.assertEqual(len(songs_of(SHARED.file("with a loss"))), 1)

    def test_of_a_download(self):
        made = self.server.add(SHARED, "to take along", ["1", "2"])
        for source in ({"playlist": made.id}, {"id_info_list": ["1", "2"]}, {"target": "0"},
                       {"playlist": "musiclib_random", "library": "shared"}):
            answer = self.done("download", filename="songs.zip", **source)
            self.assertTrue(answer.body.startswith(b"PK"), source)
            self.assertIn("songs.zip", answer.headers["Content-Disposition"])

    def test_nobody_is_told_so(self):
        answer = self.server.send(None, body="action=add&name=x",
                                  headers={"Content-Type": "application/x-www-form-urlencoded"})
        self.assertEqual((answer.status, answer.error), (401, "common/no_user"))
        self.assertEqual(self.server.ask("checkempty", ANNA, playlist="musiclib_random").status, 200)


if __name__ == "__main__":
    unittest.main()
