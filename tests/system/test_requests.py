"""What comes in over HTTP: who may ask, how parameters travel, and JSON nobody would send."""

import json
import unittest

from server import ANNA, BEN, PREFERENCE, SHARED, ServerTest, encode, songs_of

FORM = {"Content-Type": "application/x-www-form-urlencoded"}


class WhoMayAsk(ServerTest):
    QUERY = "action=checkempty&playlist=musiclib_random"

    def test_a_request_without_authentication_is_refused(self):
        self.assertEqual(self.server.send(None, self.QUERY).status, 401)

    def test_a_wrong_password_is_refused(self):
        self.assertEqual(self.server.send(ANNA, self.QUERY, password="wrong").status, 401)

    def test_a_user_with_the_password_is_answered(self):
        self.assertEqual(self.server.send(ANNA, self.QUERY).json, {"success": True, "isEmpty": False})

    def test_a_request_of_another_site_is_refused(self):
        for headers in ({"Sec-Fetch-Site": "cross-site"}, {"Origin": "http://evil.example"},
                        {"Origin": "null"}):
            with self.subTest(headers):
                self.assertEqual(self.server.send(ANNA, self.QUERY, headers=headers).status, 403)

    def test_a_request_of_this_site_is_answered(self):
        for headers in ({"Sec-Fetch-Site": "same-origin"}, {"Sec-Fetch-Site": "none"},
                        {"Origin": f"http://127.0.0.1:{self.server.port}"}):
            with self.subTest(headers):
                self.assertEqual(self.server.send(ANNA, self.QUERY, headers=headers).status, 200)

    def change(self, number, **options):
        """Asks for a new list, and tells whether it is there afterwards."""
        query = encode({"action": "add", "name": f"change {number}", "type": "shared"})
        answer = self.server.send(ANNA, query, **options)
        return answer, SHARED.file(f"change {number}").exists()

    def test_a_change_by_a_page_of_another_origin_is_refused(self):
        foreign = ({"Sec-Fetch-Site": "same-site"}, {"Referer": "http://evil.example/page"},
                   {"Sec-Fetch-Site": "same-origin", "Referer": "http://127.0.0.1/"},
                   {"Origin": "null"})
        for number, headers in enumerate(foreign):
            with self.subTest(headers):
                answer, changed = self.change(number, headers=headers)
                self.assertEqual((answer.status, answer.error, changed),
                                 (403, "common/cross_site", False))

    def test_a_link_of_another_origin_may_read(self):
        for headers in ({"Sec-Fetch-Site": "same-site"}, {"Referer": "http://evil.example/page"}):
            with self.subTest(headers):
                self.assertEqual(self.server.send(ANNA, self.QUERY, headers=headers).status, 200)
                download = self.server.send(ANNA, "action=download&id_info_list=[]", headers=headers)
                self.assertTrue(download.body.startswith(b"PK"), download)

    def test_other_methods_do_nothing(self):
        for number, method in enumerate(("PUT", "DELETE", "PATCH", "OPTIONS"), 100):
            with self.subTest(method):
                answer, changed = self.change(number, method=method)
                self.assertEqual((answer.status, changed), (405, False))
                self.assertEqual(answer.headers["Allow"], "GET, HEAD, POST")

    def test_head_changes_nothing(self):
        answer, changed = self.change(200, method="HEAD")
        self.assertEqual((answer.status, answer.headers["Allow"], changed), (405, "GET, POST", False))

    def test_head_reads_the_headers(self):
        for query in (self.QUERY, "action=download&id_info_list=[]",
                      'action=download&id_info_list=["1"]'):
            with self.subTest(query):
                answer = self.server.send(ANNA, query, method="HEAD")
                self.assertEqual((answer.status, answer.body), (200, b""))
                self.assertIn("Content-Type", answer.headers)

    def test_a_request_that_no_action_answers_is_a_bad_one(self):
        for query in ("", "action=", "action=Add", "action=unknown", "playlist=musiclib_random"):
            with self.subTest(query):
                answer = self.server.send(ANNA, query)
                self.assertEqual((answer.status, answer.body), (400, b""))


