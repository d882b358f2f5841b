"""kill -9 in each edit of a playlist."""

import unittest

from killed import OLD, WALKED, KillTest
from server import objects, songs_of

# action, its parameters for a playlist's id, the songs afterwards.
EDITS = [
    ("addsongs", lambda id_: {"playlist": id_, "id_info_list": objects("http://new/1")},
     [*OLD, "http://new/1"]),
    ("update", lambda id_: {"playlist": id_, "id_info_list": objects("http://new/1"), "start": "0",
                            "limit": "2"}, ["http://new/1", OLD[2]]),
    ("removesongs", lambda id_: {"playlist": id_, "seq_list": "1"}, [OLD[0], OLD[2]]),
    ("remove_missing", lambda id_: {"playlist_id": id_}, [OLD[0], OLD[2]]),
]


class Edit(KillTest):
    def test_an_edit_leaves_the_old_list_or_the_new_one(self):
        for kind in WALKED:
            for action, parameters, new in EDITS:
                found = []
                for name in self.each_kill(kind, lambda _, id_, a=action, p=parameters:
                                           {"action": a, **p(id_)}):
                    found.append(songs_of(kind.file(name)))
                    self.assertIn(found[-1], (OLD, new))
                self.assertTrue(OLD in found and new in found, action)
            self.assert_mended(kind)


if __name__ == "__main__":
    unittest.main()
