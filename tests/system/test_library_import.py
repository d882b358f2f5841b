"""Entries that have lost their songs, and playlists of other programs: which songs they mean."""

import os
import subprocess
import unittest
import urllib.parse
from pathlib import Path
from xml.sax.saxutils import escape

from api import Api
from server import (ANNA, BEN, BIN, LIBRARY, PERSONAL, ROOT, SHARED, ServerTest, cgi_environment,
                    playlistctl)

LONGEST = b"".join(b"/mnt/%d/x%d.mp3\n" % (n, n) for n in range(100000))


class ImportTest(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.api, cls.ben = Api(cls.server, ANNA), Api(cls.server, BEN)
        made = cls.server.add(SHARED, "All", [])
        SHARED.file("All").write_text("\n".join(cls.tracks) + "\n")
        entries = cls.api.get(f"/playlists/{made.id}", limit=1000).json["items"]
        cls.songs = {entry["path"]: entry["song"] for entry in entries}

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)


class Missing(ImportTest):
    def missing(self, name, lines, kind=SHARED, **query):
        made = self.server.add(kind, name, [])
        kind.file(name).write_text("\n".join(lines) + "\n")
        answer = self.api.get(f"/playlists/{made.id}/missing", **query)
        self.assertEqual(answer.status, 200, answer)
        return answer.json

    def test_entries_come_with_candidates_best_first(self):
        track = next(t for t in self.tracks if "Å" in t)
        song, name = self.songs[track], Path(track)
        moved = f"/mnt/old/{name.parent.parent.name}/{name.parent.name}/{name.name}"
        tagged = f'#EXTINF:{round(song["duration"])},{song["artist"]} - {song["title"]}'
        page = self.missing("Moved", [
            "#EXTM3U", self.tracks[0], moved, tagged, "D:\\x\\other name.wma",
            f"/mnt/old/{name.stem.upper()}.wma", "http://radio.example/", "/mnt/nothing like it.mp3"])
        self.assertEqual((page["total"], [item["position"] for item in page["items"]]),
                         (4, [1, 2, 3, 5]))
        by_tail, by_tags, by_name, nothing = page["items"]
        self.assertEqual(by_tail["candidates"][0]["song"], song)
        self.assertEqual(by_tail["candidates"][0]["why"][:2], ["file_name", "folder"])
        self.assertEqual(by_tags["candidates"][0]["song"], song)
        self.assertEqual(by_tags["candidates"][0]["why"], ["title", "artist", "duration"])
        self.assertEqual(by_name["candidates"][0]["song"], song)
        self.assertIn("file_name", by_name["candidates"][0]["why"])
        self.assertEqual(nothing["candidates"], [])
        for item in page["items"]:
            scores = [candidate["score"] for candidate in item["candidates"]]
            self.assertEqual(scores, sorted(scores, reverse=True))

    def test_entries_can_be_repaired(self):
        track = self.tracks[1]
        page = self.missing("Repaired", ["/mnt/" + Path(track).name, self.tracks[0]])
        made, best = page["playlist"]["id"], page["items"][0]["candidates"][0]["song"]
        self.assertEqual(best, self.songs[track])
        self.assertTrue(self.server.ask("update", playlist=made, id_info_list=[str(best["id"])],
                                        start="0", limit="1").success)
        self.assertEqual(self.api.get(f"/playlists/{made}/missing").json["total"], 0)

    def test_entries_come_in_pages(self):
        page = self.missing("Pages", [f"/mnt/{n}.mp3" for n in range(5)], offset=3, limit=1)
        self.assertEqual((page["total"], page["offset"], len(page["items"])), (5, 3, 1))
        self.assertEqual(page["items"][0]["position"], 3)

    def test_songs_of_others_are_no_candidates(self):
        hers = ROOT / "var/services/homes/anna/music/Hers alone.flac"
        hers.write_bytes(Path(self.tracks[0]).read_bytes() + b"\0")
        playlistctl("scan")
        page = self.missing("Private", ["/mnt/Hers alone.flac", str(hers)])
        self.assertEqual(page["total"], 1)
        self.assertEqual(page["items"][0]["candidates"][0]["song"]["library"], "personal")
        of_ben = self.ben.get(f'/playlists/{page["playlist"]["id"]}/missing').json
        self.assertEqual(of_ben["total"], 2)
        for item in of_ben["items"]:
            for candidate in item["candidates"]:
                self.assertEqual(candidate["song"]["library"], "shared")

    def test_are_of_lists_only(self):
        path = "/playlists/{}/missing"
        self.problem(self.api.get(path.format("musiclib_random")), 404)
        self.problem(self.api.get(path.format("musiclib_music_shared/playlist/999")), 404, "playlist")
        made = self.server.add(SHARED, "Zeros", [])
        self.problem(self.api.get(path.format(made.id), limit="x"), 400, "limit")
        SHARED.file("Zeros").write_bytes(b"\0")
        self.problem(self.api.get(path.format(made.id)), 409, "playlist")
        SHARED.file("Zeros").unlink()
        self.problem(self.api.get(path.format(made.id)), 404, "playlist")
        self.assertEqual(Api(self.server, None).get(path.format(made.id)).status, 401)
        self.problem(self.api.get(path.format(made.id), headers={"Sec-Fetch-Site": "cross-site"}), 403)


