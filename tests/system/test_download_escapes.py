"""Downloads through the web server: what they never hold."""

import io
import os
import unittest
import zipfile
from pathlib import Path

from downloads import PLAYLISTS, DownloadTest
from server import ANNA, BEN, LIBRARY, ROOT, add_account, objects, playlistctl

CARL = "carl"
OWN = ROOT / "var/services/homes/anna/music"
CARLS = ROOT / "var/services/homes/carl/music"
SECRET = b"this must never leave"

LINKS = {
    LIBRARY / "absolute.mp3": ROOT / "secret",
    LIBRARY / "relative.mp3": "../secret",
    LIBRARY / "chain.mp3": "relative.mp3",
    LIBRARY / "folder": ROOT,
    LIBRARY / "carl.mp3": CARLS / "song.mp3",
    OWN / "carl.mp3": CARLS / "song.mp3",
    OWN / "carl": CARLS,
    LIBRARY / "passwd.mp3": "/etc/passwd",
    LIBRARY / "environ.mp3": "/proc/self/environ",
    LIBRARY / "zero.mp3": "/dev/zero",
}
# What must not come: what it is, its path.
ATTEMPTS = [
    ("a system file", "/etc/passwd"),
    ("a system file by dots", f"{LIBRARY}/../../../../../../../../etc/passwd"),
    ("a link to a system file", LIBRARY / "passwd.mp3"),
    ("a file outside", ROOT / "secret"),
    ("a relative path", "../../secret"),
    ("a path relative to the working folder", "./../../secret"),
    ("dots behind the library", f"{LIBRARY}/../secret"),
    ("slashes and dots", f"{LIBRARY}//.//..//secret"),
    ("dots behind the music link", f"{ROOT}/var/services/music/../secret"),
    ("a link in the library", LIBRARY / "absolute.mp3"),
    ("a relative link", LIBRARY / "relative.mp3"),
    ("a link to a link", LIBRARY / "chain.mp3"),
    ("a folder behind a link", LIBRARY / "folder/secret"),
    ("a folder beside the library, of a similar name", ROOT / "library2/song.mp3"),
    ("another user's song", CARLS / "song.mp3"),
    ("another user's song by dots", f"{OWN}/../../carl/music/song.mp3"),
    ("a link to another user's song", LIBRARY / "carl.mp3"),
    ("a link of one's own to another user's song", OWN / "carl.mp3"),
    ("a link of one's own to another user's folder", OWN / "carl/song.mp3"),
    ("the accounts", ROOT / "etc/vexo/accounts"),
    ("the passwords", ROOT / "etc/vexo/passwords"),
    ("the index", ROOT / "var/lib/vexo/index.db"),
    ("the configuration of the server", ROOT / "etc/lighttpd.conf"),
    ("the program", ROOT / "www/audio_playlist.cgi"),
    ("the environment of the request", "/proc/self/environ"),
    ("a link to the environment", LIBRARY / "environ.mp3"),
    ("an open file of the request", "/proc/self/fd/0"),
    ("the root of the process", "/proc/self/root/etc/passwd"),
    ("the folder of the process", "/proc/self/cwd/../../secret"),
    ("standard input", "/dev/stdin"),
    ("a device without end", "/dev/zero"),
    ("a link to a device", LIBRARY / "zero.mp3"),
    ("a fifo that nobody writes", LIBRARY / "fifo.mp3"),
    ("the library itself", LIBRARY),
    ("a folder", f"{LIBRARY}/playlists"),
    ("the file system", "/"),
    ("the folder above", "/.."),
    ("an address with a second line", f"http://radio\n{ROOT}/secret"),
    ("an address with a second line, as Windows writes it", f"HTTP://r\r\n{ROOT}/secret"),
    ("http and a line", "http\n/etc/passwd"),
    ("http and a relative line", "http\n../../secret"),
    ("http as a folder", "http/../../../secret"),
    ("a path with a second line", f"/x\n{ROOT}/secret"),
    ("a name with a second line", f"{ROOT}/secret\n{ROOT}/secret"),
    ("a file address", f"file://{ROOT}/secret"),
    ("an option of the zip tool", "/-@"),
    ("a playlist's name", f"{ROOT}/secret/playlist.m3u"),
]


