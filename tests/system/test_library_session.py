"""Sessions: who logs in stays in, in both programs, until the session ends."""

import os
import re
import time
import unittest

from api import Api
from server import ANNA, BEN, PASSWORD, ROOT, ServerTest, add_account, encode, playlistctl, songs_of
from server import SHARED, Server

FORM = {"Content-Type": "application/x-www-form-urlencoded"}
ETC = ROOT / "etc/vexo"


class SessionTest(ServerTest):
    def setUp(self):
        self.nobody = Api(self.server, user=None)

    def log_in(self, name=ANNA, password=PASSWORD, **headers):
        return self.nobody.post("/session", {"name": name, "password": password}, headers=headers)

    def session(self, name=ANNA, password=PASSWORD):
        """The API with a new session."""
        answer = self.log_in(name, password)
        self.assertEqual(answer.status, 200, answer)
        return self.with_cookie_of(answer)

    def with_cookie_of(self, answer):
        return Api(self.server, cookie=answer.headers["Set-Cookie"].split(";")[0])

    def status(self, api):
        return api.get("/session").status

    def user(self, name, *options):
        """An account that no other test uses."""
        add_account(name, *options)
        return name

    def act(self, api, query="", body=None, **headers):
        """An action of the playlist program in a session."""
        return self.server.send(None, query, body, {"Cookie": api.cookie, **headers})

    def logged(self):
        return [line.split("login ", 1)[1] for line in self.server.log().splitlines()
                if "]: login " in line]


