"""Clients that edit playlists in every way, by several servers of one collection, and know what has to
come of it."""

import random
from concurrent.futures import ThreadPoolExecutor

from api import Api
from server import ANNA, PERSONAL, SHARED, encode, songs_of

FORM = {"Content-Type": "application/x-www-form-urlencoded"}
SONG_IDS = range(1, 13)


def streams(*addresses):
    return [{"res": address} for address in addresses]


class Hot:
    """What all clients edit at the same time: a list that each appends to, one that each appends to if it
    is as it was seen, and the counts of plays."""

    def __init__(self, server):
        self.appended, self.counted, self.played = [], [], []
        self.id = server.add(SHARED, "hot", []).id
        self.versioned = server.add(SHARED, "versioned", []).id

    def problems(self, server):
        if sorted(songs_of(SHARED.file("hot"))) != sorted(self.appended):
            yield "not the songs that were appended"
        if sorted(songs_of(SHARED.file("versioned"))) != sorted(self.counted):
            yield "not the songs of those who had the last version"
        marks = Api(server).get("/marks", songs=",".join(map(str, SONG_IDS))).json["items"]
        counts = {mark["song"]: mark["play_count"] for mark in marks}
        if counts != {song: self.played.count(song) for song in set(self.played)}:
            yield f"not what was played: {counts}"


class Editor:
    """A client, which asks another of the servers each time. It has a list of its own at a time, and
    `left`: what has to be in each file that it leaves behind; `gone`: files that must not be there."""

    def __init__(self, number, servers, hot):
        self.random = random.Random(number)
        self.number, self.servers, self.hot = number, servers, hot
        self.left, self.gone = {}, set()
        self.edits = 0
        self.name = self.id = self.version = None
        self.songs = []

    def ask(self, action, version=None, **parameters):
        headers = {**FORM, **({"If-Match": version} if version else {})}
        return self.random.choice(self.servers).send(
            ANNA, body=encode({"action": action, **parameters}), headers=headers)

    def change(self, action, **parameters):
        """An edit of the own list, which has the version that the last one answered, on whatever machine
        that was."""
        answer = self.ask(action, self.version, **parameters)
        assert answer.success, f"{self.name}: {action} {parameters}: {answer}"
        self.version = answer.headers["ETag"]

    def new_address(self):
        return f"http://{self.number}/{self.edits}"

    def make(self):
        self.name = f"list {self.number} {self.edits}"
        self.songs = [f"{self.new_address()}/{n}" for n in range(3)]
        answer = self.ask("add", type="shared", name=self.name, id_info_list=streams(*self.songs))
        assert answer.success, answer
        self.id, self.version = answer.id, answer.headers["ETag"]

    def append(self):
        self.change("addsongs", playlist=self.id, id_info_list=streams(self.new_address()))
        self.songs.append(self.new_address())

    def reorder(self):
        self.songs[:2] = reversed(self.songs[:2])
        self.change("update", playlist=self.id, start=0, limit=len(self.songs[:2]),
                    id_info_list=streams(*self.songs[:2]))

    def remove(self):
        at = self.random.randrange(len(self.songs))
        self.change("removesongs", playlist=self.id, seq_list=str(at))
        del self.songs[at]

    def rename(self):
        self.gone.add(SHARED.file(self.name))
        self.name = f"name {self.number} {self.edits}"
        self.change("saveplsname", id=self.id, name=self.name)

    def duplicate(self):
        copy = PERSONAL.file(self.name)
        answer = self.ask("duplicate", id=self.id, overwrite=str(copy in self.left).lower())
        assert answer.success, answer
        self.left[copy] = list(self.songs)

    def delete(self):
        assert self.ask("delete", self.version, playlists=self.id).success
        self.gone.add(SHARED.file(self.name))
        self.name = None

    def leave(self):
        self.left[SHARED.file(self.name)] = self.songs
        self.make()

    def append_hot(self):
        answer = self.ask("addsongs", playlist=self.hot.id, id_info_list=streams(self.new_address()))
        assert answer.success, answer
        self.hot.appended.append(self.new_address())

    def append_if_as_seen(self):
        seen = Api(self.random.choice(self.servers)).get(f"/playlists/{self.hot.versioned}")
        answer = self.ask("addsongs", seen.headers["ETag"], playlist=self.hot.versioned,
                          id_info_list=streams(self.new_address()))
        assert answer.success or answer.status == 412, answer
        if answer.success:
            self.hot.counted.append(self.new_address())

    def play(self):
        song = self.random.choice(SONG_IDS)
        answer = Api(self.random.choice(self.servers)).post(f"/songs/{song}/mark", {"played": True})
        assert answer.status == 200, answer
        self.hot.played.append(song)

    def edit(self):
        self.edits += 1
        anywhere = [self.append_hot, self.append_if_as_seen, self.play]
        own = [self.append, self.append, self.reorder, self.rename, self.duplicate, self.delete,
               self.leave]
        own += [self.remove] * (len(self.songs) > 1)
        self.random.choice(anywhere + (own if self.name else [self.make] * 3))()

    def problems(self):
        if self.name:
            self.left[SHARED.file(self.name)] = self.songs
        for file, songs in self.left.items():
            if not file.exists() or songs_of(file) != songs:
                yield f"{file}: not {songs}"
        yield from (f"{file} came back" for file in self.gone - set(self.left) if file.exists())


def edit_all_at_once(servers, clients, edits):
    """So many clients do so many edits, spread over the servers. Gives what is wrong at the end."""
    hot = Hot(servers[0])
    editors = [Editor(number, servers, hot) for number in range(clients)]
    with ThreadPoolExecutor(clients) as pool:
        list(pool.map(lambda editor: [editor.edit() for _ in range(edits // clients)], editors))
    found = [problem for editor in editors for problem in editor.problems()]
    return found + [problem for server in servers for problem in hot.problems(server)], hot
