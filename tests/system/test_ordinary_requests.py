"""Nothing is thrown in an ordinary request: the first exception of a process costs as much as the
request. The program of these tests ends when something is thrown."""

import io
import signal
import unittest
import zipfile
from pathlib import Path

from server import KINDS, ROOT, RootTest, SHARED, cgi

RULES = '"Folk" {\n  genre is "Folk"\n}\n'


class Ordinary(RootTest):
    def ask(self, user, action, **parameters):
        status, answer = cgi(user, program="no_exceptions.cgi", action=action, **parameters)
        self.assertGreaterEqual(status, 0, action)
        self.assertIsNotNone(answer, f"{action}: status {status}")
        return answer

    def succeed(self, user, action, **parameters):
        answer = self.ask(user, action, **parameters)
        self.assertTrue(answer.success, (action, answer))
        return answer

    def live(self, kind):
        """The life of a playlist."""
        def act(action, **parameters):
            return self.succeed(kind.user, action, **parameters)

        ids = [str(id_) for id_ in range(1, 6)]
        list_ = act("add", name="list", type=kind.type, id_info_list=ids).id
        act("add", name="empty", type=kind.type)
        act("add", name="list", type=kind.type, id_info_list=ids[1:], overwrite="true")
        act("addsearch", name="found", type=kind.type, category="all", keyword="a")
        act("addsearch", name="none", type=kind.type, category="title", keyword="no such song")
        act("addsongs", playlist=list_, id_info_list=ids)
        act("addsongs", playlist=list_, id_info_list=[{"res": "http://radio/"}])
        act("update", playlist=list_, id_info_list=ids[:2], start="0", limit="3")
        act("removesongs", playlist=list_, seq_list="0,2")
        act("remove_missing", playlist_id=list_)
        act("checkempty", playlist=list_)
        (ROOT / f"tmp/playing_{kind.user}.pls").write_text("[playlist]\nFile1=http://radio/1\n")
        act("addplaying", name="queue", type=kind.type, target="stream")
        act("duplicate", id=list_)
        act("duplicate", id=list_, overwrite="true")
        self.assertEqual(self.ask(kind.user, "add", name="list", type=kind.type).error,
                         "playlist/playlist_name_exist")
        renamed = act("saveplsname", id=list_, name="renamed")
        act("delete", playlists=list_ if kind.indexed else renamed.json["id"].replace(
            "/list", "/renamed"))

    def test_the_life_of_a_playlist(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                for each in KINDS:
                    for file in each.folder.glob("*.m3u"):
                        file.unlink()
                self.live(kind)

    def test_downloads(self):
        song = self.ask(SHARED.user, "download", id_info_list=[{"res": self.tracks[0]}])
        self.assertEqual(song.body, Path(self.tracks[0]).read_bytes())
        list_ = self.succeed(SHARED.user, "add", name="mix", type="shared",
                             id_info_list=["1", "2"]).id
        for parameters, songs in (({"id_info_list": ["1", "2"]}, 2), ({"playlist": list_}, 2),
                                  ({"playlist": "musiclib_random"}, len(self.tracks))):
            archive = self.ask(SHARED.user, "download", **parameters)
            names = zipfile.ZipFile(io.BytesIO(archive.body)).namelist()
            self.assertEqual(len(names), songs + 2, names)

    def test_what_throws_ends_the_program(self):
        status, answer = cgi(SHARED.user, program="no_exceptions.cgi", action="removesongs",
                             playlist="musiclib_music_shared/playlist/9999", seq_list="0")
        self.assertEqual((status, answer), (-signal.SIGABRT, None))

    def test_the_life_of_a_smart_playlist(self):
        (ROOT / "etc/mt-daapd.playlist").write_text(RULES)
        smart = "musiclib_music_shared/smart/Folk"
        self.succeed(SHARED.user, "checkempty", playlist=smart)
        self.succeed(SHARED.user, "duplicate", id=smart)
        self.succeed(SHARED.user, "delete", smartPlaylists=smart)


if __name__ == "__main__":
    unittest.main()
