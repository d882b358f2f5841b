"""The scanner and the doctor work beside the requests: neither harms the other."""

import shutil
import stat
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from server import (ANNA, KINDS, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest, examine,
                    playlistctl, songs_of)

KINDS_WITH_ROWS = (SHARED, PERSONAL)


class Upkeep(ServerTest):
    CLIENTS, ROUNDS = 3, 12

    def setUp(self):
        self.stopped = threading.Event()

    def keep(self, *command):
        """Runs a command over and over until all is done; how often."""
        runs = 0
        while not self.stopped.is_set():
            playlistctl(*command)
            runs += 1
        return runs

    def live(self, client):
        """Playlists come, change, get other names, and half of them go. Gives those that stay."""
        stay = []
        for number in range(self.ROUNDS):
            kind = KINDS_WITH_ROWS[number % 2]
            name = f"{client} {number}"
            answer = self.server.add(kind, name, [{"res": "http://a/1"}])
            self.assertTrue(answer.success, answer)
            for step in ("x", "y", "z"):
                name = f"{client} {number} {step}"
                self.ask(kind, "saveplsname", id=answer.id, name=name)
                self.ask(kind, "addsongs", playlist=answer.id,
                         id_info_list=[{"res": f"http://a/{step}"}])
            if number % 4 < 2:
                self.ask(kind, "delete", playlists=answer.id)
            else:
                stay.append((kind, name, answer.id))
        return stay

    def ask(self, kind, action, **parameters):
        answer = self.server.ask(action, kind.user, **parameters)
        self.assertTrue(answer.success, (action, parameters, answer))

    def test_requests_are_not_harmed_by_the_scanner_and_the_doctor(self):
        with ThreadPoolExecutor(self.CLIENTS + 2) as pool:
            upkeep = [pool.submit(self.keep, "scan"), pool.submit(self.keep, "doctor", "--repair")]
            clients = [pool.submit(self.live, client) for client in range(self.CLIENTS)]
            try:
                stay = [playlist for client in clients for playlist in client.result()]
            finally:
                self.stopped.set()
            self.assertGreater(min(runs.result() for runs in upkeep), 0)
        for kind, name, id_ in stay:
            self.assertEqual(songs_of(kind.file(name)),
                             ["http://a/1", "http://a/x", "http://a/y", "http://a/z"])
            self.ask(kind, "saveplsname", id=id_, name=name + " at last")
            self.assertTrue(kind.file(name + " at last").exists(), "the id has stayed")
        for kind in KINDS_WITH_ROWS:
            self.assertEqual(len(list(kind.folder.iterdir())), len(stay) // 2)
        self.assertEqual(examine(), "")


class Identity(ServerTest):
    """Each way to write a list leaves a row that finds its file again, whatever its name."""

    OLD, NEW = [{"res": "http://a/1"}, {"res": f"{LIBRARY}/gone.mp3"}], [{"res": "http://a/2"}]

    def ways(self, kind):
        """Yields what wrote a list, the list's name, and its id."""
        def made(what, **parameters):
            name = f"{what} of {kind.name}"
            answer = self.server.add(kind, name, self.OLD, **parameters)
            self.assertTrue(answer.success, answer)
            return what, name, answer.id

        yield made("add")
        made("overwrite")
        yield made("overwrite", overwrite="true")
        edits = {"addsongs": {"id_info_list": self.NEW}, "removesongs": {"seq_list": "0"},
                 "update": {"id_info_list": self.NEW, "start": "0", "limit": "1"}}
        for action, parameters in edits.items():
            what, name, id_ = made(action)
            self.ask(kind, action, playlist=id_, **parameters)
            yield what, name, id_
        what, name, id_ = made("remove_missing")
        self.ask(kind, "remove_missing", playlist_id=id_)
        yield what, name, id_
        what, name, id_ = made("saveplsname")
        self.ask(kind, "saveplsname", id=id_, name=name + " 2")
        yield what, name + " 2", id_
        yield from self.copies(kind, made)
        answer = self.server.ask("addsearch", kind.user, name="found", type=kind.type,
                                 category="title", keyword="")
        yield "addsearch", "found", answer.id

    def copies(self, kind, made):
        """A copy, and one over a list that is there. A copy comes into the other library."""
        other = PERSONAL if kind is SHARED else SHARED
        for what in ("copy", "overwriting copy"):
            name = f"{what} of {kind.name}"
            source = self.server.add(other, name, self.OLD)
            if what != "copy":
                made(what)
            answer = self.server.ask("duplicate", other.user, id=source.id,
                                     overwrite="true" if what != "copy" else "false")
            self.assertTrue(answer.success, answer)
            yield what, name, answer.id

    def ask(self, kind, action, **parameters):
        answer = self.server.ask(action, kind.user, **parameters)
        self.assertTrue(answer.success, (action, parameters, answer))

    def test_a_list_that_is_renamed_by_hand_keeps_its_id(self):
        for kind, command in ((SHARED, ("scan",)), (PERSONAL, ("doctor", "--repair"))):
            lists = list(self.ways(kind))
            self.assertEqual(playlistctl("doctor"), "all is well\n")
            for _, name, _ in lists:
                kind.file(name).rename(kind.folder / f"by hand, {name}.m3u")
            playlistctl(*command)
            for what, name, id_ in lists:
                with self.subTest(what=what, kind=kind.name):
                    self.ask(kind, "addsongs", playlist=id_, id_info_list=[{"res": "http://new/"}])
                    self.assertEqual(songs_of(kind.folder / f"by hand, {name}.m3u")[-1],
                                     "http://new/")
            self.assertEqual(playlistctl("doctor"), "all is well\n")


class Modes(ServerTest):
    """A program that makes a playlists folder does so with a umask of 0, which it keeps."""

    def test_nothing_is_made_that_everybody_may_write(self):
        for kind in KINDS:
            shutil.rmtree(kind.folder, ignore_errors=True)
            answer = self.server.add(kind, "list", [{"res": "http://a/1"}])
            self.assertTrue(answer.success, answer)
            self.assertTrue(self.server.ask("addsongs", kind.user, playlist=answer.id,
                                            id_info_list=[{"res": "http://a/2"}]).success)
            self.assertEqual(stat.S_IMODE(kind.folder.stat().st_mode), 0o777)
        playlistctl("account", "passwd", ANNA)
        self.assert_no_file_is_for_everybody_to_write()

    def test_the_rules_of_smart_playlists_are_not_for_everybody_to_write(self):
        shutil.rmtree(PREFERENCE.folder, ignore_errors=True)
        self.server.ask("duplicate", PREFERENCE.user, id="musiclib_music_shared/smart/All")
        self.assertTrue((PREFERENCE.folder / "smart.playlist").exists())
        self.assert_no_file_is_for_everybody_to_write()

    def assert_no_file_is_for_everybody_to_write(self):
        made_with_every_permission = {kind.folder for kind in KINDS}
        for path in {ROOT, *ROOT.rglob("*")} - made_with_every_permission:
            if not path.is_symlink():
                mode = path.stat().st_mode
                self.assertFalse(mode & stat.S_IWOTH, f"{path} {mode:o}")


if __name__ == "__main__":
    unittest.main()
