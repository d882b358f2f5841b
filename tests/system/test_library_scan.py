"""Bringing the index up to date by /api/scan."""

import contextlib
import shutil
import sqlite3
import unittest

from api import Api
from server import ANNA, BEN, LIBRARY, ROOT, SOURCE, Server, add_account, lay_root, wait_until

INDEX = ROOT / "var/lib/vexo/index.db"
TOOL = ROOT / "usr/vexo/bin/playlistctl"


class ScanTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(shutil.rmtree, LIBRARY.parent, ignore_errors=True)
        lay_root()
        add_account("root", "--admin", "on")
        cls.server = Server()
        cls.addClassCleanup(cls.server.stop)
        cls.api = Api(cls.server, "root")

    def wait(self):
        def has_ended():
            state = self.api.get("/scan").json
            return "finished" in state and not state["running"]

        wait_until(has_ended, "the scan ends")
        return self.api.get("/scan").json


class Scan(ScanTest):
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


class AnotherScan(ScanTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.track = next((SOURCE / "demo/music").rglob("*.mp3"))
        shutil.copy(cls.track, LIBRARY)
        cls.api.post("/scan")

    def setUp(self):
        self.before = self.wait()

    def test_while_one_runs_is_that_one(self):
        shutil.copy(self.track, LIBRARY / "late.mp3")
        with contextlib.closing(sqlite3.connect(INDEX, isolation_level=None)) as index:
            index.execute("BEGIN IMMEDIATE")  # until it is closed no scan ends
            first, second = (self.api.post("/scan") for _ in range(2))
        for answer in (first, second):
            self.assertEqual((answer.status, answer.json["running"]), (202, True))
            self.assertNotIn("finished", answer.json)
        # One behind it would have found nothing to add.
        self.assertEqual(self.wait()["songs"]["added"], 1)

    def test_that_cannot_be_started_is_said_so(self):
        hidden = TOOL.rename(TOOL.with_name("hidden"))
        try:
            answer = self.api.post("/scan")
        finally:
            hidden.rename(TOOL)
        self.assertEqual(answer.status, 500, answer)
        self.assertIn(TOOL.name, self.server.log())
        self.assertEqual(self.api.get("/scan").json, self.before)


if __name__ == "__main__":
    unittest.main()