class AnImport(ImportTest):
    def read(self, body, content_type="text/plain"):
        answer = self.api.post("/import", body if isinstance(body, bytes) else body.encode(),
                               content_type=content_type)
        self.assertEqual(answer.status, 200, answer)
        return answer.json

    def matches(self, body, content_type="text/plain"):
        return [(item["match"], item.get("song")) for item in self.read(body, content_type)["items"]]

    def test_of_m3u_tells_how_songs_were_found(self):
        first, second = self.tracks[0], next(t for t in self.tracks if "Å" in t)
        song = self.songs[second]
        tags = f'#EXTINF:{round(song["duration"])},{song["artist"]} - {song["title"]}'
        inside = os.path.relpath(second, LIBRARY)
        page = self.read("\n".join([
            "#EXTM3U", first, inside, inside.replace("/", "\\"),
            f"/mnt/{Path(second).parent.name}/{Path(second).name}",
            tags, "/mnt/a.mp3", tags, f"/mnt/{Path(second).name}", "http://radio.example/", "/mnt/b.mp3"]))
        self.assertEqual([item["match"] for item in page["items"]], [
            "path", "path", "path", "tail", "tags", "file_name", "stream", "none"])
        self.assertEqual((page["total"], page["unmatched"]), (8, 1))
        self.assertEqual(page["items"][0]["song"], self.songs[first])
        for item in page["items"][1:6]:
            self.assertEqual(item["song"], song)

    def test_of_an_export_gives_every_song_back(self):
        made = self.server.add(SHARED, "Back", [str(song["id"]) for song in self.songs.values()])
        wanted = [("path", song) for song in self.songs.values()]
        for format_, content_type in (("m3u8", "application/vnd.apple.mpegurl"),
                                      ("pls", "audio/x-scpls"), ("xspf", "application/xspf+xml"),
                                      ("jspf", "application/jspf+json")):
            with self.subTest(format_):
                body = self.api.get(f"/playlists/{made.id}", format=format_).body
                self.assertEqual(self.matches(body, content_type), wanted)

    def test_of_xspf_takes_other_programs_ways(self):
        track = self.tracks[2]
        song = self.songs[track]
        uri = "file://" + urllib.parse.quote(track)
        body = f"""<?xml version="1.0" encoding="ISO-8859-1"?>
            <playlist xmlns="http://xspf.org/ns/0/" xmlns:o="http://o.example/" version="1">
              <trackList><track><o:location>/wrong</o:location><location> {escape(uri)} </location>
                <location>/second</location><extension><title>no</title></extension></track>
              <track><title>{escape(song["title"])}</title><creator>{escape(song["artist"])}</creator>
                <duration>{round(song["duration"] * 1000)}</duration></track>
              <track><location>https://radio.example/?a&amp;b</location></track></trackList>
            </playlist>"""
        page = self.read(body.encode("iso-8859-1", "xmlcharrefreplace"), "application/xml")
        self.assertEqual([(item["match"], item.get("song")) for item in page["items"]],
                         [("path", song), ("tags", song), ("stream", None)])
        self.assertEqual(page["items"][2]["path"], "https://radio.example/?a&b")

    def test_of_a_form_takes_its_file(self):
        boundary = "xyz"
        form = (f"--{boundary}\r\nContent-Disposition: form-data; name=\"{{}}\"; filename=\"a.m3u\"\r\n"
                f"Content-Type: audio/x-mpegurl\r\n\r\n{self.tracks[0]}\r\n--{boundary}--\r\n")
        type_ = f"multipart/form-data; boundary={boundary}"
        self.assertEqual(self.matches(form.format("file"), type_), [("path", self.songs[self.tracks[0]])])
        for body, content_type, parameter in (
                (form.format("other"), type_, "file"), (form.format("file"), "multipart/form-data", None),
                ("--xyz", type_, None)):
            self.problem(self.api.post("/import", body.encode(), content_type=content_type), 400,
                         parameter)

    def test_of_what_is_none_is_refused(self):
        bomb = "".join(f'<!ENTITY l{n} "{f"&l{n - 1};" * 10}">' for n in range(1, 12))
        for body in (f'<!DOCTYPE p [<!ENTITY l0 "x">{bomb}]><playlist><trackList><track><title>&l11;'
                     "</title></track></trackList></playlist>",
                     '<!DOCTYPE p SYSTEM "file:///etc/passwd"><playlist/>',
                     "<playlist><trackList>", "<html/>", "<" + "a><" * 50000, "<playlist>" + "<a>" * 100,
                     "{}", "{", '{"playlist":{"track":[1]}}', "{" + "[" * 100000, "\0",
                     '<playlist><title>&nbsp;</title></playlist>'):
            self.problem(self.api.post("/import", body.encode(), content_type="text/plain"), 400)
        self.problem(self.api.post("/import", b"/a", content_type="image/png"), 415)
        self.problem(self.api.post("/import", b"a" * ((8 << 20) + 1), content_type="text/plain"), 413)
        self.problem(self.api.post("/import", b"/a\n" * 100001, content_type="text/plain"), 400)
        self.assertEqual(Api(self.server, None).post("/import", b"/a", content_type="text/plain").status,
                         401)
        self.problem(self.api.post("/import", b"/a", content_type="text/plain",
                                   headers={"Sec-Fetch-Site": "cross-site"}), 403)

    def test_of_the_longest_list_is_answered(self):
        # Not by way of the API's document: to hold so many entries against it takes a minute.
        page = self.server.send(ANNA, body=LONGEST, path="/api/import",
                                headers={"Content-Type": "text/plain"}).json
        self.assertEqual((page["total"], page["unmatched"], len(page["items"])), (100000,) * 3)

    def test_of_the_longest_list_takes_little_memory(self):
        environment = {**cgi_environment(ANNA, LONGEST), "CONTENT_TYPE": "text/plain",
                       "SCRIPT_NAME": "/api", "PATH_INFO": "/import"}
        done = subprocess.run(["prlimit", f"--data={64 << 20}", BIN / "audio_library.cgi"], input=LONGEST,
                              env=environment, stdout=subprocess.PIPE, check=False)
        self.assertTrue(done.stdout.endswith(b'"total":100000,"unmatched":100000}'), done.stdout[-200:])

    def test_writes_nothing(self):
        before = sorted(PERSONAL.folder.glob("*")) + sorted(SHARED.folder.glob("*"))
        self.read(self.tracks[0])
        self.assertEqual(sorted(PERSONAL.folder.glob("*")) + sorted(SHARED.folder.glob("*")), before)


if __name__ == "__main__":
    unittest.main()
