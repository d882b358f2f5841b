"""Bringing the index up to date by /api/scan."""

import shutil
import unittest

from api import Api
from server import ANNA, BEN, LIBRARY, SOURCE, ServerTest, add_account, lay_root, Server, wait_until


class Scan(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(shutil.rmtree, LIBRARY.parent, ignore_errors=True)
        lay_root()
        add_account("root", "--admin", "on")
        cls.server = Server()
        cls.addClassCleanup(cls.server.stop)
        cls.api = Api(cls.server, "root")

    def wait(self):
        wait_until(lambda: "finished" in self.api.get("/scan").json, "the scan ends")
        return self.api.get("/scan").json

    def test_is_started_by_an_administrator_and_told_to_everybody(self):
        self.assertEqual(self.api.get("/scan").json, {"running": False})
        for user in (ANNA, BEN):
            self.assertEqual(Api(self.server, user).post("/scan").status, 403)
        self.assertEqual(self.api.get("/scan").json, {"running": False})
        shutil.copytree(SOURCE / "demo/music", LIBRARY, dirs_exist_ok=True)
        started = self.api.post("/scan")
        self.assertEqual(started.status, 202)
        self.assertIn("started", started.json)
        ended = self.wait()
        self.assertEqual((ended["songs"]["added"], ended["complete"]), (12, True))
        self.assertGreaterEqual(ended["finished"], ended["started"])
        self.assertFalse(Api(self.server, BEN).get("/scan").json["running"])
        next(LIBRARY.rglob("*.flac")).unlink()
        self.api.post("/scan")
        again = self.wait()
        self.assertEqual((again["songs"]["gone"], again["songs"]["unchanged"]), (1, 11))


if __name__ == "__main__":
    unittest.main()
