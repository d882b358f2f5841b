"""Three machines on one collection."""

import unittest

from api import Api
from machines import MachinesTest
from server import SHARED, songs_of


class Machines(MachinesTest):
    def test_what_one_writes_all_have(self):
        first, second, third = [machine.server for machine in self.machines]
        made = first.add(SHARED, "one for all", [{"res": "http://a/1"}])
        self.assertTrue(made.success, made)
        added = second.ask("addsongs", playlist=made.id, id_info_list=[{"res": "http://a/2"}])
        self.assertTrue(added.success, added)
        self.assertEqual(songs_of(SHARED.file("one for all")), ["http://a/1", "http://a/2"])
        self.assertEqual(Api(third).get(f"/playlists/{made.id}").json["total"], 2)
        self.assertEqual([machine.examine() for machine in self.machines], [""] * 3)


if __name__ == "__main__":
    unittest.main()
