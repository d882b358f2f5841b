"""Songs in another format, made while they are heard."""

import base64
import http.client
import os
import shutil
import signal
import subprocess
import unittest
from pathlib import Path

import pictures
from media import MediaTest, song_ids
from server import ANNA, LIBRARY, PASSWORD, ROOT
from server import playlistctl, run, wait_until

CONFIG = ROOT / "etc/vexo/playlist.conf"
FFMPEG = shutil.which("ffmpeg")


class Transcoded(MediaTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.long = LIBRARY / "long.flac"
        run(FFMPEG, "-v", "error", "-f", "lavfi", "-i", "sine=440:duration=1800", "-f", "lavfi", "-i",
            "anoisesrc=duration=1800:amplitude=0.1", "-filter_complex", "amix", cls.long)
        playlistctl("scan")
        cls.ids = song_ids()
        cls.long_path = f"/songs/{cls.ids[os.fsencode(cls.long)]}/stream"

    def path_of(self, track):
        return f"/songs/{self.ids[os.fsencode(track)]}/stream"

    def probe(self, content):
        """The codec of a stream, and its seconds."""
        words = [FFMPEG.replace("ffmpeg", "ffprobe"), "-v", "error", "-select_streams", "a",
                 "-show_entries", "stream=codec_name:packet=duration_time", "-of", "csv=p=0", "pipe:0"]
        done = subprocess.run(words, input=content, stdout=subprocess.PIPE, timeout=60, check=True)
        *packets, codec = done.stdout.decode().split()
        return codec.strip(","), sum(float(packet.strip(",")) for packet in packets)

    def seconds(self, track):
        return self.probe(Path(track).read_bytes())[1]

    def configure(self, text):
        CONFIG.write_text(f"[transcoding]\n{text}\n")
        self.addCleanup(CONFIG.unlink, missing_ok=True)

    def test_every_song_in_every_format(self):
        for track in self.tracks:
            for name, kind in (("opus", "audio/ogg"), ("mp3", "audio/mpeg")):
                with self.subTest(track, format=name):
                    answer = self.api.get(self.path_of(track), format=name, bitrate="64")
                    self.assertEqual(answer.status, 200, answer)
                    self.assertEqual(answer.headers["Content-Type"], kind)
                    codec, seconds = self.probe(answer.body)
                    self.assertEqual(codec, name)
                    self.assertAlmostEqual(seconds, self.seconds(track), delta=0.2)

    def test_has_no_parts_and_no_version(self):
        for headers in ({}, {"Range": "bytes=0-3"}, {"Range": "bytes=5-2"}, {"Range": "bytes=0-1,5-6"}):
            answer = self.api.get(self.path_of(self.track), headers, format="opus")
            self.assertEqual(answer.status, 200, answer)
            self.assertEqual(answer.headers["Accept-Ranges"], "none")
            self.assertEqual(answer.headers["Cache-Control"], "private, no-store")
            self.assertNotIn("ETag", answer.headers)
            self.assertIn('.opus"', answer.headers["Content-Disposition"])
            self.assertEqual(self.probe(answer.body)[0], "opus")
        answer = self.api.ask("HEAD", self.path_of(self.track), format="opus")
        self.assertEqual((answer.status, answer.body), (200, b""))
        self.assertEqual(answer.headers["Content-Type"], "audio/ogg")

    def test_a_song_of_that_format_goes_as_it_is(self):
        answer = self.api.get(self.path_of(self.track), format="mp3", bitrate="320")
        self.assertEqual(answer.body, Path(self.track).read_bytes())
        self.assertIn("ETag", answer.headers)
        self.assertEqual(self.api.get(self.path_of(self.track), {"Range": "bytes=0-3"}, format="mp3",
                                      bitrate="320").status, 206)
        rich = LIBRARY / "rich.mp3"
        run(FFMPEG, "-v", "error", "-y", "-i", self.tracks[0], "-b:a", "192k", rich)
        playlistctl("scan")
        path = f"/songs/{song_ids()[os.fsencode(rich)]}/stream"
        self.assertEqual(self.api.get(path, format="mp3", bitrate="192").body, rich.read_bytes())
        poor = self.api.get(path, format="mp3", bitrate="96").body
        self.assertLess(len(poor), len(rich.read_bytes()) * 0.6)
        self.assertEqual(self.probe(poor)[0], "mp3")

    def test_a_long_song_from_anywhere(self):
        for name in ("opus", "mp3"):
            body = self.api.get(self.long_path, format=name, offset_seconds="1700").body
            codec, seconds = self.probe(body)
            self.assertEqual(codec, name)
            self.assertAlmostEqual(seconds, 100, delta=1)
            self.assertTrue(80_000 < len(body) * 8 / 100 < 140_000, len(body))
        self.problem(self.api.get(self.long_path, format="mp3", offset_seconds="1800"), 400,
                     "offset_seconds")
        track = next(path for path in self.tracks if path.endswith(".opus"))
        body = self.api.get(self.path_of(track), format="opus", bitrate="320",
                            offset_seconds="1").body
        self.assertAlmostEqual(self.probe(body)[1], self.seconds(track) - 1, delta=0.2)

    def test_what_is_not_understood_is_named(self):
        for parameter, query in (("format", {"format": "wav"}), ("bitrate", {"bitrate": "128"}),
                                 ("bitrate", {"format": "mp3", "bitrate": "63"}),
                                 ("bitrate", {"format": "mp3", "bitrate": "321"}),
                                 ("bitrate", {"format": "mp3", "bitrate": "128k"}),
                                 ("format", {"format": ""}), ("offset_seconds", {"offset_seconds": "0"}),
                                 ("offset_seconds", {"format": "mp3", "offset_seconds": "-1"})):
            self.problem(self.api.get(self.path_of(self.track), **query), 400, parameter)
        self.problem(self.api.get("/songs/99999/stream", format="mp3"), 404)

    def test_ends_with_its_client_and_with_its_request(self):
        path = f"{self.long_path}?format=opus"
        client = self.slow_client(path)
        wait_until(lambda: "ffmpeg" in self.users_of("long.flac").values(), "it is transcoded")
        client.kill()
        wait_until(lambda: not self.users_of("long.flac"), "all of it ends")
        self.slow_client(path)
        wait_until(lambda: "ffmpeg" in self.users_of("long.flac").values(), "it is transcoded")
        for process, program in self.users_of("long.flac").items():
            if program != "ffmpeg":
                os.kill(process, signal.SIGKILL)
        wait_until(lambda: not self.users_of("long.flac"), "all of it ends")

    def test_that_breaks_off_is_noticed(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=60)
        self.addCleanup(connection.close)
        token = base64.b64encode(f"{ANNA}:{PASSWORD}".encode()).decode()
        connection.request("GET", f"/api{self.long_path}?format=opus", None,
                           {"Authorization": f"Basic {token}"})
        response = connection.getresponse()
        self.assertEqual(response.read(4), b"OggS")
        for process, program in self.users_of("long.flac").items():
            if program == "ffmpeg":
                os.kill(process, signal.SIGKILL)
        with self.assertRaises((http.client.IncompleteRead, ConnectionError)):
            response.read()

    def test_so_many_at_once(self):
        self.configure("at_once = 1")
        client = self.slow_client(f"{self.long_path}?format=opus")
        wait_until(lambda: "ffmpeg" in self.users_of("long.flac").values(), "it is transcoded")
        answer = self.api.get(self.path_of(self.track), format="opus")
        self.problem(answer, 503)
        self.assertGreater(int(answer.headers["Retry-After"]), 0)
        self.assertEqual(self.api.get(self.path_of(self.track)).status, 200)
        client.kill()
        self.assertEqual(self.api.get(self.path_of(self.track), format="opus").status, 200)

    def test_nothing_where_there_is_no_transcoder(self):
        self.assertIs(self.api.get("/").json["transcoding"], True)
        for text in ("ffmpeg = /nowhere/ffmpeg", "at_once = 0"):
            with self.subTest(text):
                self.configure(text)
                self.assertIs(self.api.get("/").json["transcoding"], False)
                self.problem(self.api.get(self.path_of(self.track), format="opus"), 501, "format")
                self.assertEqual(self.api.get(self.path_of(self.track), format="mp3",
                                              bitrate="320").status, 200)

    def test_a_file_that_leads_elsewhere_or_is_no_song(self):
        song = LIBRARY / "hostile.mp3"
        number = self.add_song(song)
        secret = ROOT / "secret.mp3"
        shutil.copy(self.track, secret)
        os.link(secret, LIBRARY / "near.mp3")
        lists = [f"ffconcat version 1.0\nfile {name}\n"
                 for name in (secret, "near.mp3", f"file:{secret}")]
        segments = "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\n{}\n#EXT-X-ENDLIST\n"
        lists += [segments.format(name) for name in (secret, "near.mp3", "http://127.0.0.1:1/x.mp3")]
        for content in (*map(str.encode, lists), b"", b"no song", os.urandom(100_000),
                        pictures.png(20, 20), b"RIFF\xff\xff\xff\xffWAVEfmt "):
            with self.subTest(content[:40]):
                song.write_bytes(content)
                self.problem(self.api.get(f"/songs/{number}/stream", format="opus"), 502)


if __name__ == "__main__":
    unittest.main()