class Sessions(SessionTest):
    def test_begin_by_name_and_password(self):
        answer = self.log_in()
        who = {"name": ANNA, "id": 1, "admin": False, "personal_library": True, "by": "session"}
        self.assertEqual(answer.json, who)
        self.assertRegex(answer.headers["Set-Cookie"],
                         r"^vexo_session=1\.1\.\d+\.\d+\.[0-9a-f]{64}; Path=/; Max-Age=2592000; "
                         r"HttpOnly; SameSite=Strict$")
        self.assertEqual(answer.headers["Cache-Control"], "no-store")
        self.assertEqual(self.with_cookie_of(answer).get("/session").json, who)

    def test_are_for_tls_alone_where_the_browser_came_by_it(self):
        host = f"127.0.0.1:{self.server.port}"
        for scheme, secure in (("https", True), ("http", False)):
            cookie = self.log_in(Origin=f"{scheme}://{host}").headers["Set-Cookie"]
            self.assertEqual("; Secure" in cookie, secure, cookie)

    def test_identify_the_user_of_both_programs(self):
        anna, ben = self.session(ANNA), self.session(BEN)
        self.assertEqual([library["name"] for library in anna.get("/").json["libraries"]],
                         ["shared", "personal"])
        self.assertEqual([library["name"] for library in ben.get("/").json["libraries"]],
                         ["shared"])
        songs = encode({"action": "add", "name": "in a session", "type": "shared",
                        "id_info_list": ["1", "2"]})
        added = self.act(anna, body=songs, **FORM)
        self.assertTrue(added.success, added)
        self.assertEqual(len(songs_of(SHARED.file("in a session"))), 2)
        archive = self.act(anna, encode({"action": "download", "playlist": added.id}))
        self.assertEqual((archive.status, archive.body[:2]), (200, b"PK"))

    def test_of_one_user_are_not_anothers(self):
        own = self.act(self.session(ANNA), body=encode({"action": "add", "name": "mine"}), **FORM)
        empty = encode({"action": "removesongs", "playlist": own.id, "seq_list": "0"})
        self.assertFalse(self.act(self.session(BEN), body=empty, **FORM).success)

    def test_change_something_by_post_only(self):
        anna = self.session()
        change = encode({"action": "add", "name": "by a link", "type": "shared"})
        answer = self.act(anna, change)
        self.assertEqual((answer.status, answer.headers["Allow"]), (405, "POST"))
        self.assertFalse(SHARED.file("by a link").exists())
        self.assertTrue(self.server.send(ANNA, change).success)
        self.assertTrue(self.act(anna, "action=checkempty&playlist=musiclib_random").success)

    def test_do_not_serve_other_sites(self):
        anna = self.session()
        change = encode({"action": "add", "name": "elsewhere", "type": "shared"})
        for headers in ({"Origin": "http://evil.example"}, {"Sec-Fetch-Site": "same-site"}):
            self.assertEqual(self.act(anna, body=change, **FORM, **headers).status, 403)
            for answer in (anna.delete("/session", headers=headers, everywhere="true"),
                           anna.post("/password", {"old": PASSWORD, "new": "x"}, headers=headers),
                           self.log_in(**headers)):
                self.assertEqual(answer.status, 403)
        self.assertEqual(anna.get("/session", headers={"Sec-Fetch-Site": "cross-site"}).status, 403)
        self.assertEqual(self.status(anna), 200)

    def test_that_are_made_up_are_none(self):
        own = self.session().cookie
        for cookie in ("vexo_session=", "vexo_session=1.1.1.1." + "0" * 64, own[:-1], own + "0",
                       own.replace("=1.1.", "=1.2."), "vexo_session=" + "9" * 7000, "a=b"):
            with self.subTest(cookie[:40]):
                api = Api(self.server, cookie=cookie)
                self.assertEqual(self.status(api), 401)
                self.assertEqual(self.act(api, "action=checkempty").status, 401)

    def test_end_by_logging_out(self):
        answer = self.session().delete("/session")
        self.assertEqual((answer.status, answer.body), (204, b""))
        self.assertEqual(answer.headers["Set-Cookie"],
                         "vexo_session=; Path=/; Max-Age=0; HttpOnly; SameSite=Strict")
        self.assertEqual(self.nobody.delete("/session").status, 204)

    def test_end_everywhere(self):
        name = self.user("everywhere")
        here, there, other = self.session(name), self.session(name), self.session(BEN)
        self.assertEqual(here.delete("/session", everywhere="false").status, 204)
        self.assertEqual(self.status(there), 200)
        self.assertEqual(here.delete("/session", everywhere="true").status, 204)
        self.assertEqual([self.status(api) for api in (here, there, other)], [401, 401, 200])
        self.assertEqual(self.status(self.session(name)), 200)
        self.assertEqual(self.nobody.delete("/session", everywhere="true").status, 401)
        self.assertEqual(here.delete("/session", everywhere="maybe").json["parameter"], "everywhere")

    def test_end_by_the_owner_of_the_machine(self):
        name = self.user("guest")
        for change in (("logout",), ("passwd",), ("remove",)):
            api = self.session(name, PASSWORD)
            playlistctl("account", *change, name)
            self.assertEqual(self.status(api), 401, change)
            self.assertEqual(self.act(api, "action=checkempty").status, 401, change)
            if change == ("passwd",):
                playlistctl("account", "passwd", name, "--password-stdin", input=PASSWORD + "\n")
        add_account(name)
        self.assertEqual(self.status(api), 401, "of the one who had the name before")

    def test_go_on_when_other_things_of_the_account_change(self):
        api = self.session(self.user("promoted"))
        playlistctl("account", "set", "promoted", "--admin", "on", "--personal", "on")
        who = api.get("/session").json
        self.assertEqual((who["admin"], who["personal_library"]), (True, True))

    def test_are_signed_with_a_key_of_the_server_alone(self):
        self.session()
        key = ETC / "session_key"
        self.assertEqual((key.stat().st_size, key.stat().st_mode & 0o777), (32, 0o600))


