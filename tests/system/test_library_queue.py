"""The user's own queue: what one device leaves, another goes on with, and "addplaying" takes."""

import os
import threading
import time
import unittest

from api import Api
from server import ANNA, BEN, PERSONAL, ROOT, SHARED, ServerTest, playlistctl, songs_of

COPY = ROOT / f"tmp/playing_{ANNA}.pls"
QUEUE = ROOT / f"var/lib/vexo/preferences/{ANNA}/queue.pls"
STREAM = "http://radio.example/live?a=b"


class TheQueue(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.anna, cls.ben = Api(cls.server, ANNA), Api(cls.server, BEN)
        made = cls.server.add(SHARED, "All", [])
        SHARED.file("All").write_text("\n".join(cls.tracks) + "\n")
        items = cls.anna.get(f"/playlists/{made.id}", limit=1000).json["items"]
        cls.ids = {item["path"]: item["song"]["id"] for item in items}

    def setUp(self):
        for path in (COPY, QUEUE):
            path.unlink(missing_ok=True)

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)

    def put(self, items=None, status=200, **more):
        headers = more.pop("headers", None)
        body = more if items is None else {"items": items, **more}
        answer = self.anna.put("/queue", body, headers=headers)
        self.assertEqual(answer.status, status, answer)
        return answer

    def some(self, count=3):
        return [{"song": self.ids[track]} for track in self.tracks[:count]]

    def test_is_empty_at_first(self):
        answer = self.anna.get("/queue")
        self.assertEqual(answer.json, {"total": 0, "offset": 0, "items": [], "position": 0, "elapsed": 0})
        self.assertFalse(QUEUE.exists() or COPY.exists())

    def test_is_what_was_written(self):
        items = [*self.some(2), {"stream": STREAM, "title": "Räd - io"}, {"stream": "mms://x/y"}]
        before = int(time.time())
        written = self.put(items, position=2, elapsed=12.3456).json
        self.assertEqual((written["total"], written["items"]), (4, []))
        queue = self.anna.get("/queue").json
        self.assertEqual((queue["position"], queue["elapsed"]), (2, 12.346))
        self.assertTrue(before <= queue["updated"] <= time.time())
        self.assertEqual([item["song"]["id"] for item in queue["items"][:2]],
                         [item["song"] for item in items[:2]])
        self.assertEqual(queue["items"][2], {"position": 2, "stream": STREAM, "title": "Räd - io"})
        self.assertEqual(queue["items"][3], {"position": 3, "stream": "mms://x/y"})
        page = self.anna.get("/queue", offset=1, limit=1).json
        self.assertEqual((page["total"], [item["position"] for item in page["items"]]), (4, [1]))
        self.put([])
        self.assertEqual(self.anna.get("/queue").json["total"], 0)

    def test_keeps_its_items_when_only_the_place_is_told(self):
        first = self.put(self.some(), position=1)
        items = self.anna.get("/queue").json["items"]
        self.put(position=2, elapsed=5)
        queue = self.anna.get("/queue")
        self.assertEqual((queue.json["items"], queue.json["position"], queue.json["elapsed"]),
                         (items, 2, 5))
        self.assertNotEqual(queue.headers["ETag"], first.headers["ETag"])
        self.assertEqual(QUEUE.read_text().count("X-Position="), 1)

    def test_is_what_addplaying_takes(self):
        self.put([*self.some(2), {"stream": STREAM, "title": "Radio"}])
        self.assertEqual(COPY.stat().st_mode & 0o777, 0o600)
        self.assertEqual(QUEUE.stat().st_mode & 0o777, 0o600)
        made = self.server.ask("addplaying", type="personal", name="Heard", target="stream")
        self.assertTrue(made.success, made)
        self.assertEqual(songs_of(PERSONAL.file("Heard")), [*self.tracks[:2], STREAM])

    def test_stays_when_the_machine_restarts(self):
        self.put(self.some(), position=1)
        text = COPY.read_text()
        COPY.unlink()
        self.assertEqual(self.anna.get("/queue").json["total"], 3)
        self.assertEqual(COPY.read_text(), text)

    def test_does_not_follow_a_link_in_the_folder_for_temporary_files(self):
        target = ROOT / "tmp/target"
        target.write_text("precious")
        os.symlink(target, COPY)
        self.put(self.some())
        self.assertEqual(target.read_text(), "precious")
        self.assertFalse(COPY.is_symlink())
        self.assertIn("File3=", COPY.read_text())

    def test_is_changed_only_as_it_was_seen(self):
        tag = self.anna.get("/queue").headers["ETag"]
        self.put(self.some(1), headers={"If-Match": tag})
        self.problem(self.put(self.some(2), 412, headers={"If-Match": tag}), 412)
        tag = self.anna.get("/queue").headers["ETag"]
        self.assertEqual(self.anna.get("/queue", headers={"If-None-Match": tag}).status, 304)
        self.put(elapsed=1, headers={"If-Match": tag})
        self.assertEqual(self.anna.get("/queue", headers={"If-None-Match": tag}).status, 200)
        self.assertEqual(self.anna.get("/queue").json["total"], 1)

    def test_of_two_devices_is_never_torn(self):
        tag, statuses = self.put(self.some(1)).headers["ETag"], []

        def write(number):
            statuses.append(self.server.send(
                ANNA, body=b'{"items":[{"song":%d}],"elapsed":%d}' % (self.ids[self.tracks[0]], number),
                headers={"Content-Type": "application/json", "If-Match": tag},
                method="PUT", path="/api/queue").status)
        writers = [threading.Thread(target=write, args=(n,)) for n in range(1, 9)]
        for writer in writers:
            writer.start()
        for writer in writers:
            writer.join()
        self.assertEqual(sorted(statuses), [200] + [412] * 7)
        self.assertEqual(COPY.read_text(), QUEUE.read_text())

    def test_is_ones_own(self):
        self.put(self.some())
        self.assertEqual(self.ben.get("/queue").json["total"], 0)
        self.assertEqual(self.ben.put("/queue", {"items": self.some(1)}).status, 200)
        self.assertEqual(self.anna.get("/queue").json["total"], 3)

    def test_has_no_song_of_anothers_library(self):
        hers = PERSONAL.folder.parent / "hers.flac"
        hers.write_bytes((ROOT / "library" / self.tracks[0]).read_bytes() + b"\0")
        playlistctl("scan")
        made = self.server.add(PERSONAL, "Mine", [])
        PERSONAL.file("Mine").write_text(f"{hers}\n")
        song = self.anna.get(f"/playlists/{made.id}").json["items"][0]["song"]["id"]
        self.put([{"song": song}])
        self.assertEqual(self.anna.get("/queue").json["items"][0]["song"]["library"], "personal")
        self.assertEqual(self.ben.put("/queue", {"items": [{"song": song}]}).status, 200)
        self.assertEqual(self.ben.get("/queue").json["items"], [{"position": 0, "missing": True}])
        self.assertEqual(self.ben.put("/queue", {"items": []}).status, 200)

    def test_keeps_what_is_missing(self):
        one = self.ids[self.tracks[0]]
        self.put([{"song": 999999, "title": "Räd"}, {"song": one, "title": "ignored"},
                  {"song": 999998}, {"missing": True, "title": "long gone"}], position=3)
        queue = self.anna.get("/queue").json
        self.assertEqual((queue["total"], queue["position"]), (4, 3))
        self.assertEqual(queue["items"][1]["song"]["id"], one)
        del queue["items"][1]
        self.assertEqual(queue["items"], [{"position": 0, "title": "Räd", "missing": True},
                                          {"position": 2, "missing": True},
                                          {"position": 3, "title": "long gone", "missing": True}])

    def test_tells_a_song_that_has_gone(self):
        QUEUE.write_text("[playlist]\nFile1=/gone.mp3\nTitle1=A - B\nLength1=9\nX-Position=7\n")
        queue = self.anna.get("/queue").json
        self.assertEqual(queue["items"], [{"position": 0, "title": "A - B", "duration": 9, "missing": True}])
        self.assertEqual(queue["position"], 0)

    def test_that_is_broken_is_empty(self):
        QUEUE.write_bytes(b"\0\0")
        self.assertEqual(self.anna.get("/queue").json["total"], 0)
        self.put(self.some())
        self.assertEqual(self.anna.get("/queue").json["total"], 3)

    def test_refuses_what_is_no_queue(self):
        self.put(self.some())
        before = QUEUE.read_text()
        one = self.ids[self.tracks[0]]
        for body, parameter in (
                ({"items": [{"song": -1}]}, "items"), ({"items": [{"song": "1"}]}, "items"),
                ({"items": [{"song": one, "title": 1}]}, "items"), ({"items": [1]}, "items"),
                ({"items": [{"song": one, "name": "x"}]}, "items"),
                ({"items": [{"song": one, "missing": True}]}, "items"),
                ({"items": [{"missing": False}]}, "items"), ({"items": [{"title": "x"}]}, "items"),
                ({"items": [{"song": one, "stream": STREAM}]}, "items"), ({"items": {}}, "items"),
                ({"items": [{"stream": "/etc/passwd"}]}, "items"), ({"items": [{}]}, "items"),
                ({"items": [{"stream": "file:///etc/passwd"}]}, "items"),
                ({"items": [{"stream": "file:////etc/passwd"}]}, "items"),
                ({"items": [{"stream": "FILE://host/passwd"}]}, "items"),
                ({"items": [{"stream": "http://a/\nFile2=/etc/passwd"}]}, "items"),
                ({"items": [{"stream": STREAM, "title": "a\nFile2=/x"}]}, "items"),
                ({"items": [{"stream": "http://" + "a" * 5000}]}, "items"),
                ({"items": [{"song": one}] * 100001}, "items"),
                ({"position": 3}, "position"), ({"items": [], "position": 1}, "position"),
                ({"position": -1}, "position"), ({"position": 0.5}, "position"),
                ({"elapsed": -1}, "elapsed"), ({"elapsed": "1"}, "elapsed"), ({"elapsed": 1e9}, "elapsed"),
                ({"volume": 1}, "volume")):
            self.problem(self.anna.put("/queue", body), 400, parameter)
        self.problem(self.anna.put("/queue", b"[]"), 400)
        self.problem(self.anna.put("/queue", {"items": ["x" * (16 << 20)]}), 413)
        self.problem(self.anna.get("/queue", limit="all"), 400, "limit")
        self.assertEqual(QUEUE.read_text(), before)

    def test_is_for_users_on_this_site_only(self):
        nobody, headers = Api(self.server, None), {"Sec-Fetch-Site": "cross-site"}
        self.assertEqual((nobody.get("/queue").status, nobody.put("/queue", {}).status), (401, 401))
        self.problem(self.anna.get("/queue", headers=headers), 403)
        self.problem(self.anna.put("/queue", {}, headers=headers), 403)


if __name__ == "__main__":
    unittest.main()
