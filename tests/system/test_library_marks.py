"""Stars, ratings and plays: each user's own, whatever becomes of the files."""

import os
import time
import unittest

from api import Api
from media import MediaTest, song_ids
from server import BEN, LIBRARY, PERSONAL, ROOT
from server import add_account, examine, playlistctl

NOTHING = {"star": False, "rating": 0, "play_count": 0}


class Marks(MediaTest):
    def setUp(self):
        self.count = getattr(Marks, "count", 0) + 1
        Marks.count = self.count
        self.file = LIBRARY / f"Marked {self.count}/song.mp3"
        self.song = self.add_song(self.file)
        self.path = f"/songs/{self.song}/mark"
        self.ben = Api(self.server, BEN)

    def test_are_changed_in_parts(self):
        begin = int(time.time())
        self.assertEqual(self.api.get(self.path).json, NOTHING)
        mark = self.api.put(self.path, {"rating": 4}).json
        self.assertEqual(mark, {**NOTHING, "rating": 4})
        mark = self.api.put(self.path, {"star": True}).json
        self.assertEqual((mark["star"], mark["rating"]), (True, 4))
        self.assertGreaterEqual(mark["starred"], begin)
        for count in (1, 2):
            mark = self.api.post(self.path, {"played": True}).json
            self.assertEqual(mark["play_count"], count)
            self.assertGreaterEqual(mark["played"], begin)
        mark = self.api.put(self.path, {"star": False, "rating": 0}).json
        self.assertEqual(mark, {**NOTHING, "play_count": 2, "played": mark["played"]})
        self.assertEqual(self.api.put(self.path, {}).json, mark)
        self.assertEqual(self.api.get(self.path).json, mark)
        self.assertEqual(self.ben.get(self.path).json, NOTHING)

    def test_that_are_not_understood_change_nothing(self):
        for body, parameter in (({"rating": 6}, "rating"), ({"rating": -1}, "rating"),
                                ({"rating": 2.5}, "rating"), ({"rating": "3"}, "rating"),
                                ({"rating": 4294967297}, "rating"), ({"star": 1}, "star"),
                                ({"star": None}, "star"), ({"rating": 3, "stars": True}, "stars"),
                                ({"rating": 3, "star": "yes"}, "star")):
            with self.subTest(body):
                self.problem(self.api.put(self.path, body), 400, parameter)
        for body, parameter in (({}, "played"), ({"played": False}, "played"),
                                ({"played": 1}, "played"), ({"star": True}, "star")):
            with self.subTest(body):
                self.problem(self.api.post(self.path, body), 400, parameter)
        for body in (b"", b"[]", b"{", b'{"rating": 3} x'):
            self.problem(self.api.put(self.path, body), 400)
            self.problem(self.api.post(self.path, body), 400)
        for ask in (self.api.put, self.api.post):
            self.problem(ask(self.path, b" " * 2000), 413)
            self.problem(ask(self.path, {}, colour="red"), 400, "colour")
        self.problem(self.api.get(self.path, colour="red"), 400, "colour")
        self.assertEqual(self.api.get(self.path).json, NOTHING)

    def test_are_for_songs_that_one_sees(self):
        own = self.add_song(PERSONAL.folder.parent / f"{self.count}.mp3")
        self.assertEqual(self.api.put(f"/songs/{own}/mark", {"star": True}).status, 200)
        for api, number in ((self.ben, own), (self.api, 99999), (self.api, "x"), (self.api, 0)):
            path = f"/songs/{number}/mark"
            self.problem(api.get(path), 404, "id")
            self.problem(api.put(path, {"star": True}), 404, "id")
            self.problem(api.post(path, {"played": True}), 404, "id")

    def test_are_made_by_nobody_else(self):
        nobody = Api(self.server, None)
        other_site = {"Sec-Fetch-Site": "cross-site"}
        for path, asks in ((self.path, ("get", "put", "post")), ("/marks", ("get",))):
            for name in asks:
                body = {} if name == "get" else {"body": {"played": True}}
                self.assertEqual(getattr(nobody, name)(path, **body).status, 401)
                self.problem(getattr(self.api, name)(path, headers=other_site, **body), 403)

    def test_are_listed(self):
        songs = [self.song] + [self.add_song(LIBRARY / f"Marked {self.count}/{i}.mp3")
                               for i in range(4)]
        for song in songs[:4]:
            self.api.put(f"/songs/{song}/mark", {"rating": 3, "star": song == songs[1]})
        wanted = ",".join(map(str, [*songs, 99999]))
        answer = self.api.get("/marks", songs=wanted).json
        self.assertEqual([item["song"] for item in answer["items"]], sorted(songs[:4]))
        self.assertEqual(answer["total"], 4)
        answer = self.api.get("/marks", songs=wanted, offset="1", limit="2").json
        self.assertEqual([item["song"] for item in answer["items"]], sorted(songs[:4])[1:3])
        self.assertEqual(self.api.get("/marks", songs=wanted, offset="9").json["items"], [])
        self.assertEqual(self.ben.get("/marks", songs=wanted).json["items"], [])
        starred = self.api.get("/marks", star="true").json["items"]
        self.assertIn(songs[1], [item["song"] for item in starred])
        self.assertTrue(all(item["star"] for item in starred))
        every = self.api.get("/marks", limit="1000").json
        self.assertLessEqual(set(songs[:4]), {item["song"] for item in every["items"]})
        for query, parameter in (({"songs": "1,x"}, "songs"), ({"songs": "0"}, "songs"),
                                 ({"songs": ",".join(["1"] * 1001)}, "songs"),
                                 ({"songs": "1", "star": "true"}, "star"), ({"star": "1"}, "star"),
                                 ({"limit": "1001"}, "limit")):
            self.problem(self.api.get("/marks", **query), 400, parameter)

    def test_stay_when_the_file_moves_and_when_it_comes_back(self):
        mark = self.api.put(self.path, {"star": True, "rating": 5}).json
        moved = self.file.with_name("moved.mp3")
        self.file.rename(moved)
        playlistctl("scan")
        self.assertEqual(song_ids()[os.fsencode(moved)], self.song)
        self.assertEqual(self.api.get(self.path).json, mark)
        away = ROOT / "away.mp3"
        moved.rename(away)
        playlistctl("scan")
        self.problem(self.api.get(self.path), 404, "id")
        away.rename(moved)
        playlistctl("scan")
        again = song_ids()[os.fsencode(moved)]
        self.assertEqual(self.api.get(f"/songs/{again}/mark").json, mark)

    def test_decide_what_smart_playlists_choose(self):
        other = self.add_song(LIBRARY / f"Marked {self.count}/other.mp3")
        self.api.put(self.path, {"rating": 5})
        self.ben.post(f"/songs/{other}/mark", {"played": True})
        here = f'path includes "Marked {self.count}/"'
        (ROOT / "etc/mt-daapd.playlist").write_text(
            f'"Best" {{ {here} and rating >= 4 }}\n"Heard" {{ {here} and play_count > 0 }}\n'
            f'"Unheard" {{ {here} and play_count = 0 order by path }}\n')
        for api, name, songs in ((self.api, "Best", [self.song]), (self.ben, "Best", []),
                                 (self.api, "Heard", []), (self.ben, "Heard", [other]),
                                 (self.api, "Unheard", [other, self.song]),
                                 (self.ben, "Unheard", [self.song])):
            with self.subTest(name, user=api.user):
                answer = self.server.ask("checkempty", api.user,
                                         playlist=f"musiclib_music_shared/smart/{name}")
                self.assertEqual(answer.json["isEmpty"], not songs)
                path = f"/playlists/musiclib_music_shared/smart/{name}"
                items = api.get(path).json["items"]
                self.assertEqual([item["song"]["id"] for item in items], songs)

    def test_go_with_their_account(self):
        add_account("carla")
        carla = Api(self.server, "carla")
        self.assertEqual(carla.put(self.path, {"star": True}).status, 200)
        self.api.put(self.path, {"rating": 2})
        playlistctl("account", "remove", "carla")
        add_account("carla")
        self.assertEqual(carla.get(self.path).json, NOTHING)
        self.assertEqual(self.api.get(self.path).json["rating"], 2)
        self.assertEqual(examine(), "")


if __name__ == "__main__":
    unittest.main()
