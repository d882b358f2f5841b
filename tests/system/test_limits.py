"""How much one request may carry, and what it may take of the machine."""

import unittest

from server import ROOT, SHARED, ServerTest, songs_of

MOST = 100_000
SONG = {"res": "/some/folder/a song.mp3", "title": "a title", "artist": "an artist", "year": 2000}


class Entries(ServerTest):
    def test_as_many_entries_as_there_may_be(self):
        made = self.server.add(SHARED, "most", [SONG] * MOST)
        self.assertTrue(made.success, made)
        self.assertEqual(len(songs_of(SHARED.file("most"))), MOST)
        removed = self.server.ask("removesongs", playlist=made.id,
                                  seq_list=",".join(map(str, range(MOST))))
        self.assertTrue(removed.success, removed)
        self.assertEqual(songs_of(SHARED.file("most")), [])

    def test_one_entry_more_changes_nothing(self):
        made = self.server.add(SHARED, "kept", ["1", "2"])
        before = SHARED.file("kept").read_bytes()
        for parameters in (
                {"action": "add", "name": "kept", "type": "shared", "overwrite": "true",
                 "id_info_list": ["3"] * (MOST + 1)},
                {"action": "removesongs", "playlist": made.id, "seq_list": "0," * MOST + "0"},
                {"action": "delete", "playlists": f"{made.id}," * MOST + made.id}):
            with self.subTest(parameters["action"]):
                answer = self.server.ask(**parameters)
                self.assertEqual((answer.status, answer.error), (413, "common/too_many_entries"))
                self.assertEqual(SHARED.file("kept").read_bytes(), before)


class Process(ServerTest):
    def configure(self, limits):
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[limits]\n{limits}\n")

    def test_a_request_without_memory_leaves_the_list_whole(self):
        self.configure("memory_mib = 100")
        self.assertTrue(self.server.add(SHARED, "kept", ["1", "2"]).success)
        before = SHARED.file("kept").read_bytes()
        many_keys = [{str(number): 0 for number in range(1_000_000)}]
        for songs, status in ((["1"] * MOST, 200), (many_keys, 500)):
            answer = self.server.add(SHARED, "kept", songs, overwrite="true")
            self.assertEqual((answer.status, answer.error), (status, "common/error_system"))
            self.assertEqual(SHARED.file("kept").read_bytes(), before)
        self.assertIn("memory_mib in [limits]", self.server.log())


if __name__ == "__main__":
    unittest.main()