class EscapeTest(DownloadTest):
    """Only songs of the shared library and of one's own leave the machine."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        add_account(CARL, "--personal", "on")
        (CARLS / "song.mp3").write_bytes(SECRET)
        (ROOT / "secret").write_bytes(SECRET)
        (ROOT / "library2").mkdir()
        (ROOT / "library2/song.mp3").write_bytes(SECRET)
        for link, target in LINKS.items():
            link.symlink_to(target)
        os.mkfifo(LIBRARY / "fifo.mp3")

    def assert_nothing_of_it(self, answer):
        self.assertNotIn(SECRET, answer.body)
        self.assertNotIn(b"root:x:0:0", answer.body)
        self.assertNotIn(b"REMOTE_USER=", answer.body)

    def test_a_song_by_itself(self):
        for what, path in ATTEMPTS:
            with self.subTest(what):
                answer = self.download(id_info_list=objects(path))
                self.assertEqual(answer.json, {})
                self.assertEqual(answer.headers["Content-Type"], 'text/plain; charset="UTF-8"')

    def test_in_an_archive(self):
        for what, path in ATTEMPTS:
            with self.subTest(what):
                answer = self.download(id_info_list=objects(path, self.tracks[0]))
                self.assert_nothing_of_it(answer)
                names = zipfile.ZipFile(io.BytesIO(answer.body)).namelist()
                song = Path(self.tracks[0]).name
                self.assertEqual([name for name in names if name != song], PLAYLISTS)
                self.assertIn(song, names)

    def test_all_in_one_archive(self):
        answer = self.download(id_info_list=objects(*[path for _, path in ATTEMPTS]))
        self.assert_nothing_of_it(answer)
        self.assertEqual(zipfile.ZipFile(io.BytesIO(answer.body)).namelist(), PLAYLISTS)

    def test_from_playlists_that_somebody_wrote(self):
        lines = "".join(f"{path}\n" for _, path in ATTEMPTS)
        (ROOT / "var/lib/vexo/preferences/ben/playlists").mkdir(exist_ok=True)
        for name, head in (("m3u", "#EXTM3U\n"), ("plain", "")):
            (ROOT / f"var/lib/vexo/preferences/ben/playlists/{name}.m3u").write_text(head + lines)
            answer = self.download(user=BEN, playlist=f"musiclib_music_personal/playlist/{name}")
            self.assert_nothing_of_it(answer)
            self.assertEqual(zipfile.ZipFile(io.BytesIO(answer.body)).namelist(), PLAYLISTS)

    def test_from_a_queue_that_somebody_wrote(self):
        entries = "".join(f"File{number}={path}\n" for number, (_, path)
                          in enumerate(ATTEMPTS, 1))
        (ROOT / "tmp/playing_anna.pls").write_text("[playlist]\n" + entries)
        answer = self.download(target="stream")
        self.assert_nothing_of_it(answer)
        self.assertEqual(zipfile.ZipFile(io.BytesIO(answer.body)).namelist(), PLAYLISTS)

    def test_another_user_gets_nothing_of_ones_own_library(self):
        (OWN / "own.mp3").write_text("own")
        self.assertEqual(self.download(ANNA, id_info_list=objects(OWN / "own.mp3")).body, b"own")
        for user in (BEN, CARL):
            self.assertEqual(self.download(user, id_info_list=objects(OWN / "own.mp3")).json, {})

    def test_a_personal_library_that_is_off_is_closed(self):
        playlistctl("account", "set", CARL, "--personal", "off")
        try:
            path = ROOT / "var/services/homes/carl/music/song.mp3"
            self.assertEqual(self.download(CARL, id_info_list=objects(path)).json, {})
        finally:
            playlistctl("account", "set", CARL, "--personal", "on")


if __name__ == "__main__":
    unittest.main()
