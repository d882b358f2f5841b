"""The players of the house by /api/players, with a real MPD that plays into nothing."""

import unittest

from api import Api
from player_daemon import Daemon, PlayerMpd
from server import BEN, LIBRARY, PERSONAL, ROOT, SHARED, ServerTest, playlistctl, wait_until

STREAM = "http://127.0.0.1:9/live"
# All that a player can be told.
COMMANDS = {"play": None, "pause": None, "stop": None, "next": None, "previous": None,
            "seek": {"seconds": 1}, "volume": {"percent": 1}, "queue": {"songs": [1]},
            "mode": {"repeat": True}, "remove": {"position": 0}, "move": {"from": 0, "to": 0}}


class Players(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        own = PERSONAL.folder.parent
        own.mkdir(parents=True, exist_ok=True)
        (own / "own.flac").write_bytes(next(LIBRARY.rglob("*.flac")).read_bytes())
        playlistctl("scan")
        cls.mpd = PlayerMpd()
        cls.addClassCleanup(cls.mpd.stop)
        cls.addClassCleanup(PlayerMpd("mute", mixer="none").stop)
        (ROOT / "etc/vexo/playlist.conf").write_text(
            f"[player 0]\nhost={ROOT}/tmp/mpd.sock\nname=Kitchen\n"
            f"[player 1]\nhost={ROOT}/tmp/mute.sock\n[player 3]\nhost={ROOT}/tmp/nothing.sock\n")
        cls.daemon = Daemon()
        cls.addClassCleanup(lambda: cls.daemon.stop())  # which a test may replace
        cls.api = Api(cls.server)

    def setUp(self):
        self.mpd.mpc("clear")
        self.mpd.mpc("repeat", "off")
        self.mpd.mpc("random", "off")

    def fill(self, *ids, **members):
        return self.api.post("/players/0/queue", {"songs": list(ids), **members})

    def test_are_listed_with_what_they_play(self):
        self.assertEqual(self.fill(2, 1).json, {"added": 2, "refused": 0})
        players = self.api.get("/players").json
        self.assertEqual(players["total"], 3)
        kitchen, _, gone = players["items"]
        self.assertEqual((kitchen["id"], kitchen["name"], kitchen["state"]), (0, "Kitchen", "play"))
        self.assertEqual((kitchen["song"]["song"], kitchen["position"], kitchen["queue_length"]),
                         (2, 0, 2))
        self.assertEqual((gone["id"], gone["name"], gone["state"]), (3, "Player 3", "unreachable"))
        self.assertTrue(gone["detail"])

    def test_do_what_they_are_told(self):
        self.fill(1, 2, 3)
        paused = self.api.post("/players/0/pause").json
        self.assertEqual(paused["state"], "pause")
        # A song that MPD has read whole may be heard to its end before MPD plays another one; what
        # pauses ends at once.
        for name, song in (("next", 2), ("previous", 1)):
            self.assertEqual(self.api.post(f"/players/0/{name}").json["song"]["song"], song)
            self.api.post("/players/0/pause")
        self.assertEqual(self.api.post("/players/0/play", {"position": 2}).json["song"]["song"], 3)
        self.api.post("/players/0/pause")
        self.assertEqual(self.api.post("/players/0/seek", {"seconds": 0.5}).json["state"], "pause")
        wait_until(lambda: self.api.get("/players/0").json["elapsed"] >= 0.4, "it has sought")
        self.assertEqual(self.api.post("/players/0/play").json["state"], "play")
        self.assertEqual(self.api.post("/players/0/stop").json["state"], "stop")

    def test_an_address_and_appended_songs_are_queued_in_order(self):
        self.fill(3)
        self.api.post("/players/0/stop")
        self.mpd.mpc("add", STREAM)
        self.assertEqual(self.fill(1, 1, mode="append").json, {"added": 2, "refused": 0})
        queue = self.api.get("/players/0/queue").json
        self.assertEqual([item.get("song") for item in queue["items"]], [3, None, 1, 1])
        self.assertEqual(queue["items"][1]["stream"], STREAM)
        part = self.api.get("/players/0/queue", offset=2, limit=1).json
        self.assertEqual((part["total"], len(part["items"])), (4, 1))

    def queue(self):
        """The ids of the songs of the queue, None for what has none."""
        return [item.get("song") for item in self.api.get("/players/0/queue").json["items"]]

    def test_songs_that_come_next_go_behind_the_one_that_plays(self):
        self.fill(1, 2, 3, position=1)
        self.api.post("/players/0/pause")
        self.assertEqual(self.fill(4, 5, mode="next").json, {"added": 2, "refused": 0})
        self.assertEqual(self.queue(), [1, 2, 4, 5, 3])
        self.assertEqual(self.api.post("/players/0/next").json["song"]["song"], 4)
        self.api.post("/players/0/pause")
        self.api.post("/players/0/mode", {"random": True})
        self.fill(6, mode="next")
        self.assertEqual(self.queue(), [1, 2, 4, 6, 5, 3])
        self.assertEqual(self.api.post("/players/0/next").json["song"]["song"], 6)
        self.mpd.mpc("clear")
        self.fill(3, mode="append")
        self.fill(1, mode="next")
        self.assertEqual(self.queue(), [1, 3])

    def test_a_new_queue_begins_where_it_is_asked_to(self):
        items = [{"stream": "alsa://hw:0"}, {"song": 2, "title": "Two"}, {"song": 4000},
                 {"missing": True}, {"stream": STREAM}, {"song": 3}]
        for position, song, place in ((0, 2, 0), (1, 2, 0), (5, 3, 2)):
            answer = self.api.post("/players/0/queue", {"items": items, "position": position})
            self.assertEqual(answer.json, {"added": 3, "refused": 0})
            status = self.api.post("/players/0/pause").json
            self.assertEqual((status["song"].get("song"), status["position"]), (song, place))
            self.assertEqual(self.queue(), [2, None, 3])
        self.assertEqual(self.api.get("/players/0/queue").json["items"][1]["stream"], STREAM)
        made = self.server.add(SHARED, "begins late", ["3", {"res": "/gone.mp3"}, "1"])
        self.api.post("/players/0/queue", {"playlist": made.id, "position": 2})
        self.assertEqual(self.api.post("/players/0/pause").json["song"]["song"], 1)
        answer = self.api.post("/players/0/queue", {"items": [{"song": 4000}, {"missing": True}]})
        self.assertEqual(answer.status, 404)

    def test_are_told_to_repeat_and_in_which_order_to_play(self):
        status = self.api.post("/players/0/mode", {"repeat": True}).json
        self.assertEqual((status["repeat"], status["random"]), (True, False))
        status = self.api.post("/players/0/mode", {"repeat": False, "random": True}).json
        self.assertEqual((status["repeat"], status["random"]), (False, True))
        self.assertEqual(self.api.get("/players/0").json["random"], True)

    def test_a_queue_is_edited(self):
        self.fill(1, 2, 3, 4, 5)
        self.api.post("/players/0/stop")
        status = self.api.post("/players/0/move", {"from": 4, "to": 1}).json
        self.assertEqual(status["queue_length"], 5)
        self.assertEqual(self.queue(), [1, 5, 2, 3, 4])
        self.assertEqual(self.api.post("/players/0/remove", {"position": 0}).json["queue_length"], 4)
        self.api.post("/players/0/remove", {"position": 1, "count": 2})
        self.assertEqual(self.queue(), [5, 4])
        for name, body in (("remove", {"position": 7}), ("move", {"from": 0, "to": 7}),
                           ("move", {"from": 7, "to": 0})):
            self.assertEqual(self.api.post(f"/players/0/{name}", body).status, 409, body)
        self.assertEqual(self.queue(), [5, 4])

    def test_a_long_queue_comes_whole(self):
        ids = [number % 12 + 1 for number in range(900)]
        self.assertEqual(self.fill(*ids).json, {"added": 900, "refused": 0})
        queue = self.api.get("/players/0/queue", limit=1000).json
        self.assertEqual([item["song"] for item in queue["items"]], ids)

    def test_another_users_song_is_neither_played_nor_named(self):
        own = next(id_ for id_ in range(1, 40) if id_ > 12)
        self.assertEqual(self.fill(own, 1).json["added"], 2)
        self.assertEqual(self.api.get("/players/0/queue").json["items"][0]["song"], own)
        ben = Api(self.server, BEN)
        self.assertNotIn("song", ben.get("/players/0/queue").json["items"][0])
        self.assertNotIn("song", ben.get("/players/0").json["song"])
        self.assertEqual(ben.post("/players/0/queue", {"songs": [own]}).status, 404)

    def test_play_playlists_of_every_kind(self):
        made = self.server.add(SHARED, "for the kitchen", ["3", {"res": STREAM}, "1"])
        SHARED.file("broken").write_bytes(b"/a\0b\n")
        playlistctl("scan")
        play = lambda id_: self.api.post("/players/0/queue", {"playlist": id_})
        self.assertEqual(play(made.id).json, {"added": 3, "refused": 0})
        self.assertEqual([item.get("song") for item in self.api.get("/players/0/queue").json["items"]],
                         [3, None, 1])
        self.assertEqual(play("musiclib_random").json["added"], 12)
        (ROOT / "etc/mt-daapd.playlist").write_text('"Two" { track > 0 limit 2 }\n"Bad" { track }\n')
        self.assertEqual(play("musiclib_music_shared/smart/Two").json["added"], 2)
        self.assertEqual(play("musiclib_music_shared/smart/Bad").status, 409)
        self.assertEqual(play("musiclib_music_shared/smart/None").status, 404)
        broken = next(item["id"] for item in self.api.get("/playlists").json["items"]
                      if item["name"] == "broken")
        self.assertEqual(play(broken).status, 409)

    def test_a_list_of_another_user_is_not_played(self):
        made = self.server.add(PERSONAL, "own", ["1"])
        self.assertEqual(self.api.post("/players/0/queue", {"playlist": made.id}).status, 200)
        ben = Api(self.server, BEN)
        self.assertEqual(ben.post("/players/0/queue", {"playlist": made.id}).status, 404)
        own = f"{PERSONAL.folder.parent}/own.flac"
        taken = self.server.add(SHARED, "taken", [{"res": own}, "1"])
        self.assertEqual(ben.post("/players/0/queue", {"playlist": taken.id}).json["added"], 1)

    @staticmethod
    def append(api, playlist):
        """How many songs of the playlist the player takes."""
        return api.post("/players/0/queue", {"playlist": playlist, "mode": "append"}).json["added"]

    def test_an_address_leads_to_no_file_and_no_device(self):
        own = f"{PERSONAL.folder.parent}/own.flac"
        entries = [{"res": res} for res in (
            f"file://{own}", f"FILE://{own}", f"file:///{own}", f"file://localhost{own}",
            "file:///etc/hostname", "alsa://hw:0", "cdda:///dev/sr0", "smb://host/song.mp3",
            "HTTP://127.0.0.1:9/live")]
        made = self.server.add(SHARED, "addresses", entries)
        ben = Api(self.server, BEN)
        self.assertEqual(self.append(ben, made.id), 1)
        self.assertEqual(self.mpd.queue(), ["HTTP://127.0.0.1:9/live"])
        items = ben.get(f"/playlists/{made.id}").json["items"]
        self.assertEqual([item.get("missing", False) for item in items], [True] * 5 + [False] * 4)
        self.assertEqual(self.append(self.api, made.id), 4)

    def test_bad_requests_are_told_what_is_wrong(self):
        for path, body, status, parameter in (
                ("/players/7/play", None, 404, None), ("/players/x/queue", {"songs": [1]}, 404, None),
                ("/players/0/seek", {"seconds": -1}, 400, "seconds"),
                ("/players/0/seek", {"second": 1}, 400, "second"),
                ("/players/0/volume", {"percent": 101}, 400, "percent"),
                ("/players/0/volume", {"percent": "loud"}, 400, "percent"),
                ("/players/0/play", {"position": []}, 400, "position"),
                ("/players/0/queue", {"songs": []}, 400, "songs"),
                ("/players/0/queue", {"songs": [-1]}, 400, "songs"),
                ("/players/0/queue", {"songs": ["1"]}, 400, "songs"),
                ("/players/0/queue", {"songs": [4_000]}, 404, None),
                ("/players/0/queue", {"songs": [1], "mode": "eject"}, 400, "mode"),
                ("/players/0/queue", {"songs": [1], "mode": ["next"]}, 400, "mode"),
                ("/players/0/queue", {"songs": [1], "items": [{"song": 1}]}, 400, "songs"),
                ("/players/0/queue", {"items": [{"song": "1"}]}, 400, "items"),
                ("/players/0/queue", {"items": []}, 404, None),
                ("/players/0/queue", {"songs": [1], "position": 1}, 400, "position"),
                ("/players/0/queue", {"songs": [1], "position": -1}, 400, "position"),
                ("/players/0/queue", {"songs": [1], "position": 0, "mode": "next"}, 400, "position"),
                ("/players/0/mode", {}, 400, "repeat"), ("/players/0/mode", {"repeat": 1}, 400, "repeat"),
                ("/players/0/mode", {"single": True}, 400, "single"),
                ("/players/0/remove", {}, 400, "position"),
                ("/players/0/remove", {"position": 0, "count": 0}, 400, "count"),
                ("/players/0/remove", {"position": 100_001}, 400, "position"),
                ("/players/0/move", {"from": 0}, 400, "to"),
                ("/players/0/move", {"from": 0.5, "to": 0}, 400, "from"),
                ("/players/0/queue", {}, 400, "songs")):
            with self.subTest(path=path, body=body):
                answer = self.api.post(path, body)
                self.assertEqual((answer.status, answer.json.get("parameter")), (status, parameter))
        self.assertEqual(self.api.get("/players/0/queue", limit="x").status, 400)
        for path in ("/players/9", "/players/9/queue"):
            self.assertEqual(self.api.get(path).status, 404)
        for name in ("pause", "stop", "next", "previous"):
            self.assertEqual(self.api.post(f"/players/9/{name}").status, 404)
        for name in ("seek", "volume", "mode", "remove", "move"):
            body = COMMANDS[name]
            self.assertEqual(self.api.post(f"/players/9/{name}", body).status, 404)

    def test_what_a_player_cannot_do_now_is_a_conflict(self):
        for name, body in (("seek", {"seconds": 1}), ("play", {"position": 5}), ("next", None),
                           ("previous", None)):
            self.assertEqual(self.api.post(f"/players/0/{name}", body).status, 409, name)

    def test_a_volume_is_set_where_there_is_one(self):
        self.fill(1)
        self.assertEqual(self.api.post("/players/0/volume", {"percent": 40}).json["volume"], 40)
        self.assertNotIn("volume", self.api.get("/players/1").json)
        self.assertEqual(self.api.post("/players/1/volume", {"percent": 40}).status, 409)

    def test_a_player_that_is_gone_and_a_daemon_that_is_gone_are_told_apart(self):
        self.refused(502, 3)
        self.daemon.stop()
        try:
            self.refused(503, 0)
            self.assertEqual({item["state"] for item in self.api.get("/players").json["items"]},
                             {"unreachable"})
        finally:
            type(self).daemon = Daemon()

    def refused(self, status, player):
        for path in ("", "/queue"):
            self.assertEqual(self.api.get(f"/players/{player}{path}").status, status, path)
        for name, body in COMMANDS.items():
            answer = self.api.post(f"/players/{player}/{name}", body)
            self.assertEqual(answer.status, status, name)

    def test_a_body_that_is_too_large_is_refused(self):
        body = b" " * ((64 << 20) + 1)
        for name in ("seek", "volume", "queue", "mode", "remove", "move"):
            self.assertEqual(self.api.post(f"/players/0/{name}", body).status, 413, name)


if __name__ == "__main__":
    unittest.main()
