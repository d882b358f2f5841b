"""Downloads through the web server: what they hold and how they end."""

import base64
import os
import signal
import socket
import subprocess
import time
import unittest
from pathlib import Path

from downloads import PLAYLISTS, DownloadTest, working_folders
from server import ANNA, BEN, LIBRARY, PASSWORD, ROOT, encode, objects, playlistctl, wait_until

OLD_BROWSER = "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.1)"


def processes():
    """The processes of downloads: ids by the name of the program."""
    found = {}
    for process in Path("/proc").iterdir():
        try:
            command = (process / "cmdline").read_bytes().split(b"\0")[0].decode()
        except (OSError, UnicodeDecodeError):
            continue
        if command in (str(ROOT / "usr/vexo/bin/zip"), str(ROOT / "bin/cat"),
                       "audio_playlist.cgi", str(ROOT / "www/audio_playlist.cgi")):
            found.setdefault(Path(command).name, []).append(int(process.name))
    return found


def peak_kib(process):
    """The most memory that a process ever had."""
    for line in Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith("VmHWM:"):
            return int(line.split()[1])
    raise AssertionError(f"process {process} tells no peak")


class ContentTest(DownloadTest):
    """What a download holds."""

    def assert_holds(self, archive, paths):
        self.assertEqual(archive.namelist(), [Path(path).name for path in paths] + PLAYLISTS)
        for path in paths:
            self.assertEqual(archive.read(Path(path).name), Path(path).read_bytes())
        listed = "".join(f"{Path(path).name}\n" for path in paths).encode()
        self.assertEqual([archive.read(name) for name in PLAYLISTS], [listed, listed])

    def test_one_chosen_song_is_its_file(self):
        answer = self.download(id_info_list=objects(self.tracks[0]))
        self.assertEqual(answer.body, Path(self.tracks[0]).read_bytes())
        self.assertEqual(answer.headers["Content-Length"], str(len(answer.body)))
        self.assertIn("filename*=UTF-8''", answer.headers["Content-Disposition"])

    def test_chosen_songs_by_object(self):
        self.assert_holds(self.archive(id_info_list=objects(*self.tracks[:3])), self.tracks[:3])

    def test_chosen_songs_by_id(self):
        archive = self.archive(id_info_list=["1", "2", "3"])
        self.assertEqual(len(archive.namelist()), 5)

    def test_no_songs(self):
        self.assert_holds(self.archive(id_info_list=[]), [])

    def test_playlists_of_every_place(self):
        for user, type_ in ((ANNA, "shared"), (ANNA, "personal"), (BEN, "personal")):
            node = self.server.ask("add", user, name="mix", type=type_,
                                   id_info_list=objects(*self.tracks[:2])).id
            self.assert_holds(self.archive(user=user, playlist=node), self.tracks[:2])

    def test_the_random_playlist(self):
        archive = self.archive(playlist="musiclib_random")
        self.assertEqual(len(archive.namelist()), len(self.tracks) + 2)
        kept = (ROOT / "tmp/==DynaRandom100==.anna").read_bytes()
        self.assertEqual(self.archive(playlist="musiclib_random").namelist(), archive.namelist())
        self.assertEqual((ROOT / "tmp/==DynaRandom100==.anna").read_bytes(), kept)

    def test_a_smart_playlist(self):
        (ROOT / "etc/mt-daapd.playlist").write_text('"All" { not title is empty }\n')
        archive = self.archive(playlist="musiclib_music_shared/smart/All")
        self.assertEqual(len(archive.namelist()), len(self.tracks) + 2)
        self.assertEqual(self.archive(playlist="musiclib_music_shared/smart/None").namelist(),
                         PLAYLISTS)

    def test_the_queue_of_the_browser_stream(self):
        (ROOT / "tmp/playing_anna.pls").write_text(
            f"[playlist]\nNumberOfEntries=1\nFile1={self.tracks[1]}\n")
        self.assert_holds(self.archive(target="stream"), [self.tracks[1]])

    def test_songs_of_one_name_and_streams(self):
        paths = []
        for number in range(3):
            folder = LIBRARY / f"same {number}"
            folder.mkdir(exist_ok=True)
            paths.append(folder / "a.mp3")
            paths[-1].write_text(str(number))
        archive = self.archive(id_info_list=objects(*paths, "http://radio.example/x", paths[0]))
        self.assertEqual(archive.namelist(), ["a.mp3", "0_a.mp3", "1_a.mp3", *PLAYLISTS])
        self.assertEqual(archive.read("1_a.mp3"), b"2")
        self.assertEqual(archive.read("playlist.m3u8"),
                         b"a.mp3\n0_a.mp3\n1_a.mp3\nhttp://radio.example/x\na.mp3\n")

    def test_names_that_lead_elsewhere_on_other_systems(self):
        paths = [LIBRARY / name for name in ("..\\..\\x.mp3", "C:x.mp3", "C_x.mp3")]
        for path in paths:
            path.write_text(path.name)
        archive = self.archive(id_info_list=objects(*paths))
        names = [".._.._x.mp3", "C_x.mp3", "0_C_x.mp3"]
        self.assertEqual(archive.namelist(), names + PLAYLISTS)
        self.assertEqual([archive.read(name).decode() for name in names],
                         [path.name for path in paths])
        for playlist in PLAYLISTS:
            self.assertEqual(archive.read(playlist).decode().splitlines(), names)

    def test_refusals_are_answered_with_a_document(self):
        for parameters, error in (
                ({}, "common/error_system"),
                ({"id_info_list": "{}"}, "common/error_system"),
                ({"playlist": "musiclib_music_shared/playlist/4000"}, "common/error_system"),
                ({"target": "usb"}, "common/error_system")):
            self.assertEqual(self.download(**parameters).error, error, parameters)
        self.assertEqual(self.download(id_info_list=objects("/gone.mp3")).json, {})


