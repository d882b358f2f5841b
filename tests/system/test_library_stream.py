"""Songs as the library program sends them, by the web server and by itself."""

import os
import shutil
import subprocess
import unittest
from email.utils import formatdate
from pathlib import Path

from api import Api
from media import MediaTest
from server import ANNA, BEN, BIN, LIBRARY, ROOT, PERSONAL, Server
from server import wait_until

BY_SERVER = "VEXO_X_SENDFILE"  # what the web server's configuration tells the program by


class StreamTest(MediaTest):
    def setUp(self):
        self.bytes = Path(self.track).read_bytes()
        self.size = len(self.bytes)
        self.path = f"/songs/{self.ids[self.track.encode()]}/stream"

    def stream(self, **headers):
        return self.api.get(self.path, {name.replace("_", "-"): value
                                        for name, value in headers.items()})


class Streams(StreamTest):
    """By the web server, as `serve` has it."""

    def test_all_of_a_song(self):
        answer = self.stream()
        self.assertEqual((answer.status, answer.body), (200, self.bytes))
        self.assertEqual(answer.headers["Content-Type"], "audio/mpeg")
        self.assertEqual(answer.headers["Content-Length"], str(self.size))
        self.assertEqual(answer.headers["Accept-Ranges"], "bytes")
        self.assertEqual(answer.headers["X-Content-Type-Options"], "nosniff")
        self.assertEqual(answer.headers["Cache-Control"], "private, no-cache")
        self.assertEqual(answer.headers["Last-Modified"],
                         formatdate(int(os.stat(self.track).st_mtime), usegmt=True))
        self.assertRegex(answer.headers["Content-Disposition"], '^inline; filename="01 ')
        self.assertNotIn("X-Sendfile", answer.headers)

    def test_every_format_has_its_media_type(self):
        types = {".mp3": "audio/mpeg", ".flac": "audio/flac", ".ogg": "audio/ogg",
                 ".opus": "audio/ogg", ".m4a": "audio/mp4"}
        for track in self.tracks:
            answer = self.api.get(f"/songs/{self.ids[track.encode()]}/stream")
            self.assertEqual(answer.headers["Content-Type"], types[Path(track).suffix])
            self.assertEqual(answer.body, Path(track).read_bytes())

    def test_the_head_of_a_song(self):
        for headers in ({}, {"Range": "bytes=0-3"}, {"Range": "bytes=99999999-"}):
            answer = self.api.ask("HEAD", self.path, headers=headers)
            self.assertEqual((answer.status, answer.body), (200, b""))
            self.assertEqual(answer.headers["Content-Length"], str(self.size))

    def test_a_range(self):
        size = self.size
        for wanted, first, last in (("0-0", 0, 0), ("5-9", 5, 9), ("7-", 7, size - 1),
                                    ("-4", size - 4, size - 1), (f"-{size + 5}", 0, size - 1),
                                    (f"3-{size + 5}", 3, size - 1),
                                    (f"3-{2 ** 63 - 1}", 3, size - 1),
                                    (f"3-{2 ** 64 - 1}", 3, size - 1),
                                    (f"-{2 ** 64}", 0, size - 1)):
            with self.subTest(wanted):
                answer = self.stream(Range=f"bytes={wanted}")
                self.assertEqual(answer.status, 206)
                self.assertEqual(answer.headers["Content-Range"], f"bytes {first}-{last}/{size}")
                self.assertEqual(answer.headers["Content-Type"], "audio/mpeg")
                self.assertEqual(answer.body, self.bytes[first:last + 1])

    def test_a_range_that_is_not_there(self):
        for wanted in (f"{self.size}-", "99999999999999999999-", "-0"):
            with self.subTest(wanted):
                answer = self.stream(Range=f"bytes={wanted}")
                self.problem(answer, 416)
                self.assertEqual(answer.headers["Content-Range"], f"bytes */{self.size}")

    def test_what_is_no_range_or_several_is_the_whole(self):
        for wanted in ("bytes=0-1,5-6", "lines=0-3", "bytes=9-3", "bytes=x", "bytes"):
            with self.subTest(wanted):
                answer = self.stream(Range=wanted)
                self.assertEqual((answer.status, answer.body), (200, self.bytes))

    def test_a_range_of_the_version_that_the_client_has(self):
        os.utime(self.track, (1e9, 1e9))
        whole = self.stream()
        for validator, status in ((whole.headers["ETag"], 206), ('"other"', 200),
                                  (f"W/{whole.headers['ETag']}", 200),
                                  (whole.headers["Last-Modified"], 206),
                                  ("Sun, 06 Nov 1994 08:49:37 GMT", 200)):
            with self.subTest(validator):
                answer = self.stream(Range="bytes=2-3", If_Range=validator)
                self.assertEqual(answer.status, status)
                self.assertEqual(answer.body, self.bytes[2:4] if status == 206 else self.bytes)
        self.assertEqual(self.stream(Range="bytes=99999999-", If_Range='"other"').status, 200)

    def test_a_version_that_the_client_has_is_not_sent_again(self):
        whole = self.stream()
        for headers in ({"If_None_Match": whole.headers["ETag"]}, {"If_None_Match": "*"},
                        {"If_Modified_Since": whole.headers["Last-Modified"]}):
            answer = self.stream(**headers)
            self.assertEqual((answer.status, answer.body), (304, b""))
            self.assertEqual(answer.headers["ETag"], whole.headers["ETag"])
        os.utime(self.track)
        self.assertEqual(self.stream(If_None_Match=whole.headers["ETag"]).status, 200)
        # A version that is compared is the only thing that counts.
        self.assertEqual(self.stream(If_None_Match='"other"',
                                     If_Modified_Since=formatdate(usegmt=True)).status, 200)

    def test_a_file_of_any_name(self):
        link = LIBRARY / "any.mp3"
        path = f"/songs/{self.add_song(link)}/stream"
        for name in ("100% +&#; \"x\".mp3", "line\nend.mp3", "back\\slash.mp3", "жук 漢.mp3",
                     b"\xfc not UTF-8.mp3"):
            with self.subTest(name):
                file = os.path.join(os.fsencode(LIBRARY), os.fsencode(name))
                shutil.copy(self.track, file)
                link.unlink()
                os.symlink(file, os.fsencode(link))
                self.assertEqual(self.api.get(path).body, self.bytes)
                self.assertEqual(self.api.get(path, {"Range": "bytes=3-5"}).body, self.bytes[3:6])
                for ignored in ("bytes=0-1,3-5", "bytes=5-2"):
                    self.assertEqual(self.api.get(path, {"Range": ignored}).body, self.bytes)

    def test_what_is_no_song_of_the_users_is_not_there(self):
        own = self.add_song(PERSONAL.folder.parent / "own.mp3")
        self.assertEqual(self.api.get(f"/songs/{own}/stream").status, 200)
        self.problem(Api(self.server, BEN).get(f"/songs/{own}/stream"), 404)
        for number in ("0", "-1", "99999", "99999999999", "x", "1x"):
            self.problem(self.api.get(f"/songs/{number}/stream"), 404)

    def test_the_real_path_decides(self):
        own = PERSONAL.folder.parent / "linked.mp3"
        self.add_song(own)
        elsewhere = ROOT / "elsewhere.mp3"
        shutil.copy(self.track, elsewhere)
        file = LIBRARY / "link.mp3"
        path = f"/songs/{self.add_song(file)}/stream"
        for target, of_anna, of_ben in ((own, 200, 404), (elsewhere, 404, 404),
                                        (Path(self.track), 200, 200), (LIBRARY, 404, 404),
                                        (Path("/dev/zero"), 404, 404)):
            with self.subTest(target):
                file.unlink()
                file.symlink_to(target)
                for user, status in ((ANNA, of_anna), (BEN, of_ben)):
                    answer = Api(self.server, user).get(path)
                    self.assertEqual(answer.status, status, answer)
                    if status == 200:
                        self.assertEqual(answer.body, target.read_bytes())
        file.unlink()
        self.problem(self.api.get(path), 404)

    def test_a_request_that_may_not_be(self):
        answer = self.api.get(self.path, colour="red")
        self.problem(answer, 400, "colour")
        self.assertEqual(Api(self.server, None).get(self.path).status, 401)
        self.problem(self.stream(Sec_Fetch_Site="cross-site"), 403)

    def test_a_client_that_goes_away_ends_its_request(self):
        number = self.add_song(LIBRARY / "long.mp3", size=256 << 20)
        client = self.slow_client(f"/songs/{number}/stream")
        wait_until(lambda: self.users_of("long.mp3"), "the song is sent")
        client.kill()
        wait_until(lambda: not self.users_of("long.mp3"), "the request ends")