class Passwords(SessionTest):
    def test_by_the_web_server_do_without_a_session(self):
        self.assertEqual(Api(self.server, BEN).get("/session").json,
                         {"name": BEN, "id": 2, "admin": False, "personal_library": False,
                          "by": "web_server"})

    def test_go_before_a_session(self):
        answer = self.server.send(BEN, path="/api/session",
                                  headers={"Cookie": self.session(ANNA).cookie})
        self.assertEqual(answer.json["name"], BEN)

    def test_that_are_wrong_are_refused_by_the_web_server(self):
        cookie = {"Cookie": self.session().cookie}
        for path in ("/api/session", "/audio_playlist.cgi"):
            for headers in (cookie, {}):
                self.assertEqual(
                    self.server.send(ANNA, path=path, headers=headers, password="no").status, 401)
        for word in ("Basic", "Basic !", "Bearer x", "Digest username=\"anna\"", "x"):
            headers = {"Authorization": word, **cookie}
            self.assertIn(self.server.send(None, headers=headers).status, (400, 401), word)

    def test_are_asked_for_by_the_program_where_nobody_says_who_it_is(self):
        for path in ("/api/session", "/audio_playlist.cgi"):
            for headers in ({}, {"Remote-User": ANNA}, {"REMOTE_USER": ANNA}, {"Remote_User": ANNA},
                            {"X-Remote-User": ANNA}, {"Authorization": ""}):
                answer = self.server.send(None, path=path, headers=headers)
                self.assertEqual(answer.status, 401, headers)
                self.assertEqual(answer.headers["WWW-Authenticate"], 'Basic realm="playlists"')

    def test_are_not_asked_for_by_the_browser_where_a_page_asks(self):
        answer = self.nobody.get("/session", headers={"Sec-Fetch-Mode": "cors"})
        self.assertEqual(answer.headers["WWW-Authenticate"], 'Session realm="playlists"')

    def test_are_changed_by_their_user(self):
        name = self.user("changes")
        here, there = self.session(name), self.session(name)
        answer = here.post("/password", {"old": PASSWORD, "new": "new one"})
        self.assertEqual(answer.status, 204, answer)
        goes_on = self.with_cookie_of(answer)
        self.assertEqual([self.status(api) for api in (here, there, goes_on)], [401, 401, 200])
        self.assertEqual(self.log_in(name).status, 401)
        self.session(name, "new one")
        self.assertEqual(self.server.send(name, path="/api/session", password="new one").status, 200)

    def test_are_changed_without_a_session(self):
        name = self.user("tool")
        answer = Api(self.server, name).post("/password", {"old": PASSWORD, "new": "new one"})
        self.assertEqual(answer.status, 204)
        self.assertNotIn("Set-Cookie", answer.headers)
        self.session(name, "new one")

    def test_are_not_changed_by_anybody_else(self):
        api = self.session(self.user("keeps"))
        for body, status, parameter in (({"old": "wrong", "new": "new one"}, 403, "old"),
                                        ({"old": PASSWORD, "new": ""}, 400, "new"),
                                        ({"old": PASSWORD, "new": "a\nb"}, 400, "new"),
                                        ({"old": PASSWORD, "new": "a\0b"}, 400, "new"),
                                        ({"old": PASSWORD, "new": "x" * 513}, 400, "new"),
                                        ({"old": PASSWORD, "new": 7}, 400, "new"),
                                        ({"old": PASSWORD}, 400, "new"),
                                        ({"old": PASSWORD, "new": "x", "name": ANNA}, 400, "name"),
                                        ({"old": PASSWORD, "new": "x" * 5000}, 413, None)):
            answer = api.post("/password", body)
            self.assertEqual((answer.status, answer.json.get("parameter")), (status, parameter), body)
        self.assertEqual(self.nobody.post("/password", {"old": PASSWORD, "new": "x"}).status, 401)
        self.assertEqual(self.status(api), 200)
        self.session("keeps")

    def test_are_not_changed_where_the_server_may_not(self):
        api = self.session(self.user("managed"))
        for file in ("passwords", "accounts"):
            os.rename(ETC / file, ETC / f"{file}.elsewhere")
            os.symlink(f"{file}.elsewhere", ETC / file)
            if file == "passwords":
                answer = api.post("/password", {"old": PASSWORD, "new": "x"})
            else:
                answer = api.delete("/session", everywhere="true")
            os.rename(ETC / f"{file}.elsewhere", ETC / file)
            self.assertEqual(answer.status, 503, file)
            self.assertIn("may not change accounts", answer.json["detail"])
        self.assertEqual(self.status(api), 200)
        self.session("managed")