class HeaderTest(DownloadTest):
    """The name of a file breaks no header, and goes out as each browser takes it."""

    NAMES = ["audio.zip", 'a"b.zip', "a\r\nX-Injected: yes\r\n\r\nbody", "\u66f2 \u00e9.zip",
             "a; filename=b.zip", "a\\", "%41%00", "n" * 300, "\x1b\x7f"]

    def test_names_of_archives(self):
        for name in self.NAMES:
            for agent in ("curl/8", OLD_BROWSER, "MSIE 7.0", "Firefox/3.0", None):
                headers = {"User-Agent": agent} if agent else {}
                answer = self.download(headers=headers, id_info_list=[], filename=name)
                with self.subTest(name=name, agent=agent):
                    self.assertEqual(answer.status, 200)
                    self.assertNotIn("X-Injected", answer.headers)
                    self.assertEqual(answer.headers["Accept-Ranges"], "none")
                    self.assertEqual(answer.body[:4], b"PK\x03\x04")
                    self.assertLessEqual(
                        len(answer.headers.get_all("Content-Disposition", [])), 1)

    def test_names_of_songs(self):
        for name in ['a"b.mp3', "a\r\nX-Injected: yes\r\n.mp3", "\u66f2.mp3", "\\"]:
            path = LIBRARY / name
            path.write_text("song")
            answer = self.download(id_info_list=objects(path))
            self.assertEqual(answer.body, b"song", name)
            self.assertNotIn("X-Injected", answer.headers)

    def test_a_browser_of_today_is_given_the_name(self):
        for headers in ({"User-Agent": "curl/8"}, {}):
            answer = self.download(headers=headers, id_info_list=[], filename="\u66f2.zip")
            self.assertEqual(answer.headers["Content-Disposition"],
                             "attachment; filename=\"_.zip\"; filename*=UTF-8''%E6%9B%B2.zip")

    def test_a_body_is_nobodys_to_guess_keep_or_cut(self):
        (LIBRARY / "a.mp3").write_text("song")
        for songs in ([], objects(LIBRARY / "a.mp3")):
            answer = self.download(headers={"Range": "bytes=1-2"}, id_info_list=songs)
            self.assertEqual(answer.status, 200)
            for name, value in (("X-Content-Type-Options", "nosniff"),
                                ("Cache-Control", "no-store"), ("Accept-Ranges", "none")):
                self.assertEqual(answer.headers.get_all(name), [value], songs)

    def test_the_log_says_why_a_song_does_not_come(self):
        answer = self.download(id_info_list=objects(LIBRARY / "gone.mp3"))
        self.assertEqual(answer.body, b"{}\n")
        self.assertIn(f"{LIBRARY}/gone.mp3: No such file or directory", self.server.log())

    def test_an_old_browser_is_given_the_name_its_way(self):
        answer = self.download(headers={"User-Agent": OLD_BROWSER}, id_info_list=[],
                               filename="a b.zip")
        self.assertEqual(answer.headers["Content-Disposition"].strip(),
                         'attachment; filename="a b.zip"')


