"""Playlists by /api, beside a C program that does the same look-ups and nothing else (lists_floor.c):
through the web server, one client."""

import json
import sqlite3
import time

from library import fetch
from ratio import Ratio, medians

ROUNDS = 101
ENTRIES, LISTS = 10_000, 1_000


def paths(count):
    """Songs from all over an index."""
    from server import ROOT
    with sqlite3.connect(ROOT / "var/lib/vexo/index.db") as index:
        most, = index.execute("SELECT max(id) FROM songs").fetchone()
        ids = range(1, most + 1, most // count)
        return [index.execute("SELECT path FROM songs WHERE id = ?", (number,)).fetchone()[0]
                for number in ids][:count]


def make_list(server, name, songs):
    """A shared playlist with these songs; gives its node id."""
    from server import SHARED
    made = server.add(SHARED, name, [])
    if not made.success:
        raise RuntimeError(made)
    lines = "".join(f"#EXTINF:200,Artist - Title {number}\n{song}\n"
                    for number, song in enumerate(songs))
    SHARED.file(name).write_text("#EXTM3U\n" + lines)
    return made.id


def compared(port, what, ours, floor, bound, status=200, etag=None):
    measured, least = medians(ROUNDS, lambda: fetch(port, ours, status, etag),
                              lambda: fetch(port, floor, status))
    return Ratio(f"{what} : a C program's", measured, least, bound)


def long_list(server, songs):
    """Makes a list of ENTRIES songs in the index of so many, and gives the path of its resource."""
    from big_index import RUN, use
    use(songs)
    path = f"/api/playlists/{make_list(server, f'long-{songs}-{RUN}', paths(ENTRIES))}"
    if json.loads(fetch(server.port, path)[1])["total"] != ENTRIES:
        raise RuntimeError("the playlist is not whole")
    return path


def pages(server):
    from big_index import BIG, SMALL, use
    port = server.port
    long = {songs: long_list(server, songs) for songs in (SMALL, BIG)}
    ours, row = long[BIG], long[BIG].split("/")[-1]
    for offset in (0, ENTRIES - 100):
        yield compared(port, f"100 of {ENTRIES:,} entries, from {offset:,} on",
                       f"{ours}?limit=100&offset={offset}",
                       f"/lists_floor.cgi?entries&{offset}&100&{row}", 2)
    # Who opens a list has seen the names of all, by which its version became known.
    time.sleep(1.1)
    fetch(port, "/api/playlists?q=long&limit=1000")
    head, _ = fetch(port, ours)
    etag = next(line.split(": ")[1] for line in head.splitlines() if line.startswith("ETag: "))
    yield compared(port, f"a list of {ENTRIES:,} entries that the client has", ours,
                   f"/lists_floor.cgi?version&{row}", 1.2, 304, etag)

    def among(songs):
        use(songs)
        fetch(port, long[songs])

    big, small = medians(ROUNDS, lambda: among(BIG), lambda: among(SMALL))
    yield Ratio("100 entries, of 1,000,000 songs : of 10,000", big, small, 1.3)


def names(server):
    from big_index import RUN
    songs = paths(100)
    for number in range(LISTS):
        make_list(server, f"{number}-{RUN}", songs)
    port = server.port
    time.sleep(1.1)  # what was just changed is not kept
    first = medians(1, lambda: fetch(port, "/api/playlists?limit=1000"))[0]
    yield Ratio(f"{LISTS:,} lists for the first time, in seconds", first, 1, 2)
    yield compared(port, f"100 of {LISTS:,} lists, read before", "/api/playlists?limit=100",
                   "/lists_floor.cgi?playlists&100", 2.5)


def measure():
    from big_index import SMALL, serve, use
    from server import BIN, ROOT

    server = serve()
    try:
        (ROOT / "www/lists_floor.cgi").symlink_to(BIN / "lists_floor.cgi")
        yield from pages(server)
        use(SMALL)
        with sqlite3.connect(ROOT / "var/lib/vexo/index.db") as index:
            index.execute("DELETE FROM playlists")
        yield from names(server)
    finally:
        server.stop()