class Parameters(ServerTest):
    def multipart(self, fields):
        parts = [f'--edge\r\nContent-Disposition: form-data; name="{name}"\r\n\r\n{value}\r\n'
                 for name, value in fields.items()]
        return "".join(parts) + "--edge--\r\n"

    def test_parameters_of_the_query(self):
        answer = self.server.send(ANNA, encode({"action": "add", "name": "by query",
                                                "type": "shared", "id_info_list": ["1"]}))
        self.assertTrue(answer.success, answer)
        self.assertEqual(len(songs_of(SHARED.file("by query"))), 1)

    def test_parameters_of_a_multipart_body(self):
        body = self.multipart({"action": "add", "name": "äöü かな", "type": "shared",
                               "id_info_list": '["2"]'})
        answer = self.server.send(ANNA, body=body.encode(),
                                  headers={"Content-Type": "multipart/form-data; boundary=edge"})
        self.assertTrue(answer.success, answer)
        self.assertEqual(len(songs_of(SHARED.file("äöü かな"))), 1)

    def test_a_multipart_body_with_folded_headers_and_other_parts(self):
        body = self.multipart({"action": "add", "name": "folded", "type": "shared"})
        body = body.replace("form-data; name", "form-data;\r\n name")
        body = "--edge\r\nContent-Type: text/plain\r\n\r\nno field\r\n" + body
        answer = self.server.send(ANNA, body=body.encode(),
                                  headers={"Content-Type": "multipart/form-data; boundary=edge"})
        self.assertTrue(answer.success, answer)
        self.assertTrue(SHARED.file("folded").exists())

    def test_an_empty_name_makes_no_file_without_one(self):
        victim = self.server.add(SHARED, "named", ["1"]).id
        for name in ("", "/", "folder/"):
            for parameters in ({"action": "add", "type": "shared"},
                               {"action": "saveplsname", "id": victim}):
                answer = self.server.ask(name=name, **parameters)
                self.assertEqual((answer.status, answer.body), (400, b""))
        self.assertFalse(SHARED.file("").exists())
        self.assertTrue(SHARED.file("named").exists())

    def test_a_name_with_a_comma_is_not_taken_apart(self):
        for name in ("a", "b", "a,b"):
            self.assertTrue(self.server.add(PREFERENCE, name, ["1"]).success)
        answer = self.server.ask("delete", BEN, playlists="musiclib_music_personal/playlist/a,b")
        self.assertEqual((answer.status, answer.error), (409, "common/name_with_comma"))
        for name in ("a", "b", "a,b"):
            self.assertTrue(PREFERENCE.file(name).exists(), name)
        self.server.ask("saveplsname", BEN, id="musiclib_music_personal/playlist/a,b", name="c")
        ids = "musiclib_music_personal/playlist/a,musiclib_music_personal/playlist/c"
        self.assertTrue(self.server.ask("delete", BEN, playlists=ids).success)
        self.assertEqual([PREFERENCE.file(name).exists() for name in ("a", "b", "c")],
                         [False, True, False])

    def test_the_body_wins_over_the_query(self):
        body = encode({"name": "of the body", "type": "shared"})
        self.server.send(ANNA, "action=add&name=of+the+query", body=body, headers=FORM)
        self.assertTrue(SHARED.file("of the body").exists())

    def test_20000_ids_pass_in_one_post(self):
        ids = [str(number % 12 + 1) for number in range(20000)]
        answer = self.server.add(SHARED, "twenty thousand", ids)
        self.assertTrue(answer.success, answer)
        self.assertEqual(len(songs_of(SHARED.file("twenty thousand"))), 20000)

    def test_a_body_over_64_mib_does_nothing(self):
        body = encode({"action": "add", "name": "huge", "type": "shared", "filler": "x" * (64 << 20)})
        answer = self.server.send(ANNA, body=body, headers=FORM)
        self.assertIn(answer.status, (400, 413))
        self.assertFalse(SHARED.file("huge").exists())


class HostileJson(ServerTest):
    """`id_info_list` in forms that no client sends: an error or a default, never a crash."""

    FAILS = {
        "no JSON": "songs",
        "nothing": "",
        "an object": '{"1": "2"}',
        "a number": "7",
        "cut short": '["1", ',
        "100,000 nested brackets": "[" * 100000,
        "100,000 nested brackets, closed": "[" * 100000 + "]" * 100000,
        "100,000 nested objects": '[' + '{"a":' * 100000,
        "title a number": '[{"title": 5}]',
        "title an object": '[{"title": {}}]',
        "res a number": '[{"res": 1}]',
        "res an array": '[{"res": ["/etc/passwd"]}]',
        "item_id a number": '[{"item_id": 3}]',
        "size a number": '[{"res": "/a.mp3", "size": 12}]',
        "albumArtURL true": '[{"albumArtURL": true}]',
        "10 MB of text that is no JSON": "x" * 10_000_000,
    }
    PASSES = {
        "null as an element": "[null]",
        "an array as an element": '[["1"]]',
        "a number as an element": "[1]",
        "a huge number as an element": "[1e30]",
        "a negative number as an element": "[-1]",
        "true as an element": "[true]",
        "a negative id": '["-1"]',
        "an id beyond 32 bits": '["99999999999999999999"]',
        "an id with a quote": '["1\'; drop table songs; --"]',
        "negative numbers": '[{"res": "/a.mp3", "bitrate": -1, "channels": -5, "year": -2000}]',
        "huge numbers": '[{"res": "/a.mp3", "bitrate": 1e300, "duration": 99999999999999999999}]',
        "numbers beyond their fields": '[{"res": "/a.mp3", "track": 4294967296, "sample": 1e18}]',
        "a size of letters": '[{"res": "/a.mp3", "size": "large"}]',
        "a number that is text": '[{"res": "/a.mp3", "bitrate": "320"}]',
        "10 MB of text": json.dumps([{"res": "/a.mp3", "title": "x" * 10_000_000}]),
        "a path over 4096 bytes": json.dumps([{"res": "/" + "x" * 5000}]),
    }

    def send(self, number, text):
        return self.server.ask("add", name=f"json {number}", type="shared", id_info_list=text)

    def test_each_that_cannot_be_songs_is_an_error(self):
        for number, (description, text) in enumerate(self.FAILS.items()):
            with self.subTest(description):
                answer = self.send(number, text)
                self.assertEqual(answer.error, "common/error_system", answer)
                self.assertEqual(songs_of(SHARED.file(f"json {number}")), [])

    def test_each_that_has_a_default_takes_it(self):
        for number, (description, text) in enumerate(self.PASSES.items(), 100):
            with self.subTest(description):
                self.assertTrue(self.send(number, text).success)

    def test_an_entry_with_a_line_break_is_refused(self):
        for number, path in enumerate(("/a\n/etc/passwd", "/a\r\n#EXTM3U", "http://x/\ny"), 200):
            with self.subTest(path):
                answer = self.send(number, json.dumps([{"res": path}]))
                self.assertEqual(answer.error, "common/error_system")
                self.assertEqual(songs_of(SHARED.file(f"json {number}")), [])

    def tearDown(self):
        answer = self.server.ask("checkempty", playlist="musiclib_random")
        self.assertTrue(answer.success)


if __name__ == "__main__":
    unittest.main()