class StreamsByTheProgram(Streams):
    """By the program itself, as below a web server that knows no X-Sendfile."""

    WITHOUT = (BY_SERVER, "cgi.x-sendfile", 'server.range-requests = "enable"')

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server.stop()
        cls.server = Server(without=cls.WITHOUT)
        cls.addClassCleanup(cls.server.stop)
        cls.api = Api(cls.server)


class StreamsThatTheServerCuts(StreamsByTheProgram):
    """The same, while the web server cuts what it can into ranges."""

    WITHOUT = (BY_SERVER,)


class WhoSends(MediaTest):
    def ask(self, number, **environment):
        """The program's own answer."""
        done = subprocess.run(
            [BIN / "audio_library.cgi"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL,
            env={"REMOTE_USER": ANNA, "REQUEST_METHOD": "GET",
                 "PATH_INFO": f"/songs/{number}/stream", **environment}, timeout=60, check=True)
        head, _, body = done.stdout.partition(b"\r\n\r\n")
        return head.decode(), body

    def test_the_server_is_told_the_file_only_where_it_said_that_it_sends_it(self):
        track = next(track for track in self.tracks if " " in track and track.isascii())
        number = self.ids[track.encode()]
        head, body = self.ask(number, VEXO_X_SENDFILE="on")
        self.assertIn(f"X-Sendfile: {track.replace(' ', '%20')}", head.replace("%26", "&")
                      .replace("%28", "(").replace("%29", ")").replace("%2C", ","))
        self.assertEqual(body, b"")
        for environment in ({}, {"VEXO_X_SENDFILE": ""}, {"HTTP_VEXO_X_SENDFILE": "on"}):
            head, body = self.ask(number, **environment)
            self.assertNotIn("X-Sendfile", head)
            self.assertEqual(body, Path(track).read_bytes())


if __name__ == "__main__":
    unittest.main()