class Guessing(SessionTest):
    def test_looks_the_same_whether_there_is_such_a_user(self):
        answers = [self.log_in(self.user("known"), "wrong"), self.log_in("unknown", "wrong"),
                   self.log_in("known", ""), self.log_in("", ""), self.log_in("k" * 3000, "x")]
        self.assertEqual({(answer.status, answer.body) for answer in answers},
                         {(401, answers[0].body)})
        self.assertEqual({answer.headers.get("Set-Cookie") for answer in answers}, {None})

    def test_of_an_accounts_password_has_to_wait(self):
        name = self.user("guessed")
        for _ in range(5):
            self.assertEqual(self.log_in(name, "wrong").status, 401)
        self.guess_until_waiting(name, 4)
        throttled = self.log_in(name)
        self.assertEqual(throttled.status, 429)
        self.assertGreater(int(throttled.headers["Retry-After"]), 0)
        self.assertEqual(self.log_in(self.user("another")).status, 200)
        api = Api(self.server, name)
        self.assertEqual(api.post("/password", {"old": PASSWORD, "new": "x"}).status, 429)

    def guess_until_waiting(self, name, seconds):
        """Until each further try has to wait for so long: what follows is quicker on any machine."""
        wait = 0
        while wait < seconds:
            time.sleep(wait)
            answer = self.log_in(name, "wrong")
            wait = int(answer.headers["Retry-After"]) if answer.status == 429 else 0

    def test_is_logged_with_address_and_outcome(self):
        name = self.user("logged")
        begin = len(self.logged())
        self.log_in(name)
        self.log_in(name, "wrong")
        self.log_in("x\r\nlogin granted: address 1.2.3.4, user anna\x1b[2J", "wrong")
        self.log_in("n" * 1000, "wrong")
        lines = self.logged()[begin:]
        self.assertEqual(lines[:2], ["granted: address 127.0.0.1, user logged",
                                     "refused: address 127.0.0.1, user logged"])
        self.assertTrue(lines[2].startswith("refused: address 127.0.0.1, user x"), lines[2])
        self.assertTrue(re.fullmatch("refused: address 127.0.0.1, user n{64}", lines[3]), lines[3])
        self.assertEqual(len(lines), 4)
        self.assertNotIn("\x1b", self.server.log())
        self.assertNotIn(PASSWORD, self.server.log())

    def test_needs_a_body_of_the_right_form(self):
        for body, parameter in (({"name": ANNA}, "password"), ({"password": "x"}, "name"),
                                ({"name": 7, "password": "x"}, "name"),
                                ({"name": ANNA, "password": None}, "password"),
                                ({"name": ANNA, "password": "x", "remember": True}, "remember"),
                                ([], None), (b"{", None), (b"", None)):
            answer = self.nobody.post("/session", body)
            self.assertEqual((answer.status, answer.json.get("parameter")), (400, parameter), body)
        self.assertEqual(self.log_in("x" * 5000, "x").status, 413)
        answer = Api(self.server).get("/session", colour="red")
        self.assertEqual((answer.status, answer.json["parameter"]), (400, "colour"))


class SessionsAlone(SessionTest):
    """A web server whose configuration lacks the line auth.require."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = Server(without=("auth.require",))
        cls.addClassCleanup(cls.server.stop)

    def test_say_who_one_is_whatever_password_comes_with_the_request(self):
        self.assertEqual(self.status(Api(self.server, ANNA)), 401)
        self.assertEqual(self.server.send(ANNA, "action=checkempty").status, 401)
        ben = self.session(BEN)
        self.assertEqual(self.status(ben), 200)
        answer = self.server.send(ANNA, headers={"Cookie": ben.cookie}, path="/api/session")
        self.assertEqual(answer.json["name"], BEN)


if __name__ == "__main__":
    unittest.main()
