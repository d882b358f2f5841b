"""The playlists that /api/playlists tells, and what each holds."""

import os
import shutil
import time
import unittest
import urllib.parse
import xml.etree.ElementTree

from api import Api
from server import ANNA, BEN, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest, playlistctl

RULES = ROOT / "etc/mt-daapd.playlist"


def smart_file(user):
    folder = ROOT / f"var/lib/vexo/preferences/{user}/playlists"
    folder.mkdir(parents=True, exist_ok=True)
    return folder / "smart.playlist"


class PlaylistTest(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # One song of her own.
        cls.hers = ROOT / "var/services/homes/anna/music/hers.flac"
        shutil.copy(cls.tracks[0], cls.hers)
        playlistctl("scan")
        cls.anna, cls.ben = Api(cls.server, ANNA), Api(cls.server, BEN)

    def api_of(self, kind):
        return self.anna if kind.user == ANNA else self.ben

    def make(self, kind, name, lines):
        """A playlist with these lines, whatever they are. Gives its node id."""
        made = self.server.add(kind, name, [])
        self.assertTrue(made.success, made)
        kind.file(name).write_text("".join(f"{line}\n" for line in lines))
        return made.id

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)

    def only(self, api, **query):
        """The one playlist that a question finds."""
        page = api.get("/playlists", **query).json
        self.assertEqual(page["total"], 1, page)
        return page["items"][0]


