"""kill -9 at each system call of each action that writes.

What is there afterwards is the old state or the new one; the doctor tells what was left half done,
and mends it.
"""

import itertools
import signal
import unittest

import faults
from server import ANNA, BEN, KINDS, LIBRARY, LONG, PERSONAL, PREFERENCE, SHARED, RootTest, cgi
from server import examine, playlistctl, songs_of

# One of them is a file that is not there.
OLD = ["http://old/1", f"{LIBRARY}/gone.mp3", "http://old/3"]


def objects(*songs):
    return [{"res": song} for song in songs]


# action, its parameters for a playlist's id, the songs afterwards.
EDITS = [
    ("addsongs", lambda id_: {"playlist": id_, "id_info_list": objects("http://new/1")},
     [*OLD, "http://new/1"]),
    ("update", lambda id_: {"playlist": id_, "id_info_list": objects("http://new/1"), "start": "0",
                            "limit": "2"}, ["http://new/1", OLD[2]]),
    ("removesongs", lambda id_: {"playlist": id_, "seq_list": "1"}, [OLD[0], OLD[2]]),
    ("remove_missing", lambda id_: {"playlist_id": id_}, [OLD[0], OLD[2]]),
]
# The personal library takes the same road as the shared one, with another owner.
WALKED = KINDS if LONG else (SHARED, PREFERENCE)


class KillTest(RootTest):
    numbers = itertools.count()

    def make(self, kind, *songs):
        """A new playlist: its name and its id."""
        name = f"playlist {next(self.numbers)}"
        _, answer = cgi(kind.user, action="add", name=name, type=kind.type,
                        id_info_list=objects(*songs))
        return name, answer.id

    def each_kill(self, kind, parameters_of, songs=OLD):
        """Kills the request parameters_of(name, id), on another playlist each time, at each system
        call. Yields the playlist's name, after the kill."""
        user = kind.user
        counts = faults.system_calls(user, **parameters_of(*self.make(kind, *songs)))
        self.assertGreater(sum(counts.values()), 20)
        kills = 0
        for call, number in faults.steps(counts):
            name, id_ = self.make(kind, *songs)
            status, _ = cgi(user, faults.killed_at(call, number), **parameters_of(name, id_))
            kills += status in (-signal.SIGKILL, 128 + signal.SIGKILL)
            with self.subTest(f"{kind.name}, {call} {number}"):
                yield name
        self.assertGreater(kills, 20)

    def assert_mended(self, *kinds):
        """The doctor mends everything, and leaves nothing but playlists."""
        playlistctl("doctor", "--repair")
        self.assertEqual(examine(), "")
        for kind in kinds:
            left = [path.name for path in kind.folder.iterdir() if path.suffix != ".m3u"]
            self.assertEqual(left, [])


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

    def test_an_overwrite_leaves_the_old_list_or_the_new_one(self):
        new = ["http://new/1"]
        for kind in WALKED:
            for name in self.each_kill(kind, lambda name, _, k=kind: {
                    "action": "add", "name": name, "type": k.type, "overwrite": "true",
                    "id_info_list": objects(*new)}):
                self.assertIn(songs_of(kind.file(name)), (OLD, new))
            self.assert_mended(kind)


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
        for call, number in faults.steps(counts):
            name, id_ = self.make(source, *OLD)
            prepare(name)
            cgi(user, faults.killed_at(call, number), action="duplicate", id=id_, **parameters)
            with self.subTest(f"{source.name}, {call} {number}"):
                yield name


if __name__ == "__main__":
    unittest.main()
