"""If-Match: an edit is made only as long as the playlist has the version that the client has seen."""

import threading
import unittest

from api import Api
from server import ANNA, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest
from server import encode, songs_of, tree

FORM = {"Content-Type": "application/x-www-form-urlencoded"}
STREAM = [{"res": "http://radio.example/live", "title": "Live"}]
STALE = '"00000000000000000000000000000000"'
PLACES = (LIBRARY / "playlists", PERSONAL.folder, PREFERENCE.folder)


class VersionTest(ServerTest):
    count = 0

    def ask_if(self, tag, action, user=ANNA, **parameters):
        """The action under the condition `tag`, none without one."""
        headers = {**FORM, **({"If-Match": tag} if tag is not None else {})}
        return self.server.send(user, body=encode({"action": action, **parameters}), headers=headers)

    def new(self, kind, songs=("1", "2", "3"), name=None):
        """A playlist: its name, id and version."""
        VersionTest.count += 1
        name = name or f"list {self.count}"
        made = self.server.add(kind, name, list(songs))
        self.assertTrue(made.success, made)
        return name, made.id, made.headers["ETag"]

    def refused(self, answer, key="version", status=412):
        self.assertEqual((answer.status, answer.error), (status, f"common/{key}"), answer)

    def made(self, answer):
        self.assertEqual((answer.status, answer.success), (200, True), answer)
        return answer.headers["ETag"]

    def edits(self, kind, name, node):
        """Every edit of the playlist: what stands for it in a failure, action and parameters."""
        kinds = {"type": kind.type, "name": name}
        return (("addsongs", {"playlist": node, "id_info_list": ["4"]}),
                ("update", {"playlist": node, "id_info_list": ["5"], "start": 0, "limit": 2}),
                ("removesongs", {"playlist": node, "seq_list": "0"}),
                ("remove_missing", {"playlist_id": node}),
                ("add", {**kinds, "id_info_list": ["6"], "overwrite": "true"}),
                ("add", {**kinds, "id_info_list": [], "overwrite": "true"}),
                ("addsearch", {**kinds, "category": "all", "keyword": "a", "overwrite": "true"}),
                ("saveplsname", {"id": node, "name": f"{name} renamed"}),
                ("delete", {"playlists": node}))


