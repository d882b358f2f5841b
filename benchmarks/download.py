"""Downloads through the web server, beside what the same server does with plainer programs."""

import base64
import os
import socket
import statistics
import time

from ratio import Ratio, medians

SONGS, SONG_BYTES = 200, 10 << 20
CHOSEN = 10_000
CHUNK = 1 << 20

CAT = """#!/bin/sh
printf 'Content-Type: application/force-download\\n\\n'
exec cat {library}/*.song
"""
# The archiver of Debian in the place of ours; it has no option -G.
OTHER_ZIP = """#!/bin/sh
exec /usr/bin/zip -q -0 -r -@ -
"""


class Client:
    """One request on a connection of its own, its answer read as fast as it comes."""

    def __init__(self, port, path, body="", user="anna"):
        from server import PASSWORD
        token = base64.b64encode(f"{user}:{PASSWORD}".encode()).decode()
        self.socket = socket.create_connection(("127.0.0.1", port))
        self.socket.sendall((
            f"POST {path} HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
            f"Authorization: Basic {token}\r\nContent-Length: {len(body)}\r\n"
            f"Content-Type: application/x-www-form-urlencoded\r\n\r\n{body}").encode())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def read_until(self, mark):
        received = b""
        while mark not in received:
            part = self.socket.recv(4096)
            if not part:
                raise RuntimeError(f"no {mark!r} in {received!r}")
            received += part

    def read_text(self):
        received = []
        while part := self.socket.recv(65536):
            received.append(part)
        return b"".join(received).decode()

    def read_all(self):
        """The number of bytes until the end."""
        buffer = bytearray(CHUNK)
        count = 0
        while part := self.socket.recv_into(buffer):
            count += part
        return count


def write_songs(folder):
    block = os.urandom(1 << 20)
    for number in range(SONGS):
        with open(folder / f"{number:03}.song", "wb") as file:
            for _ in range(SONG_BYTES // len(block)):
                file.write(block)


def write_program(path, text):
    path.write_text(text)
    path.chmod(0o755)


def use_zip(tool):
    """From now on downloads are made by this archiver."""
    from server import ROOT
    link = ROOT / "usr/vexo/bin/zip.new"
    link.symlink_to(tool)
    os.rename(link, ROOT / "usr/vexo/bin/zip")


def streaming(server):
    """Two gigabytes of songs, as an archive of ours, an archive of another, and one behind the
    other."""
    from server import BIN, LIBRARY, ROOT, encode

    write_songs(LIBRARY)
    write_program(ROOT / "www/cat.cgi", CAT.format(library=LIBRARY))
    write_program(ROOT / "usr/vexo/bin/other-zip", OTHER_ZIP)
    songs = [{"res": str(song)} for song in sorted(LIBRARY.glob("*.song"))]
    body = encode({"action": "download", "id_info_list": songs})

    def fetch(path, request_body=""):
        with Client(server.port, path, request_body) as client:
            received = client.read_all()
        if received < SONGS * SONG_BYTES:
            raise RuntimeError(f"{path}: {received} bytes")

    def download(tool):
        use_zip(tool)
        fetch("/audio_playlist.cgi", body)

    fetch("/cat.cgi")
    ours, cat, other = medians(5, lambda: download(BIN / "zip"), lambda: fetch("/cat.cgi"),
                               lambda: download("other-zip"))
    use_zip(BIN / "zip")
    yield Ratio("speed of 2 GB of songs as an archive : cat of the songs", 1 / ours, 1 / cat, 0.9,
                at_least=True)
    yield Ratio("speed of 2 GB of songs as an archive : Debian's zip in its place", 1 / ours,
                1 / other, 2.4, at_least=True)


def peak_kib(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


def first_byte(server):
    """Ten thousand songs: how long until the archive begins, and in how much memory."""
    from big_index import SMALL, use
    from server import LIBRARY, SHARED, encode, songs_of
    from test_download import processes

    use(SMALL)
    ids = [str(id_) for id_ in range(1, CHOSEN + 1)]
    name = f"ten thousand, {os.getpid()}"  # the index outlives the root, and knows the earlier ones
    node = server.add(SHARED, name, ids).id
    for path in songs_of(SHARED.file(name)):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as song:
            song.truncate(64 << 10)
    for what, parameters in (("a playlist", {"playlist": node}),
                             ("chosen songs", {"id_info_list": ids})):
        body = encode({"action": "download", **parameters})
        times = []
        for _ in range(9):
            start = time.perf_counter()
            with Client(server.port, "/audio_playlist.cgi", body) as client:
                client.read_until(b"PK\x03\x04")
                times.append(time.perf_counter() - start)
                peak = max(peak_kib(one) for ids_ in processes().values() for one in ids_)
            wait_for_the_end()
        yield Ratio(f"first byte of {what}, 10,000 : 150 ms", statistics.median(times), 0.150, 1)
        yield Ratio(f"memory for {what}, 10,000 : 48 MiB and 6 KiB a song", peak,
                    48 * 1024 + 6 * CHOSEN, 1)


def wait_for_the_end():
    from server import wait_until
    from test_download import processes, working_folders
    wait_until(lambda: not processes() and not working_folders(), "the download ends")


def going_away(server):
    """From a client's end to that of the last process and of the working folder."""
    from server import LIBRARY, encode

    songs = [{"res": str(song)} for song in LIBRARY.glob("*.song")]
    body = encode({"action": "download", "id_info_list": songs})
    times = []
    for _ in range(9):
        with Client(server.port, "/audio_playlist.cgi", body) as client:
            client.read_until(b"PK\x03\x04")
        start = time.perf_counter()
        wait_for_the_end()
        times.append(time.perf_counter() - start)
    yield Ratio("end of a download whose client is gone : 1 s", max(times), 1, 1)


def random_songs(server):
    """A random playlist, made anew each time."""
    from big_index import BIG, SMALL, use
    from server import ROOT, encode

    body = encode({"action": "download", "playlist": "musiclib_random"})

    def download(songs):
        use(songs)
        (ROOT / "tmp/==DynaRandom100==.anna").unlink(missing_ok=True)
        with Client(server.port, "/audio_playlist.cgi", body) as client:
            client.read_all()

    for songs in (BIG, SMALL):
        download(songs)
    big, small = medians(15, lambda: download(BIG), lambda: download(SMALL))
    yield Ratio("random playlist of 1,000,000 songs : of 10,000", big, small, 3)


def measure():
    from big_index import serve

    server = serve()
    try:
        yield from streaming(server)
        yield from going_away(server)
        yield from first_byte(server)
        yield from random_songs(server)
    finally:
        server.stop()
