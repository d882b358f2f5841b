"""client_server.py [--player] [--index FILE]: the web server that the client's browser tests talk to.

Lays an empty device root with the demo tracks, ANNA (an administrator with a personal library) and BEN, and
with --player an MPD and the player daemon, with --index an index of songs that have no files. It prints where all is, as a line of JSON, then answers each
line of standard input, {"do": NAME, ...}, by a line, and ends when the input does.
"""

import argparse
import json
import struct
import sys
import traceback
from contextlib import ExitStack

from player_daemon import Daemon, PlayerMpd
from server import ANNA, BEN, LIBRARY, PASSWORD, PERSONAL, ROOT, Server
from server import copy_demo_tracks, free_port, lay_root, playlistctl

SAMPLES_PER_SECOND = 44_100


def flac(seconds, tags):
    """A FLAC file without sound: what it says of itself and its tags, which is what a scan reads."""
    def block(kind, content, last=0):
        return struct.pack(">I", last << 31 | kind << 24 | len(content)) + content
    samples = int(seconds * SAMPLES_PER_SECOND)
    stereo, bits = 2 - 1, 16 - 1
    info = struct.pack(">HH6xQ16x", 4096, 4096,
                       SAMPLES_PER_SECOND << 44 | stereo << 41 | bits << 36 | samples)
    lines = [f"{name}={value}".encode() for name, value in tags.items()]
    comment = struct.pack("<II", 0, len(lines)) + b"".join(struct.pack("<I", len(line)) + line for line in lines)
    return b"fLaC" + block(0, info) + block(4, comment, last=1)


class ClientServer:
    def __init__(self, player=False, index=None):
        self.stack, self.player = ExitStack(), None
        lay_root()
        playlistctl("account", "set", ANNA, "--admin", "on")
        for folder in (LIBRARY / "playlists", PERSONAL.folder):
            folder.mkdir(parents=True, exist_ok=True)
        if index:
            (ROOT / "var/lib/vexo/index.db").symlink_to(index)
        else:
            copy_demo_tracks()
        if player:
            self.start_player()
        self.port, self.web = free_port(), None
        self.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        self.stack.close()

    def start_player(self):
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n")
        self.player = PlayerMpd()
        for server in (self.player, Daemon()):
            self.stack.callback(server.stop)

    def places(self):
        return {"url": f"http://127.0.0.1:{self.port}/", "users": {ANNA: PASSWORD, BEN: PASSWORD},
                "library": str(LIBRARY), "personal": str(PERSONAL.folder.parent),
                "client": str(ROOT / "usr/share/vexo/client"), "log": str(ROOT / "var/log/vexo")}

    # What a test may say.

    def start(self):
        self.web = self.web or Server(port=self.port)

    def stop(self):
        if self.web:
            self.web.stop()
        self.web = None

    def scan(self):
        """The player has an index of its own."""
        playlistctl("scan")
        if self.player:
            self.player.mpc("--wait", "update")

    def stop_player(self):
        self.player.stop()

    def start_player_again(self):
        self.player.start()

    def songs(self, songs):
        """Makes songs, each a `path` below the library, its `seconds` and `tags`."""
        for song in songs:
            file = LIBRARY / song["path"]
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(flac(song["seconds"], song["tags"]))
        self.scan()

    def answer(self, do, **arguments):
        try:
            return {"done": {"start": self.start, "stop": self.stop, "scan": self.scan,
                             "songs": self.songs, "stop player": self.stop_player,
                             "start player": self.start_player_again}[do](**arguments)}
        except Exception:  # pylint: disable=broad-exception-caught
            return {"error": traceback.format_exc()}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--player", action="store_true")
    parser.add_argument("--index")
    with ClientServer(**vars(parser.parse_args())) as server:
        print(json.dumps(server.places()), flush=True)
        for line in sys.stdin:
            print(json.dumps(server.answer(**json.loads(line))), flush=True)


main()