class LargeDownloadTest(DownloadTest):
    """Downloads that are larger than what lies between the file and the client can hold."""

    SONGS, SIZE = 20, 64 << 20

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.songs = [LIBRARY / f"large {number}.bin" for number in range(cls.SONGS)]
        for song in cls.songs:
            with open(song, "wb") as file:
                file.truncate(cls.SIZE)

    def request(self, **parameters):
        """A client that has sent its request and read nothing."""
        body = encode({"action": "download", **parameters})
        token = base64.b64encode(f"{ANNA}:{PASSWORD}".encode()).decode()
        client = socket.create_connection(("127.0.0.1", self.server.port))
        client.sendall((f"POST /audio_playlist.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                        f"Authorization: Basic {token}\r\nContent-Length: {len(body)}\r\n"
                        f"Content-Type: application/x-www-form-urlencoded\r\n\r\n{body}").encode())
        return client

    def begin(self, start=b"PK\x03\x04", **parameters):
        """A client that has read the body's `start`, and little more."""
        client = self.request(**parameters)
        received = b""
        while start not in received.partition(b"\r\n\r\n")[2]:
            part = client.recv(4096)
            self.assertTrue(part, received)
            received += part
        return client

    def begin_archive(self):
        return self.begin(id_info_list=objects(*self.songs))

    @staticmethod
    def end_of(client):
        """The last bytes of what is sent."""
        received = b""
        while part := client.recv(65536):
            received = (received + part)[-1000:]
        return received

    def assert_nothing_is_left(self):
        wait_until(lambda: not processes(), "the processes end")
        wait_until(lambda: not working_folders(), "the working folder is removed")

    def test_a_client_that_goes_away_leaves_nothing(self):
        with self.begin_archive():
            self.assertEqual(len(working_folders()), 1)
            self.assertIn("zip", processes())
        self.assert_nothing_is_left()

    def test_a_client_that_resets_leaves_nothing(self):
        with self.begin_archive() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER,
                              (1).to_bytes(4, "little") + (0).to_bytes(4, "little"))
        self.assert_nothing_is_left()

    def test_clients_that_go_away_before_the_first_byte_leave_nothing(self):
        songs = objects(*(f"/m/{number % 50}/{number}.mp3" for number in range(2000)))
        for wait in (0, 0.005, 0.01, 0.02, 0.04, 0.08):
            with self.request(id_info_list=[*songs, *objects(*self.songs)]):
                time.sleep(wait)
        self.assert_nothing_is_left()

    def test_the_client_of_a_single_song_goes_away(self):
        self.begin(b"\0\0\0", id_info_list=objects(self.songs[0])).close()
        self.assert_nothing_is_left()

    def test_a_request_that_is_killed_leaves_no_process_and_the_doctor_cleans_up(self):
        with self.begin_archive() as client:
            folder, = working_folders()
            running = processes()
            programs = running.pop("audio_playlist.cgi", [])
            self.assertEqual(len(programs), 1, running)
            os.kill(programs[0], signal.SIGKILL)
            wait_until(lambda: not processes(), "the zip tool ends")
            self.assertNotIn(b"PK\x05\x06", self.end_of(client))
        self.assertTrue(folder.exists())
        playlistctl("doctor", "--repair")
        self.assertFalse(folder.exists())

    def test_a_song_that_shrinks_ends_the_archive_visibly_broken(self):
        song = LIBRARY / "shrinks.bin"
        with open(song, "wb") as file:
            file.truncate(self.SIZE)
        with self.begin(id_info_list=objects(song, self.songs[0])) as client:
            os.truncate(song, 0)
            end = self.end_of(client)
        self.assertNotIn(b"PK\x05\x06", end)
        self.assertNotIn(b"{}", end)
        self.assert_nothing_is_left()

    def test_what_sends_may_take_as_much_time_as_it_takes(self):
        with self.begin_archive():
            running = processes()
            for name in ("audio_playlist.cgi", "zip"):
                limits = Path(f"/proc/{running[name][0]}/limits").read_text()
                self.assertRegex(limits, r"Max cpu time +unlimited", name)
        self.assert_nothing_is_left()

    def test_a_song_that_cannot_be_opened_ends_the_archive_visibly_broken(self):
        song = LIBRARY / "loop.mp3"
        song.symlink_to(song)
        with self.request(id_info_list=objects(self.songs[0], song, self.tracks[1])) as client:
            end = self.end_of(client)
        self.assertNotIn(b"PK\x05\x06", end)
        self.assertNotIn(b"{}", end)
        answer = self.download(id_info_list=objects(self.tracks[0], song, self.tracks[1]))
        self.assertEqual((answer.status, answer.json), (500, {}))
        self.assertIn("cannot read loop.mp3", self.server.log())
        self.assert_nothing_is_left()

    def test_a_broken_archive_breaks_the_connection(self):
        song = LIBRARY / "again.mp3"
        song.symlink_to(song)
        ok, http_error, partial_file = 0, 22, 18
        for songs, status in ((self.tracks[:2], ok), ([*self.tracks[:2], song], http_error),
                              ([self.songs[0]] * 2 + [self.tracks[0]], ok),
                              ([self.songs[0], song], partial_file)):
            with self.subTest(songs):
                body = encode({"action": "download", "id_info_list": objects(*songs)})
                done = subprocess.run(
                    ["curl", "-s", "-f", "-u", f"{ANNA}:{PASSWORD}", "-d", body, "-o", os.devnull,
                     f"http://127.0.0.1:{self.server.port}/audio_playlist.cgi"], check=False)
                self.assertEqual(done.returncode, status)
        self.assert_nothing_is_left()

    def test_memory_does_not_grow_with_the_files(self):
        with self.begin_archive() as client:
            peaks = {}
            for _ in range(20):
                for _ in range(100):
                    client.recv(65536)
                for name, ids in processes().items():
                    peaks[name] = max(peaks.get(name, 0), *map(peak_kib, ids))
        self.assertEqual(set(peaks), {"zip", "audio_playlist.cgi"}, peaks)
        for name, peak in peaks.items():
            self.assertLess(peak, 48 * 1024 + 6 * self.SONGS, name)
        self.assert_nothing_is_left()

    def test_memory_of_a_download_of_many_songs(self):
        songs = 4000
        folder = LIBRARY / "many"
        folder.mkdir()
        for number in range(songs):
            (folder / f"{number}.mp3").touch()
        playlistctl("scan")
        chosen = [self.songs[0], *(folder / f"{number}.mp3" for number in range(songs))]
        node = self.server.ask("add", name="many", type="shared", id_info_list=objects(*chosen)).id
        ids = [str(number) for number in range(1, songs)]
        for parameters in ({"playlist": node}, {"id_info_list": objects(*chosen)},
                           {"id_info_list": [*objects(self.songs[0]), *ids]}):
            with self.subTest(list(parameters)), self.begin(**parameters):
                peaks = {name: max(map(peak_kib, found)) for name, found in processes().items()}
                self.assertIn("audio_playlist.cgi", peaks)
                for name, peak in peaks.items():
                    self.assertLess(peak, 48 * 1024 + 6 * songs, name)
            self.assert_nothing_is_left()


if __name__ == "__main__":
    unittest.main()
