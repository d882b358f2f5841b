"""A device whose texts are in a code page: old playlists are read, and keep their bytes."""

import io
import shutil
import unittest
import zipfile

from server import ANNA, LIBRARY, PERSONAL, ROOT, SHARED, ServerTest, encode, playlistctl, songs_of

ENCODING = "cp932"
# The second byte of the first character is a backslash.
SONG = LIBRARY / "\u8868/\u6b4c.flac"
OLD = "#EXTM3U\r\n# \u30e1\u30e2\r\n#EXTINF:5,\u6b4c\u624b - \u6b4c\r\n../\u8868/\u6b4c.flac\r\n".encode(
    ENCODING)


class CodePage(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        (ROOT / "etc/vexo/playlist.conf").write_text("[texts]\ncode_page=932\n")
        SONG.parent.mkdir()
        shutil.copy(next(track for track in cls.tracks if track.endswith(".flac")), SONG)
        playlistctl("scan")

    def old_playlist(self, name):
        """A playlist as another program of this device has written it: its file and its id."""
        id_ = self.server.add(SHARED, name).id
        SHARED.file(name).write_bytes(OLD)
        return SHARED.file(name), id_

    def test_a_copy_has_the_song_in_utf8(self):
        _, id_ = self.old_playlist("copied")
        self.assertTrue(self.server.ask("duplicate", id=id_).success)
        self.assertEqual(songs_of(PERSONAL.file("copied")), [str(SONG)])

    def test_an_edit_keeps_every_byte_of_the_rest(self):
        file, id_ = self.old_playlist("edited")
        self.assertTrue(self.server.ask("addsongs", playlist=id_,
                                        id_info_list=[{"res": self.tracks[0]}]).success)
        content = file.read_bytes()
        self.assertTrue(content.startswith(OLD))
        self.assertTrue(content.endswith(self.tracks[0].encode() + b"\n"))
        self.assertTrue(self.server.ask("removesongs", playlist=id_, seq_list="1").success)
        self.assertEqual(file.read_bytes(), OLD)

    def test_a_song_that_is_there_is_not_missing(self):
        file, id_ = self.old_playlist("kept")
        self.assertTrue(self.server.ask("remove_missing", playlist_id=id_).success)
        self.assertEqual(file.read_bytes(), OLD)

    def test_an_archive_has_its_list_in_both(self):
        _, id_ = self.old_playlist("archived")
        answer = self.server.send(ANNA, body=encode({"action": "download", "playlist": id_}), headers={
            "Content-Type": "application/x-www-form-urlencoded"})
        archive = zipfile.ZipFile(io.BytesIO(answer.body))
        self.assertEqual(archive.namelist()[1:], ["playlist.m3u", "playlist.m3u8"])
        self.assertEqual(archive.read("playlist.m3u"), f"{SONG.name}\n".encode(ENCODING))
        self.assertEqual(archive.read("playlist.m3u8"), f"{SONG.name}\n".encode())

    def test_a_name_that_the_code_page_lacks_is_archived(self):
        song = LIBRARY / "\u6b4c \u00e9\U0001F600.flac"
        shutil.copy(SONG, song)
        answer = self.server.send(ANNA, body=encode({
            "action": "download", "id_info_list": [{"res": str(song)}, {"res": str(SONG)}]}),
            headers={"Content-Type": "application/x-www-form-urlencoded"})
        archive = zipfile.ZipFile(io.BytesIO(answer.body))
        self.assertEqual(archive.namelist()[:2], [song.name, SONG.name])
        self.assertEqual(archive.read("playlist.m3u"),
                         f"\u6b4c __.flac\n{SONG.name}\n".encode(ENCODING))
        self.assertEqual(archive.read("playlist.m3u8"), f"{song.name}\n{SONG.name}\n".encode())


if __name__ == "__main__":
    unittest.main()
