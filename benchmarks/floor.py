"""Making and changing playlists, beside a C program that does the same look-ups and synced writes
and nothing else (floor.c): through the web server, one client, a million songs in the index."""

import os
import statistics
import time
from urllib.parse import urlencode

from download import Client
from ratio import Ratio

OPERATIONS = ("create", "append", "remove", "rename", "delete")


def answer_of(port, path, body, user):
    """Seconds until the whole answer was there; it must be a success."""
    start = time.perf_counter()
    with Client(port, path, body, user) as client:
        answer = client.read_text()
    seconds = time.perf_counter() - start
    if '"success":true' not in answer.replace(" ", ""):
        raise RuntimeError(f"{path}: {answer}")
    return seconds, answer


class Ours:
    """The life of one playlist, by the actions of the program."""

    def __init__(self, server, kind):
        self.server, self.kind = server, kind

    def ask(self, action, **parameters):
        from server import encode
        body = encode({"action": action, **parameters})
        return answer_of(self.server.port, "/audio_playlist.cgi", body, self.kind.user)

    def create(self, name, ids):
        import json
        seconds, answer = self.ask("add", name=name, type=self.kind.type, id_info_list=ids)
        self.id = json.loads(answer[answer.index("{"):answer.rindex("}") + 1])["node"]["id"]
        return seconds

    def append(self, name, ids):
        return self.ask("addsongs", playlist=self.id, id_info_list=ids[:1])[0]

    def remove(self, name, ids):
        return self.ask("removesongs", playlist=self.id, seq_list="0,2,4,6,8")[0]

    def rename(self, name, ids):
        seconds = self.ask("saveplsname", id=self.id, name=f"{name} renamed")[0]
        if not self.kind.indexed:
            self.id += " renamed"
        return seconds

    def delete(self, name, ids):
        return self.ask("delete", playlists=self.id)[0]


class Floor:
    """The same, by floor.cgi."""

    def __init__(self, server, kind):
        self.server, self.kind = server, kind

    def ask(self, operation, name, body="", new_name=None):
        from urllib.parse import quote
        names = [self.kind.file(name)] + ([self.kind.file(new_name)] if new_name else [])
        query = "&".join([operation, str(int(self.kind.indexed)), *map(str, names)])
        return answer_of(self.server.port, f"/floor.cgi?{query}", body, self.kind.user)[0]

    def create(self, name, ids):
        return self.ask("create", name, ",".join(ids))

    def append(self, name, ids):
        return self.ask("append", name, ids[0])

    def remove(self, name, ids):
        return self.ask("remove", name, "0,2,4,6,8")

    def rename(self, name, ids):
        return self.ask("rename", name, new_name=f"{name}-renamed")

    def delete(self, name, ids):
        return self.ask("delete", f"{name}-renamed")


def medians(server, kind, songs, rounds):
    """The median seconds of each operation, ours and the floor's, in turn."""
    from add import ids
    from big_index import BIG
    sides = (Ours(server, kind), Floor(server, kind))
    times = {operation: ([], []) for operation in OPERATIONS}
    for number in range(rounds):
        chosen = ids(songs, BIG, number)
        for operation in OPERATIONS:
            for side, found in zip(sides, times[operation]):
                name = f"{type(side).__name__}-{os.getpid()}-{songs}-{number}"
                found.append(getattr(side, operation)(name, chosen))
    return {operation: [statistics.median(found) for found in both]
            for operation, both in times.items()}


def measure():
    from big_index import BIG, serve, use
    from server import BIN, PREFERENCE, ROOT, SHARED

    server = serve()
    try:
        (ROOT / "www/floor.cgi").symlink_to(BIN / "floor.cgi")
        use(BIG)
        for kind in (SHARED, PREFERENCE):
            kind.folder.mkdir(parents=True, exist_ok=True)
        for kind, songs, rounds, bounds in ((PREFERENCE, 10, 101, (1.5, 1.3, 1.3, 1.2, 1.2)),
                                            (SHARED, 10, 101, (2, 1.3, 1.3, 1.2, 1.2)),
                                            (PREFERENCE, 1_000, 31, (1.5,)),
                                            (PREFERENCE, 10_000, 15, (2.5,))):
            row = " with a row" if kind.indexed else ""
            found = medians(server, kind, songs, rounds)
            for operation, bound in zip(OPERATIONS, bounds):
                yield Ratio(f"{operation}, {songs:,} songs{row} : a C program's", *found[operation],
                            bound)
    finally:
        server.stop()
