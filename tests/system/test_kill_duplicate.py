"""kill -9 in copying a playlist."""

import unittest

import faults
from killed import OLD, KillTest, kill_points
from server import ANNA, BEN, LONG, PERSONAL, PREFERENCE, SHARED, cgi, objects, songs_of


class Duplicate(KillTest):
    def test_a_copy_is_absent_empty_or_complete_and_its_source_whole(self):
        pairs = [(SHARED, PREFERENCE), (PREFERENCE, SHARED)]
        if LONG:
            pairs += [(SHARED, PERSONAL), (PERSONAL, SHARED)]
        for source, target in pairs:
            user = BEN if PREFERENCE in (source, target) else ANNA
            for name in self.each_copy(source, user):
                file = target.file(name)
                self.assertIn(songs_of(file) if file.exists() else [], ([], OLD))
                self.assertEqual(songs_of(source.file(name)), OLD)
            self.assert_mended(SHARED, PREFERENCE)

    def test_a_copy_over_a_list_leaves_it_or_the_copy(self):
        there = ["http://there/1"]

        def put(name):
            cgi(BEN, action="add", name=name, type=PREFERENCE.type, id_info_list=objects(*there))

        found = []
        for name in self.each_copy(SHARED, BEN, put, overwrite="true"):
            found.append(songs_of(PREFERENCE.file(name)))
            self.assertIn(found[-1], (there, OLD))
        self.assertTrue(there in found and OLD in found)
        self.assert_mended(SHARED, PREFERENCE)

    def each_copy(self, source, user, prepare=lambda name: None, **parameters):
        name, id_ = self.make(source, *OLD)
        prepare(name)
        counts = faults.system_calls(user, action="duplicate", id=id_, **parameters)
        for call, number in kill_points(counts):
            name, id_ = self.make(source, *OLD)
            prepare(name)
            cgi(user, faults.killed_at(call, number), action="duplicate", id=id_, **parameters)
            with self.subTest(f"{source.name}, {call} {number}"):
                yield name


if __name__ == "__main__":
    unittest.main()
