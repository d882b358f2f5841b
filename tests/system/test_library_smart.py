"""Smart playlists by /api/smart: rules are read, written, made and tried."""

import threading
import unittest

from api import Api
from server import ANNA, BEN, ROOT, ServerTest

SHARED_RULES = ROOT / "etc/mt-daapd.playlist"
CONF = ROOT / "etc/vexo/playlist.conf"


def own_rules(user):
    return ROOT / f"var/lib/vexo/preferences/{user}/playlists/smart.playlist"


class SmartTest(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.anna, cls.ben = Api(cls.server, ANNA), Api(cls.server, BEN)

    def setUp(self):
        SHARED_RULES.write_text("")
        for user in (ANNA, BEN):
            own_rules(user).unlink(missing_ok=True)

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)

    def make(self, name, rule, library="shared", api=None):
        answer = (api or self.anna).post("/smart", {"name": name, "rule": rule, "library": library})
        self.assertEqual(answer.status, 201, answer)
        return answer


class ARule(SmartTest):
    ODD = "\n  # a \"comment\" }\n  title includes \"\\\"}ä潮\" # last"

    def test_round_trips_to_the_byte(self):
        for library in ("shared", "personal"):
            for rule in (self.ODD, " year > 1", "\tyear > 1 \r\n"):
                with self.subTest(library + rule):
                    made = self.make(f"Trip {len(rule)}", rule, library)
                    node = made.json["playlist"]["id"]
                    self.assertEqual(made.headers["Location"],
                                     "/api/smart/" + node.replace(" ", "%20"))
                    self.assertEqual(made.json["rule"], rule)
                    read = self.anna.get(f"/smart/{node}")
                    self.assertEqual((read.json, read.headers["ETag"]),
                                     (made.json, made.headers["ETag"]))
                    other = "year < 9 and" + rule
                    self.assertEqual(self.anna.put(f"/smart/{node}", {"rule": other}).json["rule"], other)
        self.assertEqual(self.ben.get("/playlists", kind="smart", library="personal").json["total"], 0)

    def test_of_a_hand_is_read_as_it_stands(self):
        text = '# mine\n"Hand" {\n  year > 1\n}\n"Broken" { year ! }\n'
        SHARED_RULES.write_text(text)
        rule = self.anna.get("/smart/musiclib_music_shared/smart/Hand")
        self.assertEqual(rule.json["rule"], "  year > 1")
        self.assertEqual(self.anna.get("/smart/musiclib_music_shared/smart/Broken").json["rule"],
                         " year ! ")
        tag = rule.headers["ETag"]
        path = "/smart/musiclib_music_shared/smart/Hand"
        self.assertEqual(self.anna.get(path, headers={"If-None-Match": tag}).status, 304)
        self.assertEqual(self.anna.put(path, {"rule": "  year > 1"}).headers["ETag"], tag)
        self.assertEqual(SHARED_RULES.read_text(), text)
        self.anna.put(path, {"rule": "  year > 2"})
        self.assertEqual(SHARED_RULES.read_text(), text.replace("year > 1", "year > 2"))

    def test_that_is_broken_tells_where_and_changes_nothing(self):
        made = self.make("Kept", "year > 1")
        node, before = made.json["playlist"]["id"], SHARED_RULES.read_text()
        for rule, line, column in (("year ! 3", 1, 8), ("year > 1\n  or bad is \"x\"", 2, 6),
                                   ('year > 1 } "Evil" { year > 2', 1, 12), ("", 1, 1)):
            for answer in (self.anna.put(f"/smart/{node}", {"rule": rule}),
                           self.anna.post("/smart", {"name": "New", "rule": rule}),
                           self.anna.post("/smart/preview", {"rule": rule})):
                self.problem(answer, 422, "rule")
                self.assertEqual((answer.json["line"], answer.json["column"]), (line, column), rule)
        self.assertEqual(SHARED_RULES.read_text(), before)

    def test_is_changed_only_as_it_was_seen(self):
        made = self.make("Version", "year > 1")
        path, tag = f'/smart/{made.json["playlist"]["id"]}', made.headers["ETag"]
        self.make("Neighbour", "year > 1")
        changed = self.anna.put(path, {"rule": "year > 2"}, headers={"If-Match": f'"x", {tag}'})
        self.assertEqual(changed.status, 200)
        for stale in (tag, '"x"', "W/" + changed.headers["ETag"], "junk"):
            self.problem(self.anna.put(path, {"rule": "year > 3"}, headers={"If-Match": stale}), 412)
        self.assertEqual(self.anna.get(path).json["rule"], "year > 2")
        self.assertEqual(
            self.anna.put(path, {"rule": "year > 4"}, headers={"If-Match": "*"}).status, 200)

    def test_gets_another_name_in_its_place(self):
        SHARED_RULES.write_text('# one\n"Old, one" { year > 1 }\n# two\n"Other" { year > 2 }\n')
        path = "/smart/musiclib_music_shared/smart/Old, one"
        rule = self.anna.get(path)
        self.problem(self.anna.put(path, {"name": "Other", "rule": "year > 1"}), 409, "name")
        self.problem(self.anna.put(path, {"name": "New", "rule": "year > 1"},
                                   headers={"If-Match": '"x"'}), 412)
        for name in ("", "a/b", 1):
            self.problem(self.anna.put(path, {"name": name, "rule": "year > 1"}), 400, "name")
        renamed = self.anna.put(path, {"name": "Ny, täöm", "rule": "year > 3"},
                                headers={"If-Match": rule.headers["ETag"]})
        self.assertEqual(renamed.json["playlist"]["id"], "musiclib_music_shared/smart/Ny, täöm")
        self.assertEqual(SHARED_RULES.read_text(), '# one\n"Ny, täöm" {\nyear > 3\n}\n# two\n'
                         '"Other" { year > 2 }\n')
        self.problem(self.anna.get(path), 404, "playlist")
        read = self.anna.get("/smart/musiclib_music_shared/smart/Ny, täöm")
        self.assertEqual((read.json, read.headers["ETag"]), (renamed.json, renamed.headers["ETag"]))
        self.assertEqual(read.json["rule"], "year > 3")
        self.anna.put("/smart/musiclib_music_shared/smart/Ny, täöm", {"name": "New", "rule": "year > 3"})
        self.assertEqual(self.anna.get("/smart/musiclib_music_shared/smart/New").json["rule"], "year > 3")

    def test_is_removed_whatever_its_name(self):
        for library in ("shared", "personal"):
            made = self.make("Jazz, loud", "year > 1", library)
            kept = self.make("Jazz", "year > 1", library).json["playlist"]["id"]
            path = f'/smart/{made.json["playlist"]["id"]}'
            self.problem(self.anna.delete(path, headers={"If-Match": '"x"'}), 412)
            answer = self.anna.delete(path, headers={"If-Match": made.headers["ETag"]})
            self.assertEqual((answer.status, answer.body), (204, b""))
            self.problem(self.anna.delete(path), 404, "playlist")
            self.assertEqual(self.anna.get(f"/smart/{kept}").status, 200)
            self.problem(self.anna.delete(f"/smart/{kept}", x="1"), 400, "x")
        self.problem(self.anna.delete("/smart/musiclib_music_shared/playlist/1"), 404, "playlist")
        own = self.make("Own", "year > 1", "personal").json["playlist"]["id"]
        self.problem(self.ben.delete(f"/smart/{own}"), 404, "playlist")
        self.assertEqual(self.anna.delete(f"/smart/{own}").status, 204)

    def test_of_equal_writers_one_wins(self):
        made = self.make("Race", "year > 0")
        path, headers = f'/smart/{made.json["playlist"]["id"]}', {"If-Match": made.headers["ETag"]}
        statuses = []

        def write(number):
            statuses.append(self.server.send(
                ANNA, body=b'{"rule":"year > %d"}' % number, method="PUT", path="/api" + path.replace(
                    " ", "%20"), headers={"Content-Type": "application/json", **headers}).status)
        writers = [threading.Thread(target=write, args=(n,)) for n in range(1, 9)]
        for writer in writers:
            writer.start()
        for writer in writers:
            writer.join()
        self.assertEqual(sorted(statuses), [200] + [412] * 7)

    def test_of_others_is_not_there(self):
        node = self.make("Own", "year > 1", "personal").json["playlist"]["id"]
        self.problem(self.ben.get(f"/smart/{node}"), 404, "playlist")
        self.problem(self.ben.put(f"/smart/{node}", {"rule": "year > 2"}), 404, "playlist")
        for other in ("musiclib_random", "musiclib_music_shared/playlist/1",
                      "musiclib_music_shared/smart/None"):
            self.problem(self.anna.get(f"/smart/{other}"), 404, "playlist")
            self.problem(self.anna.put(f"/smart/{other}", {"rule": "year > 2"}), 404, "playlist")

    def test_needs_a_name_that_is_free(self):
        self.make("Taken", "year > 1")
        before = SHARED_RULES.read_text()
        self.problem(self.anna.post("/smart", {"name": "Taken", "rule": "year > 2"}), 409, "name")
        for name in ("", "a/b", "a\nb", "x" * 251, "ä" * 126, "\0", ".", ".."):
            self.problem(self.anna.post("/smart", {"name": name, "rule": "year > 2"}), 400, "name")
        self.assertEqual(SHARED_RULES.read_text(), before)
        self.make('Quo"ted \\ {', "year > 1", "personal", self.ben)
        self.assertEqual(self.ben.get('/smart/musiclib_music_personal/smart/Quo"ted \\ {').json["rule"],
                         "year > 1")

    def test_is_what_the_actions_see(self):
        node = self.make("Acted", 'path includes "/"').json["playlist"]["id"]
        self.assertFalse(self.server.ask("checkempty", playlist=node).json["isEmpty"])
        self.assertTrue(self.server.ask("delete", smartPlaylists=node).success)
        self.problem(self.anna.get(f"/smart/{node}"), 404, "playlist")

    def test_that_is_shared_is_told_to_the_daap_service(self):
        marker = ROOT / "tmp/restarted"
        before = CONF.read_text() if CONF.exists() else None
        self.addCleanup(lambda: CONF.unlink() if before is None else CONF.write_text(before))
        CONF.write_text((before or "") + f"[daap]\nrestart = /usr/bin/touch {marker}\n")
        self.make("Told own", "year > 1", "personal")
        self.assertFalse(marker.exists())
        self.make("Told", "year > 1")
        self.assertTrue(marker.exists())
        CONF.write_text((before or "") + "[daap]\nrestart = /bin/false\n")
        self.make("Told in vain", "year > 1")

    def test_bodies_of_another_form_are_refused(self):
        made = self.make("Form", "year > 1")
        path = f'/smart/{made.json["playlist"]["id"]}'
        for body, parameter in (({}, "rule"), ({"rule": 1}, "rule"), ({"rule": "year > 1", "x": 1}, "x")):
            self.problem(self.anna.put(path, body), 400, parameter)
            self.problem(self.anna.post("/smart/preview", body), 400, parameter)
            self.problem(self.anna.post("/smart", {"name": "N", **body}), 400, parameter)
        self.problem(self.anna.post("/smart", {"rule": "year > 1"}), 400, "name")
        self.problem(self.anna.post("/smart", {"name": "N", "rule": "year > 1", "library": "x"}), 400,
                     "library")
        large = {"rule": "#" * (1 << 20)}
        for answer in (self.anna.put(path, large), self.anna.post("/smart", large),
                       self.anna.post("/smart/preview", large)):
            self.problem(answer, 413)
        self.problem(self.anna.get(path, x="1"), 400, "x")

    def test_is_for_users_on_this_site_only(self):
        nobody, headers = Api(self.server, None), {"Sec-Fetch-Site": "cross-site"}
        path = "/smart/musiclib_music_shared/smart/A"
        rule = {"rule": "year > 1"}
        self.assertEqual([nobody.get(path).status, nobody.put(path, rule).status,
                          nobody.delete(path).status,
                          nobody.post("/smart", {"name": "A", **rule}).status,
                          nobody.post("/smart/preview", rule).status], [401] * 5)
        for answer in (self.anna.get(path, headers=headers), self.anna.delete(path, headers=headers),
                       self.anna.put(path, rule, headers=headers),
                       self.anna.post("/smart", {"name": "A", **rule}, headers=headers),
                       self.anna.post("/smart/preview", rule, headers=headers)):
            self.problem(answer, 403)


