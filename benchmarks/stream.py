"""A song's bytes through the library program and X-Sendfile, beside a file that the server serves by
itself."""

import base64
import shutil
import socket
import sqlite3

from ratio import Ratio, medians

SIZE = 256 << 20
ROUNDS = 15
CHUNK = 1 << 20


def read(port, path, token):
    """Reads one answer on a connection of its own, and gives the number of its bytes."""
    count, buffer = 0, bytearray(CHUNK)
    with socket.create_connection(("127.0.0.1", port)) as client:
        client.sendall(f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
                       f"Authorization: Basic {token}\r\n\r\n".encode())
        while part := client.recv_into(buffer):
            count += part
    return count


def make_song(server):
    """A song of SIZE bytes, and the same as a file that the server knows; gives their paths."""
    file = server.LIBRARY / "big.mp3"
    shutil.copy(next(path for path in (server.SOURCE / "demo/music").rglob("*.mp3")), file)
    with open(file, "ab") as song:
        while song.tell() < SIZE:
            song.write(bytes(CHUNK))
    server.playlistctl("scan")
    static = server.ROOT / "usr/share/vexo/client"  # the pages of the client are not needed here
    static.unlink()
    static.mkdir()
    (static / "big.bin").hardlink_to(file)
    with sqlite3.connect(server.ROOT / "var/lib/vexo/index.db") as index:
        (number,) = index.execute("SELECT id FROM songs WHERE path = ?", (str(file),)).fetchone()
    return f"/api/songs/{number}/stream", "/big.bin"


def measure():
    import server
    server.lay_root()
    song, static = make_song(server)
    web = server.Server()
    token = base64.b64encode(f"{server.ANNA}:{server.PASSWORD}".encode()).decode()
    try:
        for path in (song, static):
            if read(web.port, path, token) < SIZE:
                raise RuntimeError(f"{path} is not sent")
        by_program, plain = medians(ROUNDS, lambda: read(web.port, song, token),
                                    lambda: read(web.port, static, token))
        yield Ratio("stream: speed of a song by X-Sendfile / static file", SIZE / by_program,
                    SIZE / plain, 0.9, at_least=True)
    finally:
        web.stop()
        shutil.rmtree(server.ROOT, ignore_errors=True)