class Edits(VersionTest):
    def test_of_the_version_that_was_seen_are_made(self):
        for kind in KINDS:
            for number in range(9):
                name, node, tag = self.new(kind)
                action, parameters = self.edits(kind, name, node)[number]
                with self.subTest(kind.name, action=action):
                    answer = self.ask_if(tag, action, kind.user, **parameters)
                    self.assertEqual((answer.status, answer.success), (200, True), answer)
                    if action == "delete":
                        self.assertNotIn("ETag", answer.headers)
                        self.assertFalse(kind.file(name).exists())
                    elif action in ("saveplsname", "remove_missing"):
                        self.assertEqual(answer.headers["ETag"], tag)
                    else:
                        self.assertNotEqual(answer.headers["ETag"], tag)

    def test_of_another_version_change_nothing(self):
        for kind in KINDS:
            name, node, tag = self.new(kind)
            newer = self.made(self.ask_if(tag, "addsongs", kind.user, playlist=node,
                                          id_info_list=STREAM))
            before = tree(*PLACES)
            for action, parameters in self.edits(kind, name, node):
                for seen in (tag, STALE, f"W/{newer}", newer.strip('"'), f"{newer} x"):
                    with self.subTest(kind.name, action=action, seen=seen):
                        self.refused(self.ask_if(seen, action, kind.user, **parameters))
                        self.assertEqual(tree(*PLACES), before)
            self.made(self.ask_if(newer, "removesongs", kind.user, playlist=node, seq_list="0"))

    def test_go_on_from_the_version_that_the_last_one_made(self):
        for kind in KINDS:
            name, node, tag = self.new(kind)
            for action, parameters in self.edits(kind, name, node)[:7]:
                tag = self.made(self.ask_if(tag, action, kind.user, **parameters))
            self.assertEqual(self.ask_if(tag, "delete", kind.user, playlists=node).status, 200)

    def test_by_another_program_count(self):
        for kind in KINDS:
            name, node, tag = self.new(kind)
            kind.file(name).write_text("#EXTM3U\nby-hand.mp3\n")
            before = tree(*PLACES)
            for action, parameters in self.edits(kind, name, node):
                self.refused(self.ask_if(tag, action, kind.user, **parameters))
            self.assertEqual(tree(*PLACES), before)

    def test_that_bring_the_old_content_back_bring_the_version_back(self):
        _, node, tag = self.new(SHARED)
        longer = self.made(self.ask_if(tag, "addsongs", playlist=node, id_info_list=["4"]))
        self.assertEqual(self.made(self.ask_if(longer, "removesongs", playlist=node, seq_list="3")),
                         tag)

    def test_take_the_version_that_the_api_tells(self):
        for kind in KINDS:
            name, node, made = self.new(kind)
            api = Api(self.server, kind.user)
            self.assertEqual(api.get(f"/playlists/{node}").json["playlist"]["version"], made.strip('"'))
            kind.file(name).write_text("#EXTM3U\nby-hand.mp3\n")
            answer = api.get(f"/playlists/{node}")
            now = self.made(self.ask_if(answer.headers["ETag"], "addsongs", kind.user, playlist=node,
                                        id_info_list=["1"]))
            self.refused(self.ask_if(answer.headers["ETag"], "addsongs", kind.user, playlist=node,
                                     id_info_list=["1"]))
            version = api.get(f"/playlists/{node}").json["playlist"]["version"]
            self.assertEqual(f'"{version}"', now)
            self.made(self.ask_if(f'"{version}"', "removesongs", kind.user, playlist=node, seq_list="0"))

    def test_take_lists_and_any(self):
        _, node, tag = self.new(SHARED)
        for seen in (f"{STALE}, {tag}", f'"a,b" ,{tag}, W/"c"', "*"):
            tag = self.made(self.ask_if(seen, "addsongs", playlist=node, id_info_list=["4"]))
            self.made(self.ask_if(None, "removesongs", playlist=node, seq_list="0"))
            tag = self.made(self.ask_if(None, "update", playlist=node, id_info_list=["1", "2", "3"],
                                        start=0, limit=9))

    def test_without_a_condition_are_made_as_ever(self):
        _, node, tag = self.new(SHARED)
        self.assertNotEqual(
            self.made(self.ask_if(None, "addsongs", playlist=node, id_info_list=["4"])), tag)
        renamed = self.ask_if(None, "saveplsname", id=node, name="as ever")
        self.assertTrue(renamed.success)
        self.assertNotIn("ETag", renamed.headers)

    def test_need_something_that_is_there(self):
        before = tree(*PLACES)
        for kind in KINDS:
            gone = {SHARED: "musiclib_music_shared/playlist/99999",
                    PERSONAL: "musiclib_music_personal/playlist/99999",
                    PREFERENCE: "musiclib_music_personal/playlist/nothing"}[kind]
            for tag in ("*", STALE):
                for action, parameters in self.edits(kind, "nothing", gone):
                    with self.subTest(kind.name, action=action, tag=tag):
                        self.refused(self.ask_if(tag, action, kind.user, **parameters))
                self.refused(self.ask_if(tag, "add", kind.user, name="nothing", type=kind.type))
        self.assertEqual(tree(*PLACES), before)

    def test_that_do_not_touch_the_playlist_are_refused_too(self):
        name, _, _ = self.new(SHARED)
        self.refused(self.ask_if(STALE, "add", name=name, type="shared", overwrite="true"))

    def test_that_only_read_pass(self):
        _, node, _ = self.new(SHARED)
        self.assertTrue(self.ask_if(STALE, "checkempty", playlist=node).success)
        self.assertEqual(self.ask_if(STALE, "download", playlist=node).body[:2], b"PK")


