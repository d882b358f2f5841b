"""Pictures of songs: where they come from, how they are kept, and who sees them."""

import os
import shutil
import subprocess
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pictures
from api import Api
from media import MediaTest, song_ids
from server import ANNA, BEN, LIBRARY, PERSONAL, ROOT
from server import playlistctl

COVERS = ROOT / "var/lib/vexo/covers"
RED, BLUE = (200, 30, 30), (20, 20, 220)


class CoverTest(MediaTest):
    def setUp(self):
        self.count = getattr(CoverTest, "count", 0) + 1
        CoverTest.count = self.count
        self.folder = LIBRARY / f"Covers {self.count}"
        self.folder.mkdir()
        self.mp3 = Path(self.track).read_bytes()

    def put(self, name, content):
        """A file of the test's folder, as old as if it had been there for long."""
        (self.folder / name).write_bytes(content)
        self.settle()
        return self.folder / name

    def settle(self):
        for path in (*self.folder.iterdir(), self.folder):
            os.utime(path, (1e9 + CoverTest.count, 1e9), follow_symlinks=False)

    def song(self, content=None, name="song.mp3"):
        """The id of a song of that content in the test's folder."""
        self.put(name, content or self.mp3)
        playlistctl("scan")
        return song_ids()[os.fsencode(self.folder / name)]

    def find(self, number, user=ANNA, **query):
        """The path of a song's cover below /api, with its query as a dictionary."""
        answer = Api(self.server, user).get(f"/songs/{number}/cover", **query)
        self.assertEqual(answer.status, 302, answer)
        location = answer.headers["Location"]
        self.assertTrue(location.startswith("../../covers/"), location)
        path, _, size = location.removeprefix("../..").partition("?size=")
        return path, {"size": size}

    def cover(self, number, user=ANNA, **query):
        path, query = self.find(number, user, **query)
        answer = Api(self.server, user).get(path, **query)
        self.assertEqual(answer.status, 200, answer)
        return answer.body

    def colour(self, jpeg):
        """Red, green and blue of a picture's middle."""
        done = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", "pipe:0", "-vf", "crop=2:2", "-f", "rawvideo",
             "-pix_fmt", "rgb24", "pipe:1"], input=jpeg, stdout=subprocess.PIPE, timeout=60,
            check=True)
        return tuple(done.stdout[:3])

    def assert_colour(self, jpeg, wanted):
        for got, part in zip(self.colour(jpeg), wanted):
            self.assertAlmostEqual(got, part, delta=8)


