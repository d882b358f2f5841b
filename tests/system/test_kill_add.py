"""kill -9 in adding a playlist, and in writing one anew."""

import unittest

from killed import OLD, WALKED, KillTest
from server import cgi, objects, songs_of


class Add(KillTest):
    def test_the_file_is_absent_empty_or_complete(self):
        new = ["http://new/1", "http://new/2"]
        for kind in WALKED:
            wanted = {}

            def parameters(_name, _id, kind=kind, wanted=wanted):
                wanted["name"] = f"added {next(self.numbers)}"
                return {"action": "add", "name": wanted["name"], "type": kind.type,
                        "id_info_list": objects(*new)}

            names = []
            for _ in self.each_kill(kind, parameters, []):
                file = kind.file(wanted["name"])
                self.assertIn(songs_of(file) if file.exists() else [], ([], new))
                names.append(wanted["name"])
            self.assert_mended(kind)
            self.assert_usable(kind, names)

    def assert_usable(self, kind, names):
        """Each file that is there can be written anew, which takes its row."""
        there = [name for name in names if kind.file(name).exists()]
        self.assertGreater(len(there), 5)
        for name in there:
            _, answer = cgi(kind.user, action="add", name=name, type=kind.type, overwrite="true",
                            id_info_list=objects("http://other/1"))
            self.assertTrue(answer.success, name)


class Overwrite(KillTest):
    def test_an_overwrite_leaves_the_old_list_or_the_new_one(self):
        new = ["http://new/1"]
        for kind in WALKED:
            for name in self.each_kill(kind, lambda name, _, k=kind: {
                    "action": "add", "name": name, "type": k.type, "overwrite": "true",
                    "id_info_list": objects(*new)}):
                self.assertIn(songs_of(kind.file(name)), (OLD, new))
            self.assert_mended(kind)


if __name__ == "__main__":
    unittest.main()