class Removals(VersionTest):
    def test_of_several_need_the_versions_of_all(self):
        for kind in KINDS:
            first, one, one_tag = self.new(kind)
            second, two, two_tag = self.new(kind, ["4"])
            for tags in (one_tag, two_tag, f"{one_tag}, {STALE}"):
                self.refused(self.ask_if(tags, "delete", kind.user, playlists=f"{one},{two}"))
            self.assertTrue(kind.file(first).exists() and kind.file(second).exists())
            answer = self.ask_if(f"{one_tag}, {two_tag}", "delete", kind.user,
                                 playlists=f"{one},{two}")
            self.assertEqual((answer.status, answer.success), (200, True), answer)
            self.assertFalse(kind.file(first).exists() or kind.file(second).exists())

    def test_of_two_kinds_at_once_have_no_condition(self):
        name, node, tag = self.new(SHARED)
        self.refused(self.ask_if(tag, "delete", playlists=node,
                                 smartPlaylists="musiclib_music_shared/smart/x"),
                     "if_match_of_two_kinds", 400)
        self.assertTrue(SHARED.file(name).exists())


class Copies(VersionTest):
    def test_replace_the_version_that_was_seen(self):
        for source, target in ((SHARED, PERSONAL), (PERSONAL, SHARED)):
            name, node, _ = self.new(source, ["1", "2"])
            _, _, tag = self.new(target, ["3"], name=name)
            for seen in (STALE, f"W/{tag}"):
                self.refused(self.ask_if(seen, "duplicate", id=node, overwrite="true"))
            self.assertEqual(len(songs_of(target.file(name))), 1)
            self.made(self.ask_if(tag, "duplicate", id=node, overwrite="true"))
            self.assertEqual(len(songs_of(target.file(name))), 2)

    def test_of_nothing_replace_the_version_that_was_seen(self):
        name, node, _ = self.new(SHARED, [])
        _, _, tag = self.new(PERSONAL, ["3"], name=name)
        self.refused(self.ask_if(STALE, "duplicate", id=node, overwrite="true"))
        self.assertEqual(len(songs_of(PERSONAL.file(name))), 1)
        self.made(self.ask_if(tag, "duplicate", id=node, overwrite="true"))
        self.assertEqual(songs_of(PERSONAL.file(name)), [])

    def test_that_replace_nothing_are_not_made(self):
        name, node, _ = self.new(SHARED)
        for overwrite in ("true", "false"):
            self.refused(self.ask_if("*", "duplicate", id=node, overwrite=overwrite))
        self.assertFalse(PERSONAL.file(name).exists())


