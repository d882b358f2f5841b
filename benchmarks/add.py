"""Making playlists from an index of a million songs, through the web server and synced to disk."""

import os
import random
import shutil
import socket

from ratio import Ratio, medians


def ids(count, of, seed=1):
    return [str(id_) for id_ in random.Random(seed).sample(range(1, of + 1), count)]


class MpdPlaylist:
    """Songs of MPD's library put into a stored playlist of MPD with one command list."""

    def __init__(self, songs):
        from mpd import SOCKET, Mpd
        from server import LIBRARY, SHARED, SOURCE
        SHARED.folder.mkdir(parents=True, exist_ok=True)
        (LIBRARY / "mpd").mkdir()
        self.songs = [f"mpd/{number}.mp3" for number in range(songs)]
        track = next((SOURCE / "demo/music").rglob("*.mp3"))
        first = shutil.copy(track, LIBRARY / self.songs[0])
        for song in self.songs[1:]:
            os.link(first, LIBRARY / song)
        self.mpd = Mpd()
        self.mpd.mpc("--wait", "update")
        self.client = socket.socket(socket.AF_UNIX)
        self.client.connect(str(SOCKET))
        self.answers = self.client.makefile("rb")
        self.answers.readline()
        self.made = 0

    def add(self):
        self.made += 1
        lines = [f'playlistadd "bench {self.made}" "{song}"\n' for song in self.songs]
        self.client.sendall("".join(["command_list_begin\n", *lines, "command_list_end\n"]).encode())
        answer = self.answers.readline()
        if answer != b"OK\n":
            raise RuntimeError(answer)

    def stop(self):
        self.mpd.stop()


def measure():
    from big_index import BIG, RUN, SMALL, serve, use
    from server import SHARED

    server = serve()
    mpd = MpdPlaylist(10_000)
    try:
        made = 0

        def add(songs):
            nonlocal made
            made += 1
            answer = server.add(SHARED, f"added {made} {RUN}", songs)
            if not answer.success:
                raise RuntimeError(answer)

        use(BIG)
        many, few = ids(10_000, BIG), ids(1_000, BIG)
        add(many)
        ten_thousand, thousand, of_mpd = medians(
            9, lambda: add(many), lambda: add(few), mpd.add)
        yield Ratio("add of 10,000 songs of 1,000,000 : of 1,000", ten_thousand, thousand, 12)
        yield Ratio("add of 10,000 songs : MPD's 10,000 playlistadd", ten_thousand, of_mpd, 0.4)

        def add_two(songs):
            use(songs)
            add(ids(2, songs, made))

        add_two(SMALL)
        big, small = medians(101, lambda: add_two(BIG), lambda: add_two(SMALL))
        yield Ratio("add of 2 songs of 1,000,000 : of 10,000", big, small, 1.3)
    finally:
        mpd.stop()
        server.stop()
