"""Each action, over HTTP, on each kind of storage."""

import unittest

from server import ANNA, BEN, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest, songs_of

RULES = ROOT / "etc/mt-daapd.playlist"
BENS_RULES = ROOT / "var/lib/vexo/preferences/ben/playlists/smart.playlist"
FOLK = '# what we like\n"Folk" {\n  genre is "Folk"\n}\n"None" { genre is "Polka" }\n'


class Actions(ServerTest):
    def setUp(self):
        self.path_of = {}
        answer = self.server.add(SHARED, "all", [str(id_) for id_ in range(1, 13)],
                                 overwrite="true" if SHARED.file("all").exists() else "false")
        self.assertTrue(answer.success, answer)
        self.path_of = dict(enumerate(songs_of(SHARED.file("all")), 1))

    def make(self, kind, name, ids=(1, 2, 3)):
        answer = self.server.add(kind, name, [str(id_) for id_ in ids])
        self.assertTrue(answer.success, answer)
        return answer.id

    def paths(self, *ids):
        return [self.path_of[id_] for id_ in ids]

    def is_empty(self, kind, id_):
        answer = self.server.ask("checkempty", kind.user, playlist=id_)
        self.assertTrue(answer.success, answer)
        return answer.json["isEmpty"]

    def each_kind(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                yield kind

    def test_the_index_knows_every_demo_track(self):
        self.assertEqual(sorted(self.path_of.values()), self.tracks)

    def test_add_answers_the_node_of_the_new_playlist(self):
        for kind in self.each_kind():
            answer = self.server.add(kind, "Tom & Jerry", ["3", "1"])
            node = answer.json["node"]
            prefix = "shared" if kind is SHARED else "personal"
            self.assertTrue(node["id"].startswith(f"musiclib_music_{prefix}/playlist/"))
            self.assertEqual((node["text"], node["qtip"]), ("Tom &amp; Jerry",) * 2)
            self.assertEqual((node["pid"], node["leaf"]), ("musiclib_root", True))
            self.assertEqual(answer.headers["Content-Type"], 'text/plain; charset="UTF-8"')
            self.assertEqual(songs_of(kind.file("Tom & Jerry")), self.paths(3, 1))

    def test_add_of_a_name_that_is_there_is_refused_and_with_overwrite_replaces(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "again")
            self.assertEqual(self.server.add(kind, "again", ["4"]).error,
                             "playlist/playlist_name_exist")
            self.assertEqual(songs_of(kind.file("again")), self.paths(1, 2, 3))
            self.assertEqual(self.server.add(kind, "again", ["4"], overwrite="true").id, id_)
            self.assertEqual(songs_of(kind.file("again")), self.paths(4))

    def test_add_takes_song_objects_and_streams(self):
        song = {"res": "http://radio.example/live", "title": "Live", "item_id": "x"}
        for kind in self.each_kind():
            self.server.add(kind, "mixed", [song, "2", "no such id"])
            self.assertEqual(songs_of(kind.file("mixed")), ["http://radio.example/live",
                                                            self.path_of[2]])

    def test_a_name_of_250_bytes_is_accepted_and_one_of_251_refused(self):
        self.assertEqual(self.server.add(SHARED, "n" * 251).error, "playlist/playlist_name_too_long")
        self.assertTrue(self.server.add(SHARED, "n" * 250).success)

    def test_addsearch_makes_a_playlist_of_what_it_finds(self):
        for kind in self.each_kind():
            answer = self.server.ask("addsearch", kind.user, name="found", type=kind.type,
                                     category="album", keyword="GARDEN", sort="title", dir="DESC")
            self.assertTrue(answer.success, answer)
            names = [path.rsplit("/", 1)[1] for path in songs_of(kind.file("found"))]
            self.assertEqual(names, ["03 Snail, Slowly.ogg", "01 Seed.mp3", "02 Rain on Glass.mp3",
                                     "04 Compost (Reprise).opus"])

    def test_addsearch_ignores_letter_case_beyond_ascii(self):
        for keyword in ("öberg", "ÖBERG", "ХЛЕБ", "港"):
            self.server.ask("addsearch", name=f"found {keyword}", type="shared", category="all",
                            keyword=keyword)
            self.assertTrue(songs_of(SHARED.file(f"found {keyword}")), keyword)

    def test_addsongs_appends(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "append")
            answer = self.server.ask("addsongs", kind.user, playlist=id_, id_info_list=["5", "1"])
            self.assertEqual(answer.json, {"success": True})
            self.assertEqual(songs_of(kind.file("append")), self.paths(1, 2, 3, 5, 1))

    def test_update_replaces_a_stretch(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "splice", (1, 2, 3, 4))
            answer = self.server.ask("update", kind.user, playlist=id_, id_info_list=["7"],
                                     start="1", limit="2")
            self.assertTrue(answer.success, answer)
            self.assertEqual(songs_of(kind.file("splice")), self.paths(1, 7, 4))

    def test_update_without_start_is_refused(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "no start")
            answer = self.server.ask("update", kind.user, playlist=id_, id_info_list=["7"], limit="1")
            self.assertEqual(answer.error, "common/error_system")
            self.assertEqual(songs_of(kind.file("no start")), self.paths(1, 2, 3))

    def test_removesongs_removes_by_position(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "remove", (1, 2, 3, 4))
            self.assertTrue(self.server.ask("removesongs", kind.user, playlist=id_,
                                            seq_list="3,0,3").success)
            self.assertEqual(songs_of(kind.file("remove")), self.paths(2, 3))

    def test_removesongs_of_a_position_that_is_not_there_changes_nothing(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "beyond")
            for positions in ("3", "0,99", "-1", "x", "0,x", "1.5", "99999999999999999999"):
                answer = self.server.ask("removesongs", kind.user, playlist=id_, seq_list=positions)
                self.assertEqual(answer.error, "common/error_system", positions)
            self.assertEqual(songs_of(kind.file("beyond")), self.paths(1, 2, 3))

    def test_saveplsname_renames(self):
        for kind in self.each_kind():
            id_ = self.make(kind, "old name")
            answer = self.server.ask("saveplsname", kind.user, id=id_, name="neuer Name")
            self.assertEqual(answer.json, {"success": True, "id": id_, "name": "neuer Name"})
            self.assertFalse(kind.file("old name").exists())
            self.assertEqual(songs_of(kind.file("neuer Name")), self.paths(1, 2, 3))
            new_id = id_ if kind.indexed else id_.replace("old name", "neuer Name")
            self.assertFalse(self.is_empty(kind, new_id))

    def test_saveplsname_to_a_name_that_is_there_is_refused(self):
        for kind in self.each_kind():
            self.make(kind, "taken", (4,))
            id_ = self.make(kind, "taker")
            answer = self.server.ask("saveplsname", kind.user, id=id_, name="taken")
            self.assertEqual(answer.error, "playlist/playlist_name_exist")
            self.assertEqual(songs_of(kind.file("taken")), self.paths(4))

    def test_delete_removes_playlists(self):
        for kind in self.each_kind():
            ids = ",".join(self.make(kind, name) for name in ("gone 1", "gone 2"))
            answer = self.server.ask("delete", kind.user, playlists=ids)
            self.assertEqual(answer.json, {"success": True, "playlists": ids})
            self.assertFalse(kind.file("gone 1").exists() or kind.file("gone 2").exists())

    def test_duplicate_copies_into_the_other_library(self):
        for source, target, user in ((SHARED, PERSONAL, ANNA), (SHARED, PREFERENCE, BEN),
                                     (PERSONAL, SHARED, ANNA), (PREFERENCE, SHARED, BEN)):
            with self.subTest(f"{source.name} to {target.name}"):
                name = f"copy {source.name} {target.name}"
                id_ = self.make(source, name)
                answer = self.server.ask("duplicate", user, id=id_)
                self.assertTrue(answer.success, answer)
                pid = "musiclib_music_shared" if target is SHARED else "musiclib_music_personal"
                self.assertEqual(answer.json["node"]["pid"], pid)
                self.assertEqual(songs_of(target.file(name)), self.paths(1, 2, 3))
                self.assertFalse(self.is_empty(target, answer.id))
                self.assertEqual(self.server.ask("duplicate", user, id=id_).error,
                                 "playlist/playlist_name_exist")

    def test_checkempty_tells_whether_there_are_songs(self):
        for kind in self.each_kind():
            self.assertFalse(self.is_empty(kind, self.make(kind, "full")))
            self.assertTrue(self.is_empty(kind, self.make(kind, "hollow", ())))

    def test_checkempty_of_the_random_playlist(self):
        answer = self.server.ask("checkempty", playlist="musiclib_random")
        self.assertEqual(answer.json, {"success": True, "isEmpty": False})

    def test_checkempty_of_an_unknown_playlist(self):
        answer = self.server.ask("checkempty", playlist="musiclib_music_shared/playlist/9999")
        self.assertEqual((answer.error, answer.json["isEmpty"], answer.success),
                         ("common/error_system", True, False))
        self.assertTrue(self.is_empty(PREFERENCE, "musiclib_music_personal/playlist/9999"))

    def test_one_users_playlists_are_not_anothers(self):
        anna, ben = self.make(PERSONAL, "mine"), self.make(PREFERENCE, "mine", (4,))
        self.assertEqual(songs_of(PERSONAL.file("mine")), self.paths(1, 2, 3))
        self.assertEqual(songs_of(PREFERENCE.file("mine")), self.paths(4))
        self.server.ask("delete", BEN, playlists=anna)
        self.assertTrue(PERSONAL.file("mine").exists())
        self.server.ask("delete", ANNA, playlists=ben)
        self.assertTrue(PREFERENCE.file("mine").exists())

    def test_a_failure_is_in_the_web_servers_log(self):
        self.server.ask("checkempty", playlist="musiclib_music_shared/playlist/424242")
        self.assertIn("The playlist with id: 424242 does not exist.", self.server.log())


class SmartPlaylists(ServerTest):
    def setUp(self):
        RULES.write_text(FOLK)
        BENS_RULES.parent.mkdir(parents=True, exist_ok=True)
        BENS_RULES.write_text("")

    def is_empty(self, user, id_):
        return self.server.ask("checkempty", user, playlist=id_).json["isEmpty"]

    def test_checkempty_asks_the_rule(self):
        self.assertFalse(self.is_empty(ANNA, "musiclib_music_shared/smart/Folk"))
        self.assertTrue(self.is_empty(ANNA, "musiclib_music_shared/smart/None"))
        self.assertTrue(self.is_empty(ANNA, "musiclib_music_shared/smart/not there"))

    def test_duplicate_copies_the_rule_as_it_is_written(self):
        answer = self.server.ask("duplicate", BEN, id="musiclib_music_shared/smart/Folk")
        self.assertEqual(answer.id, "musiclib_music_personal/smart/Folk")
        self.assertIn('"Folk" {\n  genre is "Folk"\n}', BENS_RULES.read_text())
        self.assertFalse(self.is_empty(BEN, answer.id))
        self.assertEqual(RULES.read_text(), FOLK)

    def test_duplicate_makes_the_users_rule_file(self):
        BENS_RULES.unlink()
        self.assertTrue(self.server.ask("duplicate", BEN, id="musiclib_music_shared/smart/Folk").success)
        self.assertTrue(BENS_RULES.exists())

    def test_delete_leaves_the_other_bytes(self):
        answer = self.server.ask("delete", smartPlaylists="musiclib_music_shared/smart/Folk")
        self.assertTrue(answer.success, answer)
        rest = RULES.read_text()
        self.assertTrue(rest.startswith("# what we like\n"), rest)
        self.assertTrue(rest.endswith('"None" { genre is "Polka" }\n'), rest)
        self.assertNotIn("Folk", rest)

    def test_a_restart_of_the_service_is_in_the_administrative_log(self):
        self.server.ask("delete", smartPlaylists="musiclib_music_shared/smart/Folk")
        self.assertIn("remove playlist(s)", (ROOT / "var/log/vexo/admin.log").read_text())


if __name__ == "__main__":
    unittest.main()
