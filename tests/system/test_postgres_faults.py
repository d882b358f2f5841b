"""The index's server has no room left, or keeps silent."""

import signal
import subprocess
import unittest

from api import Api
from cluster import Cluster, IN_MEMORY
from editors import HALF_DONE
from server import KINDS, ServerTest, examine, move_index, objects, playlistctl, run, songs_of
from server import use_index, wait_until

OLD, NEW = ["http://old/1", "http://old/2"], ["http://new/1"]
INDEXED = [kind for kind in KINDS if kind.indexed]


class FullDisk(ServerTest):
    SIZE = "80m"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.disk = IN_MEMORY / "vexo-full"
        cls.disk.mkdir(exist_ok=True)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={cls.SIZE}", "tmpfs", cls.disk],
                                 stderr=subprocess.DEVNULL, check=False)
        if mounted.returncode:
            raise unittest.SkipTest("no disk can be mounted")
        cls.addClassCleanup(run, "umount", cls.disk)
        cls.cluster = Cluster(folder=cls.disk, settings="full_page_writes = off\n")
        cls.addClassCleanup(cls.cluster.stop)
        cls.cluster.start()
        move_index(cls.cluster.url)

    def fill(self):
        with open(self.disk / "fill", "wb", 0) as rest, self.assertRaises(OSError):
            while True:
                rest.write(bytes(1 << 12))

    def add_until_refused(self, kind):
        """The names of the lists that were made."""
        made = []
        for number in range(500):
            name = f"{'long ' * 30}{number}"
            answer = self.server.add(kind, name, objects(*NEW))
            if not answer.success:
                self.assertEqual(answer.error, "common/error_system")
                return made
            made.append(name)
        self.fail("the disk is not full")

    def edits(self, kind, name, id_):
        """Edits of a list, each with what its file holds when it is done, and else."""
        def ask(action, **parameters):
            return lambda: self.server.ask(action, kind.user, **parameters)
        old = songs_of(kind.file(name))
        for number in range(20):
            new = [*old, f"http://more/{number}"]
            yield ask("addsongs", playlist=id_, id_info_list=objects(new[-1])), old, new
            old = songs_of(kind.file(name))
        yield ask("add", name=name, type=kind.type, overwrite="true",
                  id_info_list=objects(*NEW)), old, NEW

    def crash(self):
        """A server without room for a checkpoint ends all that it does, and begins again."""
        self.assertIsNone(self.cluster.ask("CHECKPOINT"))
        for kind in INDEXED:
            answer = self.server.add(kind, "while it crashes", objects(*NEW))
            self.assertIn(answer.error, ("", "common/error_system"))

    def test_edits_are_refused_and_go_on_when_there_is_room_again(self):
        lists = {kind: self.server.add(kind, "list", objects(*OLD)).id for kind in INDEXED}
        self.fill()
        for kind, id_ in lists.items():
            made = self.add_until_refused(kind)
            for edit, old, new in self.edits(kind, "list", id_):
                answer = edit()
                self.assertIn(answer.error, ("", "common/error_system"))
                self.assertEqual(songs_of(kind.file("list")), new if answer.success else old)
            self.assertEqual(Api(self.server).get(f"/playlists/{id_}").status, 200)
            for name in made:
                self.assertEqual(songs_of(kind.file(name)), NEW)
        self.crash()
        (self.disk / "fill").unlink()
        wait_until(lambda: self.cluster.ask("SELECT 1") == "1", "the server has started itself again")
        for finding in examine().splitlines():
            self.assertRegex(finding, HALF_DONE)
        playlistctl("doctor", "--repair")
        for kind, id_ in lists.items():
            before = songs_of(kind.file("list"))
            for edit, new in (("addsongs", [*before, *NEW]), ("update", [*NEW, *before[1:], *NEW])):
                answer = self.server.ask(edit, kind.user, playlist=id_, id_info_list=objects(*NEW),
                                         **({"start": "0", "limit": "1"} if edit == "update" else {}))
                self.assertTrue(answer.success, answer)
                self.assertEqual(songs_of(kind.file("list")), new)
            self.assertTrue(self.server.add(kind, "new", objects(*NEW)).success)
        self.assertEqual(examine(), "")


class Silence(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.cluster = Cluster()
        cls.addClassCleanup(cls.cluster.stop)
        cls.cluster.start()
        playlistctl("index", "move", "--to", cls.cluster.url)
        use_index(cls.cluster.url + "&connect_timeout=2")

    def test_a_server_that_keeps_silent_is_an_error(self):
        answer = self.server.add(INDEXED[0], "list", objects(*OLD))
        self.cluster.signal(signal.SIGSTOP)
        self.addCleanup(self.cluster.signal, signal.SIGCONT)
        refused = self.server.add(INDEXED[0], "list", objects(*NEW), overwrite="true")
        self.assertEqual(refused.error, "common/error_system")
        self.assertEqual(Api(self.server).get(f"/playlists/{answer.id}").status, 500)
        self.assertEqual(Api(self.server).get("/health").status, 500)
        self.assertEqual(songs_of(INDEXED[0].file("list")), OLD)
        self.cluster.signal(signal.SIGCONT)
        self.assertTrue(self.server.add(INDEXED[0], "list", objects(*NEW), overwrite="true").success)
        self.assertEqual(examine(), "")


if __name__ == "__main__":
    unittest.main()
