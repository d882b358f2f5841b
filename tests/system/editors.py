"""Clients that edit while something happens to the index."""

import contextlib
import http.client
import itertools
import threading

from api import Api
from server import ANNA, SHARED, examine, objects, playlistctl, songs_of, use_index, wait_until


# What the doctor finds of requests that could not end what they did.
HALF_DONE = ("has no row$|does not tell its file's size, time or identity$|has no file: |"
             "was renamed, its row has the path |a writer that is gone has left ")


class Editor(threading.Thread):
    """A client that edits, one after the other, whatever becomes of it: a list of its own, which it
    renames as well, one that it always writes anew, one that all append to, and lists that it removes.
    And it plays `song`, which no other client does."""

    def __init__(self, server, number, common, song, first_song):
        super().__init__()
        self.first_song = first_song
        self.server, self.number, self.common, self.song = server, number, common, song
        self.stopped = threading.Event()
        self.done = self.failed = 0
        self.problems, self.may_be_lost = [], False
        self.appended, self.unsure = {}, {}  # songs by the list's id
        self.own = self.add(f"own {number}", f"http://first/{number}")
        self.names = {f"own {number}"}
        self.add(f"anew {number}", "http://version/0")
        self.gone = []  # names of lists
        self.plays_before, self.plays, self.unsure_plays = self.count_plays(server), 0, 0
        self.versions = []  # any of which may be there
        self.write_anew(0)

    def add(self, name, *songs):
        answer = self.server.add(SHARED, name, objects(*songs))
        assert answer.success, answer
        self.appended[answer.id] = list(songs)
        return answer.id

    def count_plays(self, server):
        return Api(server).get(f"/songs/{self.song}/mark").json["play_count"]

    def reach(self, request):
        """The answer. A server that is gone ends this client, and gives none."""
        try:
            return request()
        except (OSError, http.client.HTTPException):
            return self.stopped.set()

    def act(self, action, **parameters):
        """The answer of an action that is done; else nothing."""
        answer = self.reach(lambda: self.server.ask(action, ANNA, **parameters))
        if answer is None:
            return None
        self.count(bool(answer.success))
        # A rename whose row cannot be written is undone, and says nothing.
        if not answer.success and answer.json and answer.error != "common/error_system":
            self.problems.append(f"{action}: {answer}")
        return answer if answer.success else None

    def ask(self, action, **parameters):
        """Whether it is done."""
        return self.act(action, **parameters) is not None

    def count(self, is_done):
        self.done += is_done
        self.failed += not is_done

    def append(self, list_, edit):
        song = f"http://song/{self.number}/{edit}"
        done = self.ask("addsongs", playlist=list_, id_info_list=objects(song))
        (self.appended if done else self.unsure).setdefault(list_, []).append(song)

    def rename(self, edit):
        name = f"own {self.number} {edit}"
        self.names.add(name)
        # When the server ends as it writes the row, nobody may be able to tell which name the list has:
        # it cannot be found by its id then, until a scan or the doctor looks at its file.
        self.may_be_lost |= not self.ask("saveplsname", id=self.own, name=name)

    def write_anew(self, edit):
        # Its song comes from the index, and what cannot be read must not be written.
        songs = [f"http://version/{edit}", self.first_song]
        if self.ask("add", name=f"anew {self.number}", type="shared", overwrite="true",
                    id_info_list=[*objects(songs[0]), "1"]):
            self.versions = [songs]
        else:
            self.versions.append(songs)

    def come_and_go(self, edit):
        name = f"brief {self.number} {edit}"
        made = self.act("add", name=name, type="shared", id_info_list=objects("http://brief"))
        if made and self.ask("delete", playlists=made.id):
            self.gone.append(name)

    def play(self, _edit):
        answer = self.reach(lambda: Api(self.server).post(f"/songs/{self.song}/mark", {"played": True}))
        done = answer is not None and answer.status == 200
        self.plays += done
        self.unsure_plays += not done
        self.count(done)

    def read(self, _edit):
        answer = self.reach(lambda: Api(self.server).get(f"/playlists/{self.own}"))
        if answer is None:
            return
        self.count(answer.status == 200)
        if answer.status == 200:
            there = answer.json["total"]
            if there < len(self.appended[self.own]):
                self.problems.append(f"a list of {there}, not {len(self.appended[self.own])}")
        elif answer.status != 500 and not (answer.status == 404 and self.may_be_lost):
            self.problems.append(f"reading: {answer}")

    def run(self):
        for edit in itertools.count(1):
            if self.stopped.is_set():
                return
            (lambda n: self.append(self.own, n), self.rename, self.write_anew, self.read,
             lambda n: self.append(self.common, n), self.come_and_go, self.play)[edit % 7](edit)


