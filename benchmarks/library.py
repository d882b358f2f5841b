"""Pages of /api beside a C program that does the same look-ups and nothing else (library_floor.c), and
among a million songs beside ten thousand: through the web server, one client."""

import base64
import socket
from urllib.parse import quote

from ratio import Ratio, medians

ROUNDS = 101
# What is asked for of ours, the same of the floor (see orders.h for the numbers of lists), and how deep
# a page lies among 10,000 songs and among 1,000,000. There are 83 artists among the former.
PAGES = (
    ("100 songs by title", "songs?sort=title&limit=100&offset={}", "songs&2&{}&100", 5_000, 500_000),
    ("100 songs by artist", "songs?limit=100&offset={}", "songs&1&{}&100", 5_000, 500_000),
    ("100 albums", "albums?limit=100&offset={}", "groups&16&{}&100", 400, 40_000),
    ("50 artists", "artists?limit=50&offset={}", "groups&24&{}&50", 30, 4_000),
)
SEARCH = ("a search that finds 100 songs", "songs?sort=title&limit=100&q=" + quote("rare zyx"),
          "search&rare&zyx")


def get(port, path, etag=None):
    """The answer's head and body, on a connection of its own."""
    from server import ANNA, PASSWORD
    token = base64.b64encode(f"{ANNA}:{PASSWORD}".encode()).decode()
    condition = f"If-None-Match: {etag}\r\n" if etag else ""
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.sendall((f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
                            f"Authorization: Basic {token}\r\n{condition}\r\n").encode())
        received = []
        while part := connection.recv(1 << 20):
            received.append(part)
    head, _, body = b"".join(received).partition(b"\r\n\r\n")
    return head.decode(), body


def fetch(port, path, status=200, etag=None):
    head, body = get(port, path, etag)
    if f" {status} " not in head.splitlines()[0]:
        raise RuntimeError(f"{path}: {head}\n{body[:500]}")
    return head, body


def ratios(port, what, ours, floor, etag=None, bound=2.0):
    """Both works in turn among a million songs, and ours among ten thousand."""
    from big_index import BIG, SMALL, use
    status = 304 if etag else 200
    for songs in (SMALL, BIG):
        use(songs)
        fetch(port, ours[songs], status, etag and etag[songs])
        fetch(port, floor[songs], status)
    measured, least = medians(ROUNDS, lambda: fetch(port, ours[BIG], status, etag and etag[BIG]),
                              lambda: fetch(port, floor[BIG], status))
    yield Ratio(f"{what} : a C program's", measured, least, bound)

    def among(songs):
        use(songs)
        fetch(port, ours[songs], status, etag and etag[songs])

    big, small = medians(ROUNDS, lambda: among(BIG), lambda: among(SMALL))
    yield Ratio(f"{what}, of 1,000,000 songs : of 10,000", big, small, 1.3)


def etag_of(port, songs, path):
    from big_index import use
    use(songs)
    head, _ = fetch(port, path)
    return next(line.split(": ")[1] for line in head.splitlines() if line.startswith("ETag: "))


def measure():
    from big_index import BIG, SMALL, serve
    from server import BIN, ROOT

    server = serve()
    port = server.port
    try:
        (ROOT / "www/library_floor.cgi").symlink_to(BIN / "library_floor.cgi")
        for what, ours, floor, *depths in PAGES:
            for depth, offsets in (("the first", (0, 0)), ("deep", depths)):
                yield from ratios(
                    port, f"{what}, {depth} page",
                    {songs: "/api/" + ours.format(offset) for songs, offset in zip((SMALL, BIG), offsets)},
                    {songs: "/library_floor.cgi?" + floor.format(offset)
                     for songs, offset in zip((SMALL, BIG), offsets)})
        what, ours, floor = SEARCH
        both = dict.fromkeys((SMALL, BIG), "/api/" + ours)
        yield from ratios(port, what, both, dict.fromkeys(both, "/library_floor.cgi?" + floor))
        both = dict.fromkeys((SMALL, BIG), "/api/songs")
        yield from ratios(port, "an answer that the client has", both,
                          dict.fromkeys(both, "/library_floor.cgi?version"),
                          {songs: etag_of(port, songs, "/api/songs") for songs in both}, 1.2)
    finally:
        server.stop()
