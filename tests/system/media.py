"""Songs in the shared library and in the index, and who has their files open."""

import os
import shutil
import sqlite3
import subprocess
from pathlib import Path

from api import Api
from server import ANNA, PASSWORD, ROOT, Index, ServerTest, playlistctl, run

INDEX = ROOT / "var/lib/vexo/index.db"


def song_ids():
    """The id of each song that the index knows, by its path as bytes."""
    if Index.url:
        rows = run("psql", "-At", Index.url, "-c", "SELECT id, encode(path, 'hex') FROM songs").split()
        return {bytes.fromhex(path): int(number) for number, path in (row.split("|") for row in rows)}
    with sqlite3.connect(INDEX) as index:
        index.text_factory = bytes
        return {path: number for number, path in index.execute("SELECT id, path FROM songs")}


class MediaTest(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.api = Api(cls.server)
        cls.ids = song_ids()
        cls.track = next(track for track in cls.tracks if track.endswith(".mp3"))

    @classmethod
    def add_song(cls, path, size=None):
        """Makes a file of an MP3 track, of at least that size, and gives its id."""
        path = os.fsencode(path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        shutil.copy(cls.track, path)
        if size:
            os.truncate(path, size)
        playlistctl("scan")
        return song_ids()[path]

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json["status"], status)
        self.assertEqual(answer.json.get("parameter"), parameter)

    def users_of(self, name):
        """The processes, of this server and of the programs that it has started, that hold a file of that
        name open; with the programs' names."""
        listed = subprocess.run(["pgrep", "-g", str(self.server.process.pid)],
                                stdout=subprocess.PIPE, text=True, check=False).stdout.split()
        return {int(process): Path(self.target(f"/proc/{process}/exe")).name for process in listed
                if any(self.target(path).endswith(name)
                       for path in Path(f"/proc/{process}/fd").glob("*"))}

    @staticmethod
    def target(link):
        try:
            return os.readlink(link)
        except OSError:
            return ""

    def slow_client(self, path):
        """A client that reads the answer slowly, from the server on; it ends with the test."""
        client = subprocess.Popen(
            ["curl", "-s", "-u", f"{ANNA}:{PASSWORD}", "--limit-rate", "1k", "-o", "/dev/null",
             f"http://127.0.0.1:{self.server.port}/api{path}"])
        self.addCleanup(client.wait)
        self.addCleanup(client.kill)
        return client