class ThePlaylists(PlaylistTest):
    def names(self, api, **query):
        return [item["name"] for item in api.get("/playlists", **query).json["items"]]

    def test_are_told_with_all_that_is_known_of_a_list(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                made = self.make(kind, "Known", ["#EXTM3U", "#EXTINF:90,A - B", self.tracks[0],
                                                 "#EXTINF:-1,Live", "http://radio.example/live"])
                item = self.only(self.api_of(kind), q="known", library=kind.type)
                self.assertEqual(item, {
                    "id": made, "name": "Known", "kind": "list", "library": kind.type, "count": 2,
                    "duration": 90, "size": kind.file("Known").stat().st_size,
                    "changed": int(kind.file("Known").stat().st_mtime), "version": item["version"]})
                self.assertEqual(len(item["version"]), 32)
                page = self.api_of(kind).get(f"/playlists/{made}", limit=1).json
                self.assertEqual(page["playlist"], item)

    def test_of_an_edit_are_told_anew(self):
        made = self.make(SHARED, "Edited", ["/one"])
        os.utime(SHARED.file("Edited"), (1, 1))
        first = self.only(self.anna, q="edited")
        again = self.only(self.anna, q="edited")
        self.assertEqual(first, again)
        SHARED.file("Edited").write_text("/1\n/2")
        self.assertEqual(self.only(self.anna, q="edited")["count"], 2)
        self.assertTrue(self.server.ask("removesongs", playlist=made, seq_list="0").success)
        last = self.only(self.anna, q="edited")
        self.assertEqual(last["count"], 1)
        self.assertNotEqual(last["version"], first["version"])

    def test_play_as_long_as_the_file_tells_or_else_the_index(self):
        made = self.make(SHARED, "Length", ["#EXTINF:90,told", self.tracks[0], self.tracks[0], "/gone.mp3",
                                            "http://radio.example/", str(self.hers)])
        known = self.entries_of("Length")[0]["song"]["duration"]
        for pause in (1.1, 0, 0):  # not kept before it is settled; then kept; then found again
            self.assertAlmostEqual(self.only(self.ben, q="length")["duration"], 90 + known, 2)
            self.assertAlmostEqual(self.only(self.anna, q="length")["duration"], 90 + 2 * known, 2)
            page = self.anna.get(f"/playlists/{made}", limit=0).json
            self.assertAlmostEqual(page["playlist"]["duration"], 90 + 2 * known, 2)
            time.sleep(pause)

    def entries_of(self, name):
        return self.anna.get(f'/playlists/{self.only(self.anna, q=name)["id"]}').json["items"]

    def test_of_others_do_not_exist(self):
        hers = self.make(PERSONAL, "Secret of Anna", [])
        his = self.make(PREFERENCE, "Secret of Ben", [])
        self.assertEqual(self.names(self.anna, q="secret"), ["Secret of Anna"])
        self.assertEqual(self.names(self.ben, q="secret"), ["Secret of Ben"])
        self.problem(self.ben.get(f"/playlists/{hers}"), 404, "playlist")
        self.problem(self.anna.get(f"/playlists/{his}"), 404, "playlist")

    def test_are_of_every_kind(self):
        RULES.write_text('"Kinds of all" { year > 1 }\n')
        smart_file(BEN).write_text('"Kinds of Ben" { year > 1 }\n"no/node" { year > 1 }')
        self.assertEqual(self.names(self.ben, q="kinds"), ["Kinds of all", "Kinds of Ben"])
        self.assertEqual(self.names(self.anna, q="kinds"), ["Kinds of all"])
        mine = self.only(self.ben, q="kinds", library="personal")
        self.assertEqual((mine["id"], mine["kind"]),
                         ("musiclib_music_personal/smart/Kinds of Ben", "smart"))
        self.assertEqual(self.only(self.ben, kind="random")["id"], "musiclib_random")
        RULES.write_text("")
        smart_file(BEN).write_text("")

    def test_come_in_pages_and_orders(self):
        for number in range(4):
            self.make(SHARED, f"paged {number}", [])
            os.utime(SHARED.file(f"paged {number}"), (number ^ 1, number ^ 1))
        self.assertEqual(self.names(self.anna, q="PAGED", offset=1, limit=2), ["paged 1", "paged 2"])
        self.assertEqual(self.names(self.anna, q="paged", dir="desc", limit=1), ["paged 3"])
        self.assertEqual(self.names(self.anna, q="paged", sort="changed"),
                         ["paged 1", "paged 0", "paged 3", "paged 2"])
        self.assertEqual(self.names(self.anna, q="paged", offset=9), [])
        self.assertEqual(self.anna.get("/playlists", q="2 aged", limit=0).json["total"], 1)

    def test_have_a_version_together(self):
        self.make(SHARED, "Tagged", [])
        tag = self.anna.get("/playlists").headers["ETag"]
        again = self.anna.get("/playlists", headers={"If-None-Match": tag})
        self.assertEqual((again.status, again.body), (304, b""))
        SHARED.file("Tagged").write_text("/a\n")
        self.assertEqual(self.anna.get("/playlists", headers={"If-None-Match": tag}).status, 200)

    def test_whose_file_is_not_there_or_no_list_say_so(self):
        gone = self.make(SHARED, "Broken gone", [])
        SHARED.file("Broken gone").unlink()
        zeros = self.make(SHARED, "Broken zeros", [])
        SHARED.file("Broken zeros").write_bytes(b"\0\0")
        led = self.make(SHARED, "Broken link", [])
        SHARED.file("Broken link").unlink()
        SHARED.file("Broken link").symlink_to("/etc/passwd")
        items = {item["id"]: item for item in self.anna.get("/playlists", q="broken").json["items"]}
        self.assertTrue(items[gone]["missing"])
        for playlist in (zeros, led):
            self.assertTrue(items[playlist]["unreadable"])
            self.assertNotIn("size", items[playlist])
            self.problem(self.anna.get(f"/playlists/{playlist}"), 409, "playlist")
        self.problem(self.anna.get(f"/playlists/{gone}"), 404, "playlist")

    def test_refuse_what_they_do_not_know(self):
        for name, value in (("library", "hers"), ("kind", "long"), ("sort", "size"), ("dir", "up"),
                            ("limit", "1001"), ("name", "x")):
            self.problem(self.anna.get("/playlists", **{name: value}), 400, name)

    def test_are_for_users_on_this_site_only(self):
        for path in ("/playlists", "/playlists/musiclib_random"):
            self.assertEqual(Api(self.server, None).get(path).status, 401)
            self.problem(self.anna.get(path, headers={"Sec-Fetch-Site": "cross-site"}), 403)


class APlaylist(PlaylistTest):
    def entries(self, api, playlist, **query):
        answer = api.get(f"/playlists/{playlist}", **query)
        self.assertEqual(answer.status, 200, answer)
        return answer.json["items"]

    def test_tells_what_each_entry_says_and_stands_for(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                relative = os.path.relpath(self.tracks[0], kind.folder)
                made = self.make(kind, "Entries", [
                    "#EXTM3U", "#EXTINF:61,Artist - Title", self.tracks[0], relative.replace("/", "\\"),
                    "http://radio.example/live", "file://" + self.tracks[1].replace(" ", "%20"),
                    str(LIBRARY / "gone.mp3"), "D:\\Music\\gone.mp3"])
                answer = self.api_of(kind).get(f"/playlists/{made}").json
                self.assertEqual((answer["total"], answer["playlist"]["name"]), (6, "Entries"))
                first, inverted, stream, address, gone, other = answer["items"]
                self.assertEqual({**first, "song": None}, {
                    "position": 0, "path": self.tracks[0], "artist": "Artist", "title": "Title",
                    "duration": 61, "song": None})
                self.assertEqual(inverted["song"], first["song"])
                self.assertEqual(stream["stream"], "http://radio.example/live")
                self.assertNotEqual(address["song"]["id"], first["song"]["id"])
                self.assertEqual((gone["missing"], other["missing"]), (True, True))
                self.assertEqual([item["position"] for item in answer["items"]], list(range(6)))

    def test_has_no_song_of_another_users_library(self):
        hers = str(self.hers)
        made = self.make(SHARED, "Of all", [hers])
        self.assertIn("song", self.entries(self.anna, made)[0])
        self.assertEqual(self.entries(self.ben, made),
                         [{"position": 0, "path": hers, "missing": True}])

    def test_knows_a_file_that_the_index_does_not(self):
        (LIBRARY / "new.mp3").write_bytes(b"")
        self.addCleanup((LIBRARY / "new.mp3").unlink)
        made = self.make(SHARED, "New", ["new.mp3"])
        self.assertEqual(self.entries(self.anna, made), [{"position": 0, "path": "new.mp3"}])

    def test_comes_in_pages(self):
        made = self.make(PERSONAL, "Long", [f"/nowhere/{n}" for n in range(2500)])
        page = self.anna.get(f"/playlists/{made}", offset=2495, limit=1000).json
        self.assertEqual((page["total"], page["offset"], len(page["items"])), (2500, 2495, 5))
        self.assertEqual(page["items"][0]["path"], "/nowhere/2495")
        self.assertEqual(self.entries(self.anna, made, offset=2500), [])

    def test_has_the_version_of_its_content(self):
        made = self.make(SHARED, "Versions", ["/a"])
        answer = self.anna.get(f"/playlists/{made}")
        tag = answer.headers["ETag"]
        version = self.only(self.anna, q="versions")["version"]
        self.assertEqual(answer.json["playlist"]["version"], version)
        self.assertEqual(tag.split("-")[0], f'"{version}')
        self.assertEqual(
            self.anna.get(f"/playlists/{made}", headers={"If-None-Match": tag}).status, 304)
        SHARED.file("Versions").write_text("/b\n")
        self.assertEqual(
            self.anna.get(f"/playlists/{made}", headers={"If-None-Match": tag}).status, 200)

    def test_is_another_one_when_the_index_knows_other_songs(self):
        later = LIBRARY / "later.flac"
        made = self.make(SHARED, "Later", [later])
        shutil.copy(self.tracks[0], later)
        before = self.anna.get(f"/playlists/{made}")
        self.assertNotIn("song", before.json["items"][0])
        playlistctl("scan")
        after = self.anna.get(f"/playlists/{made}", headers={"If-None-Match": before.headers["ETag"]})
        self.assertEqual(after.status, 200)
        self.assertIn("song", after.json["items"][0])
        self.assertEqual(after.json["playlist"]["version"], before.json["playlist"]["version"])
        later.unlink()
        playlistctl("scan")

    def test_that_is_smart_has_the_songs_of_today(self):
        RULES.write_text('"Two" { path includes "/" order by title limit 2 }\n"Bad" { year ! }')
        page = self.anna.get("/playlists/musiclib_music_shared/smart/Two", limit=1).json
        self.assertEqual((page["total"], len(page["items"])), (2, 1))
        self.assertIn("id", page["items"][0]["song"])
        second = self.entries(self.anna, "musiclib_music_shared/smart/Two", offset=1)
        self.assertEqual([item["position"] for item in second], [1])
        bad = self.anna.get("/playlists/musiclib_music_shared/smart/Bad")
        self.problem(bad, 409, "rule")
        self.assertEqual((bad.json["line"], bad.json["column"]), (1, 9))
        RULES.write_text("")
        self.problem(self.anna.get("/playlists/musiclib_music_shared/smart/Two"), 404, "playlist")

    def test_of_chance_has_other_songs_each_time(self):
        answer = self.anna.get("/playlists/musiclib_random", limit=1000)
        self.assertNotIn("ETag", answer.headers)
        first = [item["song"]["id"] for item in answer.json["items"]]
        self.assertEqual(len(set(first)), answer.json["total"])
        orders = [first] + [[item["song"]["id"] for item in self.entries(
            self.anna, "musiclib_random", limit=1000)] for _ in range(3)]
        self.assertGreater(len({tuple(order) for order in orders}), 1)
        self.assertEqual(
            self.anna.get("/playlists/musiclib_random", library="personal").json["total"], 1)
        self.problem(self.ben.get("/playlists/musiclib_random", library="personal"), 400, "library")

    def test_that_is_not_there_is_404(self):
        for playlist in ("musiclib_music_shared/playlist/999", "musiclib_music_shared/playlist/0",
                         "musiclib_music_shared/playlist/1x", "musiclib_music_shared/playlist/x",
                         "musiclib_music_shared/smart/None", "musiclib_music_shared/other/1",
                         "elsewhere/playlist/1", "musiclib_music_personal/playlist/None"):
            for api in (self.anna, self.ben):
                self.problem(api.get(f"/playlists/{playlist}"), 404, "playlist")
        self.problem(self.anna.get("/playlists/musiclib_random", sort="name"), 400, "sort")
        made = self.make(SHARED, "No choice", [])
        self.problem(self.anna.get(f"/playlists/{made}", library="shared"), 400, "library")


class AnExport(PlaylistTest):
    """Of a list with a song, a stream, what is missing, and letters that each format must escape."""

    LINES = ["#EXTM3U", "#EXTINF:9,Tom & <Jerry> - \"It's\"", "{song}", "#EXTINF:-1,Live \u00c5\u6f6e",
             "http://radio.example/a b?c=<d>&e=%20", "/home/old/Music/gone [1] 100%.mp3",
             "Some where/gone#2.mp3"]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.inside = next(t for t in cls.tracks if "Å" in t)
        lines = [line.replace("{song}", cls.inside) for line in cls.LINES]
        cls.made = cls.server.add(SHARED, 'Out "ä" <&>', []).id
        SHARED.file('Out "ä" <&>').write_text("\n".join(lines) + "\n")
        cls.song = cls.anna.get(f"/playlists/{cls.made}").json["items"][0]["song"]
        cls.location = os.path.relpath(cls.inside, LIBRARY)

    def export(self, format_):
        answer = self.anna.get(f"/playlists/{self.made}", format=format_)
        self.assertEqual(answer.status, 200, answer)
        self.assertIn("filename*=UTF-8''Out%20%22%C3%A4%22%20%3C&%3E." + format_,
                      answer.headers["Content-Disposition"])
        self.assertNotIn(str(ROOT).encode(), answer.body)
        self.assertNotIn(b"/home/old", answer.body)
        again = self.anna.get(f"/playlists/{self.made}", format=format_,
                              headers={"If-None-Match": answer.headers["ETag"]})
        self.assertEqual(again.status, 304)
        return answer

    def test_as_m3u8_names_songs_inside_the_library(self):
        answer = self.export("m3u8")
        lines = answer.body.decode().splitlines()
        self.assertEqual(lines[0], "#EXTM3U")
        self.assertEqual([line for line in lines if not line.startswith("#")], [
            self.location, "http://radio.example/a b?c=<d>&e=%20", "gone [1] 100%.mp3",
            "Some where/gone#2.mp3"])
        self.assertIn(f'{self.song["artist"]} - {self.song["title"]}', lines[1])

    def test_as_m3u_is_in_the_code_page(self):
        conf = ROOT / "etc/vexo/playlist.conf"
        before = conf.read_text() if conf.exists() else None
        self.addCleanup(lambda: conf.unlink() if before is None else conf.write_text(before))
        conf.write_text((before or "") + "[texts]\ncode_page = 1252\n")
        body = self.export("m3u").body
        self.assertIn(self.location.encode("cp1252", "replace").replace(b"?", b"_"), body)
        self.assertIn(b"Live \xc5_", body)

    def test_as_pls_counts(self):
        text = self.export("pls").body.decode()
        self.assertTrue(text.startswith("[playlist]\n"))
        self.assertIn(f"File1={self.location}\n", text)
        self.assertIn("NumberOfEntries=4\n", text)

    def test_as_xspf_is_xml_that_a_parser_reads(self):
        root = xml.etree.ElementTree.fromstring(self.export("xspf").body)
        space = "{http://xspf.org/ns/0/}"
        self.assertEqual((root.tag, root.get("version")), (space + "playlist", "1"))
        self.assertEqual(root.findtext(space + "title"), 'Out "ä" <&>')
        tracks = root.findall(f"{space}trackList/{space}track")
        locations = [track.findtext(space + "location") for track in tracks]
        self.assertEqual(locations, [
            urllib.parse.quote(self.location), "http://radio.example/a%20b?c=%3Cd%3E&e=%20",
            "gone%20%5B1%5D%20100%25.mp3", "Some%20where/gone%232.mp3"])
        self.assertEqual(tracks[0].findtext(space + "title"), self.song["title"])
        self.assertEqual(int(tracks[0].findtext(space + "duration")),
                         round(self.song["duration"] * 1000))
        self.assertIsNone(tracks[2].find(space + "title"))

    def test_as_jspf_says_the_same(self):
        playlist = self.export("jspf").json["playlist"]
        self.assertEqual(playlist["title"], 'Out "ä" <&>')
        self.assertEqual(playlist["track"][0]["location"], [urllib.parse.quote(self.location)])
        self.assertEqual(playlist["track"][0]["creator"], self.song["artist"])

    def test_is_of_any_kind(self):
        RULES.write_text('"Two" { path includes "/" order by title limit 2 }')
        self.addCleanup(RULES.write_text, "")
        for playlist in ("musiclib_music_shared/smart/Two", "musiclib_random"):
            answer = self.anna.get(f"/playlists/{playlist}", format="m3u8")
            self.assertEqual(answer.status, 200)
            self.assertNotIn(str(ROOT).encode(), answer.body)
            self.assertGreater(answer.body.count(b"\n"), 2)

    def test_is_whole(self):
        self.problem(self.anna.get(f"/playlists/{self.made}", format="pls", limit=1), 400, "limit")
        self.problem(self.anna.get(f"/playlists/{self.made}", format="doc"), 400, "format")


if __name__ == "__main__":
    unittest.main()
