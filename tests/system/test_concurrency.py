"""Many requests at once: adds of one name and of many, and edits while the playlist is renamed."""

import random
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from server import KINDS, SHARED, ServerTest, examine, songs_of


def at_once(count, work):
    """The results of work(0), work(1), ..., all started together."""
    barrier = threading.Barrier(count)

    def start(number):
        barrier.wait()
        return work(number)

    with ThreadPoolExecutor(count) as pool:
        return list(pool.map(start, range(count)))


class Adds(ServerTest):
    def test_64_adds_of_distinct_names(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                answers = at_once(64, lambda n, k=kind: self.server.add(k, f"many {n}", [str(n % 12 + 1)]))
                self.assertEqual([answer.success for answer in answers], [True] * 64)
                self.assertEqual(len({answer.id for answer in answers}), 64)
                for number in range(64):
                    self.assertEqual(len(songs_of(kind.file(f"many {number}"))), 1)
        self.assertEqual(examine(), "")

    def test_64_adds_of_one_name(self):
        ids = ["1", "2", "3", "4"]
        for kind in KINDS:
            with self.subTest(kind.name):
                answers = at_once(64, lambda n, k=kind: self.server.add(k, "one", ids))
                self.assertEqual(sum(1 for answer in answers if answer.success), 1, answers)
                errors = {answer.error for answer in answers if not answer.success}
                self.assertEqual(errors, {"playlist/playlist_name_exist"})
                self.assertEqual(len(songs_of(kind.file("one"))), 4)
        self.assertEqual(examine(), "")


class Appends(ServerTest):
    APPENDS, RENAMES = 150, 25

    def test_all_that_race_renames_succeed_once(self):
        id_ = self.server.add(SHARED, "name 0", []).id
        left = iter(range(1, self.RENAMES + 1))
        turn = threading.Lock()

        def work(number):
            if number % 7 == 0:
                with turn:
                    name = next(left, None)
                    if name is not None:
                        return self.server.ask("saveplsname", id=id_, name=f"name {name}")
            return self.server.ask("addsongs", playlist=id_,
                                   id_info_list=[{"res": f"http://song/{number}"}])

        answers = at_once(self.APPENDS + self.RENAMES, work)
        self.assertEqual({answer.body for answer in answers if not answer.success}, set())
        songs = songs_of(SHARED.file(f"name {self.RENAMES}"))
        self.assertEqual(len(songs), self.APPENDS)
        self.assertEqual(len(set(songs)), self.APPENDS)
        self.assertEqual(examine(), "")


class Storm:
    """Fifty clients that edit one playlist, while others rename it and read it.

    The playlist begins with many songs, "front", which are removed and replaced; behind them each
    append puts a group, "back", that nothing ever removes.
    """

    CLIENTS, EDITS, FRONT, GROUP = 50, 2000, 2500, 2
    NAMES = ("storm", "storm, renamed")
    PAUSE = 0.2  # between two renames

    def __init__(self, server, kind):
        self.server, self.kind = server, kind
        self.problems, self.stopped = [], threading.Event()
        self.names = [kind.file(name) for name in self.NAMES]
        front = [{"res": f"http://front/{n}"} for n in range(self.FRONT)]
        answer = server.add(kind, self.NAMES[0], front)
        assert answer.success, answer
        self.id = answer.id
        self.appended, self.unsure = [], []
        self.taken = self.unsure_taken = self.renames = self.reads = 0
        self.lock = threading.Lock()

    def node_id(self):
        """The playlist's id now; in the preference folder that is its name."""
        if self.kind.indexed:
            return self.id
        name = self.NAMES[1] if self.names[1].exists() else self.NAMES[0]
        return "musiclib_music_personal/playlist/" + name

    def ask(self, action, **parameters):
        return self.server.ask(action, self.kind.user, playlist=self.node_id(), **parameters).success

    def append(self, label):
        songs = [f"http://back/{label}/{n}" for n in range(self.GROUP)]
        done = self.ask("addsongs", id_info_list=[{"res": song} for song in songs])
        with self.lock:
            (self.appended if done else self.unsure).append(songs)
        return done

    def count_taken(self, done, number):
        with self.lock:
            if done:
                self.taken += number
            else:
                self.unsure_taken += number
        return done

    def remove(self, _label):
        return self.count_taken(self.ask("removesongs", seq_list="0"), 1)

    def splice(self, label):
        song = [{"res": f"http://front/spliced/{label}"}]
        return self.count_taken(self.ask("update", id_info_list=song, start="0", limit="2"), 1)

    def client(self, number):
        generator = random.Random(number)
        for edit in range(self.EDITS // self.CLIENTS):
            work = generator.choice((self.append, self.append, self.remove, self.splice))
            for attempt in range(50):
                if work(f"{number}/{edit}/{attempt}"):
                    break
            else:
                self.problems.append(f"an edit of client {number} never succeeded")

    def rename(self):
        old, new = 0, 1
        # Where the name is the id, a rename makes the requests that are under way fail.
        while not self.stopped.wait(self.PAUSE if self.kind.indexed else 1):
            answer = self.server.ask("saveplsname", self.kind.user, id=self.node_id(),
                                     name=self.NAMES[new])
            if answer.success and "name" in answer.json:
                self.renames += 1
                old, new = new, old
                if self.names[new].exists():
                    self.problems.append("the old name came back")

    def read(self):
        seen = set()
        while not self.stopped.wait(0.05):
            for name in self.names:
                try:
                    text = name.read_text()
                except FileNotFoundError:
                    continue
                self.reads += 1
                now = {line for line in text.splitlines() if line.startswith("http://back/")}
                if not text.endswith("\n") or len(now) % self.GROUP:
                    self.problems.append(f"a torn list: {text[-80:]!r}")
                if seen - now:
                    self.problems.append(f"songs vanished: {sorted(seen - now)[:5]}")
                seen = now

    def run(self):
        others = [threading.Thread(target=work) for work in (self.rename, self.read, self.read)]
        for thread in others:
            thread.start()
        try:
            with ThreadPoolExecutor(self.CLIENTS) as pool:
                list(pool.map(self.client, range(self.CLIENTS)))
        finally:
            self.stopped.set()
            for thread in others:
                thread.join()

    def songs(self):
        there = [name for name in self.names if name.exists()]
        if len(there) != 1:
            self.problems.append(f"not one file: {there}")
        return songs_of(there[0])


class Storms:
    def weather(self, storm):
        storm.run()
        songs = storm.songs()
        self.assertEqual(storm.problems, [])
        back = [song for song in songs if song.startswith("http://back/")]
        self.assertEqual(len(set(back)), len(back))
        position = {song: at for at, song in enumerate(back)}
        for group in storm.appended:
            self.assertTrue(all(song in position for song in group), f"lost: {group}")
        known = {song for group in storm.appended + storm.unsure for song in group}
        self.assertEqual(set(back) - known, set())
        for group in storm.appended + [group for group in storm.unsure if group[0] in position]:
            at = position[group[0]]
            self.assertEqual(back[at:at + storm.GROUP], group)
        front = len(songs) - len(back)
        self.assertLessEqual(front, storm.FRONT - storm.taken)
        self.assertGreaterEqual(front, storm.FRONT - storm.taken - storm.unsure_taken)
        self.assertGreater(min(storm.renames, storm.reads), 2)


class Edits(Storms, ServerTest):
    def test_nothing_appended_is_lost(self):
        for kind in KINDS:
            with self.subTest(kind.name):
                self.weather(Storm(self.server, kind))


if __name__ == "__main__":
    unittest.main()