class Covers(CoverTest):
    def test_of_each_kind_of_song_is_the_picture_in_it(self):
        flac = next(Path(track).read_bytes() for track in self.tracks if track.endswith(".flac"))
        picture = pictures.png(40, 40, BLUE)
        for name, content in (("a.mp3", pictures.with_id3_picture(self.mp3, picture)),
                              ("b.flac", pictures.with_flac_picture(flac, picture))):
            with self.subTest(name):
                self.assert_colour(self.cover(self.song(content, name)), BLUE)

    def test_comes_in_sizes_and_is_never_enlarged(self):
        number = self.song(pictures.with_id3_picture(self.mp3, pictures.jpeg(900, 600)))
        for query, size in (({"size": "96"}, (96, 64)), ({"size": "320"}, (320, 213)),
                            ({"size": "640"}, (640, 427)), ({}, (320, 213))):
            self.assertEqual(pictures.size_of_jpeg(self.cover(number, **query)), size)
        number = self.song(pictures.with_id3_picture(self.mp3, pictures.png(10, 200)), "small.mp3")
        for query, size in (({"size": "96"}, (5, 96)), ({"size": "640"}, (10, 200))):
            self.assertEqual(pictures.size_of_jpeg(self.cover(number, **query)), size)

    def test_of_every_kind_of_picture(self):
        number = self.song()
        for name, content in (("front.webp", pictures.webp(50, 50, BLUE)),
                              ("Front.PNG", pictures.png(50, 50, RED)),
                              ("FOLDER.jpeg", pictures.jpeg(50, 50, BLUE)),
                              ("cover.png", pictures.png(50, 50, RED)),
                              ("Cover.JPG", pictures.jpeg(50, 50, BLUE))):
            with self.subTest(name):
                self.put(name, content)
                os.utime(self.folder, (1e9, 1e9 + self.counted()))
                self.assert_colour(self.cover(number),
                                   BLUE if name.lower().endswith(("webp", "jpeg", "jpg")) else RED)

    def counted(self):
        CoverTest.count += 1
        return CoverTest.count

    def test_in_the_song_goes_before_the_one_beside_it(self):
        self.put("cover.png", pictures.png(50, 50, RED))
        plain = self.song(name="plain.mp3")
        number = self.song(pictures.with_id3_picture(self.mp3, pictures.png(50, 50, BLUE)))
        self.assert_colour(self.cover(number), BLUE)
        self.assert_colour(self.cover(plain), RED)
        broken = self.song(pictures.with_id3_picture(self.mp3, b"no picture"), "broken.mp3")
        self.assert_colour(self.cover(broken), RED)
        icon = self.song(pictures.with_id3_picture(self.mp3, pictures.png(32, 32, BLUE), kind=1),
                         "icon.mp3")
        self.assert_colour(self.cover(icon), RED)

    def test_may_be_kept_for_ever_at_its_address(self):
        number = self.song(pictures.with_id3_picture(self.mp3, pictures.png(400, 400)))
        self.assertEqual(self.api.get(f"/songs/{number}/cover").headers["Cache-Control"],
                         "private, max-age=60")
        path, query = self.find(number)
        answer = self.api.get(path, **query)
        self.assertEqual(answer.headers["Cache-Control"], "private, max-age=31536000, immutable")
        self.assertEqual(answer.headers["Content-Type"], "image/jpeg")
        self.assertEqual(answer.headers["X-Content-Type-Options"], "nosniff")
        again = self.api.get(path, {"If-None-Match": answer.headers["ETag"]}, **query)
        self.assertEqual((again.status, again.body), (304, b""))
        self.assertEqual(again.headers["Cache-Control"], answer.headers["Cache-Control"])
        other = self.api.get(path, {"If-None-Match": answer.headers["ETag"]}, size="96")
        self.assertEqual(other.status, 200)
        head = self.api.ask("HEAD", path, **query)
        self.assertEqual((head.status, head.body), (200, b""))
        self.assertEqual(head.headers["Content-Length"], str(len(answer.body)))

    def test_changes_when_the_song_or_the_picture_does(self):
        number = self.song()
        self.problem(self.api.get(f"/songs/{number}/cover"), 404)
        self.put("cover.jpg", pictures.jpeg(60, 60, RED))
        os.utime(self.folder, (1e9, 1e9 + self.counted()))
        first = self.find(number)
        self.assert_colour(self.cover(number), RED)
        # In its place and of the folder's old time, the picture's own is what changes.
        picture = self.folder / "cover.jpg"
        picture.write_bytes(pictures.jpeg(61, 61, BLUE))
        os.utime(picture, (1e9, 1e9 + self.counted()))
        self.assert_colour(self.cover(number), BLUE)
        self.assertNotEqual(self.find(number), first)
        self.song(pictures.with_id3_picture(self.mp3, pictures.png(70, 70, RED)))
        self.assert_colour(self.cover(number), RED)
        self.song()
        picture.unlink()
        os.utime(self.folder, (1e9, 1e9 + self.counted()))
        self.problem(self.api.get(f"/songs/{number}/cover"), 404)

    def test_that_is_not_there_is_no_error_to_who_says_so(self):
        self.put("cover.png", pictures.png(50, 50, RED))
        painted = self.song(name="painted.mp3")
        self.find(painted, missing="none")
        (self.folder / "Bare").mkdir()
        bare = self.add_song(self.folder / "Bare/bare.mp3")
        gone = self.add_song(self.folder / "Bare/gone.mp3")
        (self.folder / "Bare/gone.mp3").unlink()
        for number in (bare, gone, 99999):
            for query in ({}, {"missing": "problem"}):
                self.problem(self.api.get(f"/songs/{number}/cover", **query), 404)
            answer = self.api.get(f"/songs/{number}/cover", missing="none", size="96")
            self.assertEqual((answer.status, answer.body), (204, b""))
            self.assertEqual(answer.headers["Cache-Control"], "private, max-age=300")
        tool = ROOT / "usr/vexo/bin/cover"
        target = os.readlink(tool)
        tool.unlink()
        self.addCleanup(tool.symlink_to, target)
        unknown = self.song(name="unknown.mp3")
        self.problem(self.api.get(f"/songs/{unknown}/cover", missing="none"), 503)

    def test_is_found_once(self):
        tool = ROOT / "usr/vexo/bin/cover"
        target = os.readlink(tool)
        with_one = self.song(pictures.with_id3_picture(self.mp3, pictures.png(50, 50, BLUE)))
        (LIBRARY / "Bare").mkdir()
        without = self.add_song(LIBRARY / "Bare/bare.mp3")
        for path in (LIBRARY / "Bare/bare.mp3", LIBRARY / "Bare"):
            os.utime(path, (1e9, 1e9))
        beside = self.song(name="beside.mp3")
        self.put("folder.png", pictures.png(50, 50, RED))
        for number, status in ((with_one, 302), (beside, 302), (without, 404)):
            self.assertEqual(self.api.get(f"/songs/{number}/cover").status, status)
        tool.unlink()
        try:
            for number, status in ((with_one, 302), (beside, 302), (without, 404)):
                for size in ("96", "320", "640"):
                    self.assertEqual(self.api.get(f"/songs/{number}/cover", size=size).status, status)
            self.assert_colour(self.cover(beside), RED)
            # What was forgotten has to be made, which is not possible now, and is then.
            for kept in COVERS.glob("*/*.jpg"):
                kept.unlink()
            answer = self.api.get(f"/songs/{with_one}/cover")
            self.problem(answer, 503)
            self.assertGreater(int(answer.headers["Retry-After"]), 0)
        finally:
            tool.symlink_to(target)
        self.assert_colour(self.cover(with_one), BLUE)

    def test_many_at_once_are_all_answered(self):
        numbers = [self.song(pictures.with_id3_picture(self.mp3, pictures.png(300, 300, (i, 0, 0))),
                             f"{i}.mp3") for i in range(6)]
        with ThreadPoolExecutor(24) as pool:
            answers = list(pool.map(lambda number: self.api.get(f"/songs/{number}/cover"),
                                    numbers * 4))
        self.assertEqual({answer.status for answer in answers}, {302})
        self.assertEqual(len({answer.headers["Location"] for answer in answers}), 6)

    def test_takes_so_much_room_and_no_more(self):
        config = ROOT / "etc/vexo/playlist.conf"
        config.write_text("[covers]\nkeep_mib = 0\n")
        self.addCleanup(config.unlink)
        for i in range(120):
            content = pictures.with_id3_picture(self.mp3, pictures.png(20, 20, (i % 256, i // 256, 9)))
            (self.folder / f"{i}.mp3").write_bytes(content)
        self.settle()
        playlistctl("scan")
        ids = song_ids()
        shutil.rmtree(COVERS)
        for i in range(120):
            self.cover(ids[os.fsencode(self.folder / f"{i}.mp3")])
        most = max(len(list(shard.glob("*.jpg"))) for shard in COVERS.glob("??"))
        self.assertLessEqual(most, 3)

    def test_of_a_request_that_may_not_be(self):
        number = self.song()
        self.problem(self.api.get(f"/songs/{number}/cover", missing="all"), 400, "missing")
        for path in (f"/songs/{number}/cover", f"/covers/{'0' * 32}"):
            for query in ({"size": "97"}, {"colour": "red"}):
                answer = self.api.get(path, **query)
                self.problem(answer, 400, *query)
            self.assertEqual(Api(self.server, None).get(path).status, 401)
            self.problem(self.api.get(path, {"Sec-Fetch-Site": "cross-site"}), 403)
        for path in ("/songs/99999/cover", "/songs/x/cover", f"/covers/{'0' * 32}",
                     f"/covers/{'A' * 32}", "/covers/0", "/covers/0/0"):
            self.problem(self.api.get(path), 404)


class HostilePictures(CoverTest):
    def test_are_no_pictures_and_take_no_time(self):
        whole, truncated = pictures.png(800, 800), pictures.jpeg(800, 800)
        wide = bytearray(truncated)
        at = wide.index(b"\xff\xc0")
        wide[at + 5:at + 9] = b"\xff\xff\xff\xff"
        hostile = {
            "truncated.png": whole[:len(whole) // 2], "truncated.jpg": truncated[:len(truncated) // 2],
            "huge.png": pictures.png(60_000, 60_000, rows=10), "huge.jpg": bytes(wide),
            "flat.png": pictures.png(2 ** 31 - 1, 1, rows=0), "nothing.png": pictures.png(0, 0, rows=0),
            "bomb.png": pictures.png(7_100, 7_100),
            "vector.jpg": b'<svg xmlns="http://www.w3.org/2000/svg"><image href="/etc/passwd"/></svg>',
            "script.jpg": b"#!/bin/sh\ntouch /tmp/owned\n", "empty.jpg": b"",
            "begin.jpg": b"\xff\xd8\xff", "begin.webp": b"RIFF\xff\xff\xff\xffWEBPVP8L",
            "begin.png": b"\x89PNG\r\n\x1a\n", "noise.jpg": b"\xff\xd8\xff" + os.urandom(100_000),
        }
        for name, content in hostile.items():
            with self.subTest(name):
                begin = time.monotonic()
                number = self.song(pictures.with_id3_picture(self.mp3, content), f"{name}.mp3")
                self.problem(self.api.get(f"/songs/{number}/cover"), 404)
                self.assertLess(time.monotonic() - begin, 15)

    def test_beside_a_song_lie_in_its_library(self):
        own = PERSONAL.folder.parent / "cover.png"
        own.parent.mkdir(parents=True, exist_ok=True)
        own.write_bytes(pictures.png(50, 50, BLUE))
        elsewhere = ROOT / "cover.png"
        elsewhere.write_bytes(pictures.png(50, 50, BLUE))
        number = self.song()
        for target in (own, elsewhere, Path("/dev/zero"), LIBRARY, self.folder / "cover.png"):
            with self.subTest(target):
                (self.folder / "cover.png").unlink(missing_ok=True)
                (self.folder / "cover.png").symlink_to(target)
                for user in (ANNA, BEN, ANNA):
                    self.problem(Api(self.server, user).get(f"/songs/{number}/cover"), 404)
        (self.folder / "cover.png").unlink()
        real = self.put("real.png", pictures.png(50, 50, RED))
        (self.folder / "cover.png").symlink_to(real)
        self.assert_colour(self.cover(number, BEN), RED)

    def test_of_a_personal_library_are_its_users_alone(self):
        song = PERSONAL.folder.parent / "painted.mp3"
        song.parent.mkdir(parents=True, exist_ok=True)
        song.write_bytes(pictures.with_id3_picture(self.mp3, pictures.png(51, 51, BLUE)))
        playlistctl("scan")
        number = song_ids()[os.fsencode(song)]
        path, query = self.find(number)
        self.assertEqual(self.api.get(path, **query).status, 200)
        self.problem(Api(self.server, BEN).get(path, **query), 404)
        self.problem(Api(self.server, BEN).get(f"/songs/{number}/cover"), 404)
        # A link in the shared library leads nowhere for others, also after its user has been there.
        link = LIBRARY / "linked.mp3"
        number = self.add_song(link)
        link.unlink()
        link.symlink_to(song)
        self.find(number)
        self.problem(Api(self.server, BEN).get(f"/songs/{number}/cover"), 404)


if __name__ == "__main__":
    unittest.main()