class Editors:
    """A test's clients."""

    EDITORS = 6
    examine, playlistctl = staticmethod(examine), staticmethod(playlistctl)

    def weather(self, url, *faults):
        """Edits go on while each of the faults, a function that ends something and one that brings it
        back, happens to them."""
        use_index(url)
        with self.editing([self.server] * self.EDITORS) as editors:
            for end, bring_back in faults:
                self.wait_for(editors, "done", 10)
                end()
                self.wait_for(editors, "failed", 1)
                bring_back()
            self.wait_for(editors, "done", 10)
        self.check(editors)

    @contextlib.contextmanager
    def editing(self, servers):
        """Clients of these servers, until the end of the block."""
        common = self.server.add(SHARED, f"common {self._testMethodName}", [])
        self.assertTrue(common.success, common)
        first_song = self.first_song()
        editors = [Editor(server, f"{self._testMethodName} {n}", common.id, n + 1, first_song)
                   for n, server in enumerate(servers)]
        for editor in editors:
            editor.start()
        try:
            yield editors
        finally:
            for editor in editors:
                editor.stopped.set()
            for editor in editors:
                editor.join()

    def first_song(self):
        """The path of the song with the id 1."""
        name = f"of an id {self._testMethodName}"
        self.server.add(SHARED, name, ["1"])
        return songs_of(SHARED.file(name))[0]

    def wait_for(self, editors, count, more):
        """Until each of them has counted so many more."""
        wanted = [getattr(editor, count) + more for editor in editors]
        wait_until(lambda: all(getattr(editor, count) >= number
                               for editor, number in zip(editors, wanted)), f"{more} {count}", 60)

    def check(self, editors):
        self.assertEqual([problem for editor in editors for problem in editor.problems], [])
        for finding in self.examine().splitlines():
            self.assertRegex(finding, HALF_DONE)
        self.playlistctl("doctor", "--repair")
        self.assertEqual(self.examine(), "")
        in_common = songs_of(SHARED.file(f"common {self._testMethodName}"))
        self.assertEqual(len(set(in_common)), len(in_common))
        for editor in editors:
            names = [name for name in editor.names if SHARED.file(name).exists()]
            self.assertEqual(len(names), 1)
            self.check_songs(songs_of(SHARED.file(names[0])), editor, editor.own)
            mine = [song for song in in_common if f"/{editor.number}/" in song]
            self.check_songs(mine, editor, editor.common)
            self.assertIn(songs_of(SHARED.file(f"anew {editor.number}")), editor.versions)
            self.assertEqual([name for name in editor.gone if SHARED.file(name).exists()], [])
            plays = editor.count_plays(self.server) - editor.plays_before
            self.assertIn(plays, range(editor.plays, editor.plays + editor.unsure_plays + 1))
            answer = self.server.ask("addsongs", playlist=editor.own, id_info_list=objects("http://z"))
            self.assertTrue(answer.success, answer)
            self.assertEqual(songs_of(SHARED.file(names[0]))[-1], "http://z")

    def check_songs(self, there, editor, list_):
        told = editor.appended.get(list_, [])
        self.assertEqual([song for song in there if song in told], told)
        self.assertEqual(set(there) - set(told) - set(editor.unsure.get(list_, [])), set())
