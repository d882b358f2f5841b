"""kill -9 in an edit on a PostgreSQL server: its locks are gone, and the others go on."""

import unittest

from editors import Editors
from killed import OLD, KillTest
from machines import MachinesTest
from postgres import Postgres
from server import SHARED, cgi, objects, playlistctl, songs_of, use_index


class Kills(KillTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.postgres = Postgres()
        cls.addClassCleanup(cls.postgres.stop)
        playlistctl("index", "move", "--to", cls.postgres.url)
        use_index(cls.postgres.bouncer_url)

    def walk(self, parameters_of):
        """Yields the name of each list and its id. Another request writes rows at once, wherever this
        one is killed."""
        ids = {}

        def noting(name, id_):
            ids[name] = id_
            return parameters_of(name, id_)

        for name in self.each_kill(SHARED, noting):
            self.make(SHARED, "http://other/1")
            yield name, ids[name]
        self.assert_mended(SHARED)

    def test_a_rename_leaves_the_list_and_its_id(self):
        files = {}
        for name, id_ in self.walk(lambda name, id_: {"action": "saveplsname", "id": id_,
                                                      "name": f"{name} renamed"}):
            there = [file for file in (SHARED.file(name), SHARED.file(f"{name} renamed"))
                     if file.exists()]
            self.assertEqual([songs_of(file) for file in there], [OLD])
            files[id_] = there[0]
        for id_, file in files.items():
            cgi(SHARED.user, action="addsongs", playlist=id_, id_info_list=objects("http://new/1"))
            self.assertEqual(songs_of(file), [*OLD, "http://new/1"])

    def test_a_removal_leaves_the_list_or_nothing(self):
        for name, _ in self.walk(lambda _name, id_: {"action": "delete", "playlists": id_}):
            file = SHARED.file(name)
            self.assertEqual(songs_of(file) if file.exists() else OLD, OLD)


class AMachine(Editors, MachinesTest):
    MACHINES = 2

    def test_the_others_do_not_notice_that_it_dies(self):
        dying, living = self.machines
        self.server, self.examine, self.playlistctl = living.server, living.examine, living.playlistctl
        with self.editing([dying.server] * 3 + [living.server] * 3) as editors:
            self.wait_for(editors, "done", 10)
            dying.kill()
            self.wait_for(editors[3:], "done", 20)
        dying.start()
        self.assertEqual([editor.failed for editor in editors[3:]], [0] * 3)
        self.check(editors)
        self.assertTrue(dying.server.add(SHARED, "once more", ["1"]).success)


if __name__ == "__main__":
    unittest.main()