class APreview(SmartTest):
    def test_tells_count_duration_and_first_songs(self):
        everything = self.anna.post("/smart/preview", {"rule": 'path includes "/"'}).json
        self.assertEqual(everything["total"], len(self.tracks))
        self.assertEqual(len(everything["items"]), len(self.tracks))
        self.assertAlmostEqual(everything["duration"],
                               sum(song["duration"] for song in everything["items"]), 2)
        some = self.anna.post("/smart/preview", {
            "rule": 'path includes "/" order by title limit 3', "limit": 2}).json
        self.assertEqual((some["total"], len(some["items"])), (3, 2))
        none = self.anna.post("/smart/preview", {"rule": "year > 9999", "limit": 0}).json
        self.assertEqual((none["total"], none["duration"], none["items"]), (0, 0, []))
        self.assertEqual(SHARED_RULES.read_text(), "")

    def test_chooses_from_what_the_playlist_would(self):
        for api in (self.anna, self.ben):
            own = api.post("/smart/preview", {"rule": 'path includes "/"', "library": "personal"}).json
            self.assertEqual(own["total"], len(self.tracks))

    def test_has_a_limit_of_a_page(self):
        for limit in (1001, -1, "1", 1.5):
            self.problem(self.anna.post("/smart/preview", {"rule": "year > 1", "limit": limit}), 400,
                         "limit")


if __name__ == "__main__":
    unittest.main()