class SmartPlaylists(VersionTest):
    RULES = ROOT / "etc/mt-daapd.playlist"

    def setUp(self):
        self.RULES.write_text('"Folk" { genre is "Folk" }\n"Jazz" { genre is "Jazz" }\n')
        self.own = ROOT / "var/lib/vexo/preferences/anna/playlists/smart.playlist"
        self.own.unlink(missing_ok=True)

    def copy(self, tag=None, name="Folk", overwrite="true"):
        return self.ask_if(tag, "duplicate", id=f"musiclib_music_shared/smart/{name}",
                           overwrite=overwrite)

    def delete(self, tag, *names):
        return self.ask_if(tag, "delete", smartPlaylists=",".join(
            f"musiclib_music_personal/smart/{name}" for name in names))

    def test_are_replaced_in_the_version_that_was_seen(self):
        tag = self.made(self.copy())
        self.RULES.write_text('"Folk" { genre is "Folk" and year > 2000 }\n')
        self.refused(self.copy(STALE))
        self.assertNotIn("2000", self.own.read_text())
        self.assertNotEqual(self.made(self.copy(tag)), tag)
        self.assertIn("2000", self.own.read_text())
        self.refused(self.copy(tag))

    def test_have_the_version_that_the_api_tells(self):
        tag = self.made(self.copy())
        listed = Api(self.server).get("/playlists/musiclib_music_personal/smart/Folk").json
        self.assertEqual(f'"{listed["playlist"]["version"]}"', tag)

    def test_have_versions_of_their_own_in_one_file(self):
        tag = self.made(self.copy())
        self.made(self.copy(name="Jazz"))
        self.own.write_text("# a comment\n" + self.own.read_text())
        self.made(self.copy(tag))

    def test_that_are_not_there_are_not_made(self):
        for overwrite in ("true", "false"):
            self.refused(self.copy("*", overwrite=overwrite))
        self.assertNotIn("Folk", self.own.read_text() if self.own.exists() else "")

    def test_are_deleted_in_the_versions_that_were_seen(self):
        folk, jazz = self.made(self.copy()), self.made(self.copy(name="Jazz"))
        before = self.own.read_text()
        for tag, names in ((STALE, ("Folk",)), (folk, ("Jazz",)), (folk, ("Folk", "Jazz")),
                           ("*", ("Folk", "None"))):
            self.refused(self.delete(tag, *names))
            self.assertEqual(self.own.read_text(), before)
        self.assertTrue(self.delete(f"{folk}, {jazz}", "Folk", "Jazz").success)
        self.assertNotIn("Folk", self.own.read_text())


class Races(VersionTest):
    def at_once(self, count, work):
        """What `work` gives in so many threads."""
        results, barrier = [], threading.Barrier(count)

        def run(number):
            barrier.wait()
            results.append(work(number))

        threads = [threading.Thread(target=run, args=(number,)) for number in range(count)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return results

    def test_let_one_of_many_equal_edits_pass(self):
        for kind in KINDS:
            for number in (0, 1, 2, 4, 8):
                name, node, tag = self.new(kind)
                action, parameters = self.edits(kind, name, node)[number]
                with self.subTest(kind.name, action=action):
                    answers = self.at_once(8, lambda _, a=action, p=parameters, t=tag, k=kind:
                                           self.ask_if(t, a, k.user, **p))
                    statuses = sorted(answer.status for answer in answers if answer.success)
                    self.assertEqual(statuses, [200], answers)
                    if action == "addsongs":
                        self.assertEqual(len(songs_of(kind.file(name))), 4)

    def test_lose_no_edit_of_those_who_look_again(self):
        for kind in KINDS:
            name, node, first = self.new(kind, [])

            def append(number, kind=kind, node=node, first=first):
                songs = [{"res": f"http://radio.example/{number}", "title": "x"}]
                tag = first
                for _ in range(200):
                    answer = self.ask_if(tag, "addsongs", kind.user, playlist=node, id_info_list=songs)
                    if answer.success:
                        return True
                    # Who looks again learns the version by an edit that changes nothing.
                    tag = self.made(self.ask_if(None, "addsongs", kind.user, playlist=node,
                                                id_info_list=[]))
                return False

            self.assertEqual(self.at_once(6, append), [True] * 6)
            self.assertEqual(sorted(songs_of(kind.file(name))),
                             [f"http://radio.example/{number}" for number in range(6)])

    def test_of_two_writers_with_and_without_a_condition_lose_nothing(self):
        name, node, first = self.new(SHARED, [])

        def write(number):
            songs = [{"res": f"http://radio.example/{number}", "title": "x"}]
            tag = first if number % 2 else None
            return self.ask_if(tag, "addsongs", playlist=node, id_info_list=songs).status

        statuses = self.at_once(8, write)
        self.assertEqual(len(songs_of(SHARED.file(name))), statuses.count(200))
        self.assertGreaterEqual(statuses.count(200), 4)
        self.assertEqual(set(statuses) - {200, 412}, set())


if __name__ == "__main__":
    unittest.main()
