"""The index on a PostgreSQL server, through pgbouncer: moved there, used there, and moved back."""

import os
import unittest
from concurrent.futures import ThreadPoolExecutor

from api import Api
from postgres import Postgres
from server import CONFIG, ROOT, SHARED, ServerTest, examine, move_index, playlistctl, songs_of
from server import use_index

OTHER = 65534 if os.geteuid() == 0 else os.geteuid()  # who may not give files away


class OnAServer(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.postgres = Postgres()
        cls.addClassCleanup(cls.postgres.stop)

    def moved_to_a_file(self):
        """Which is there for those who answer requests, as its folder is."""
        folder = ROOT / "var/lib/again"
        folder.mkdir()
        os.chown(folder, OTHER, OTHER)
        move_index(folder / "index.db")
        return os.stat(folder / "index.db")

    def seen(self):
        """What a user sees of songs and albums, with their ids."""
        api = Api(self.server)
        return [api.get(path, library="shared").json for path in ("/songs", "/albums")]

    def edit(self, number):
        """A playlist comes, gets songs and another name."""
        answer = self.server.add(SHARED, f"list {number}", [{"res": "http://a/1"}])
        self.assertTrue(answer.success, answer)
        for action, more in (("addsongs", {"playlist": answer.id,
                                           "id_info_list": [{"res": "http://a/2"}]}),
                             ("saveplsname", {"id": answer.id, "name": f"name {number}"})):
            result = self.server.ask(action, SHARED.user, **more)
            self.assertTrue(result.success, result)
        self.assertEqual(songs_of(SHARED.file(f"name {number}")), ["http://a/1", "http://a/2"])
        return answer.id

    def test_all_goes_on_there_and_back_again(self):
        self.edit("before")
        before = self.seen()
        self.assertEqual(before[0]["total"], len(self.tracks))
        move_index(self.postgres.bouncer_url)
        self.addCleanup(CONFIG.unlink)
        self.assertEqual(self.seen(), before)
        with ThreadPoolExecutor(8) as pool:
            ids = list(pool.map(self.edit, range(24)))
        self.assertEqual(len(set(ids)), 24)
        playlistctl("scan")
        self.assertEqual(self.seen(), before)
        self.assertEqual(examine(), "")
        self.assertEqual(self.moved_to_a_file().st_uid, OTHER)
        self.assertEqual(self.seen(), before)
        self.assertEqual(examine(), "")

    def test_a_server_that_is_gone_is_said_to_be_so(self):
        use_index("postgresql://vexo@/vexo?host=/nowhere")
        self.addCleanup(CONFIG.unlink)
        self.assertIn("/nowhere", examine())
        self.assertFalse(self.server.add(SHARED, "nowhere").success)


if __name__ == "__main__":
    unittest.main()
