"""kill -9 in renaming and in deleting a playlist."""

import unittest

from killed import OLD, WALKED, KillTest
from server import cgi, objects, songs_of


class Rename(KillTest):
    def test_a_rename_leaves_the_list_under_one_of_its_names(self):
        for kind in WALKED:
            ids, files = {}, {}

            def parameters(name, id_, ids=ids):
                ids[name] = id_
                return {"action": "saveplsname", "id": id_, "name": name + " renamed"}

            for name in self.each_kill(kind, parameters):
                there = [file for file in (kind.file(name), kind.file(name + " renamed"))
                         if file.exists()]
                self.assertEqual([songs_of(file) for file in there], [OLD])
                files[name] = there[0]
            self.assert_mended(kind)
            if kind.indexed:
                self.assert_ids_stayed(kind, {file: ids[name] for name, file in files.items()})

    def assert_ids_stayed(self, kind, ids):
        for file, id_ in ids.items():
            cgi(kind.user, action="addsongs", playlist=id_, id_info_list=objects("http://new/1"))
            self.assertEqual(songs_of(file), [*OLD, "http://new/1"])


class Delete(KillTest):
    def test_a_delete_leaves_the_list_or_nothing(self):
        for kind in WALKED:
            for name in self.each_kill(kind, lambda _, id_: {"action": "delete", "playlists": id_}):
                file = kind.file(name)
                self.assertEqual(songs_of(file) if file.exists() else OLD, OLD)
            self.assert_mended(kind)


if __name__ == "__main__":
    unittest.main()
