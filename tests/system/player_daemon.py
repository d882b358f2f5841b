"""The player daemon, MPDs for its players, and the daemon's protocol."""

import json
import os
import signal
import socket
import struct

import mpd
from server import BIN, LIBRARY, ROOT, listens, run, start

CONTROL = ROOT / "tmp/vexoaudiod.sock"
SELECT, QUEUE = 21, 30


def record(code, argument):
    return struct.pack("<i8192s", code, argument.encode())


def ask(code, argument):
    """One command as any process may send it: the parsed answer."""
    with socket.socket(socket.AF_UNIX) as client:
        client.settimeout(20)
        client.connect(str(CONTROL))
        client.sendall(record(code, argument))
        return json.loads(client.recv(40960))


class Daemon:
    def __init__(self, *options, wrapper=()):
        self.log_file = ROOT / "var/log/vexo/vexoaudiod.log"
        self.process = start([*wrapper, BIN / "vexoaudiod", *options], self.log_file, self._answers)

    @staticmethod
    def _answers():
        try:
            return "error" in ask(1, "")
        except OSError:
            return False

    def stop(self, with_signal=signal.SIGTERM):
        self.process.send_signal(with_signal)
        return self.process.wait(20)


class PlayerMpd(mpd.Mpd):
    """An MPD of its own for a player."""

    def __init__(self, name="mpd", mixer="software"):
        self.name, self.socket, self.mixer = name, ROOT / f"tmp/{name}.sock", mixer
        self.start()

    def start(self):
        conf = run(mpd.SOURCE / "scripts/mpd_conf", ROOT, LIBRARY)
        conf = conf.replace('mixer_type "software"', f'mixer_type "{self.mixer}"')
        for file in ("mpd.sock", "mpd.db", "mpd.state"):
            conf = conf.replace(f"/{file}\"", f"/{file.replace('mpd', self.name)}\"")
        path = ROOT / f"etc/{self.name}.conf"
        path.write_text(conf)
        self.process = start(["mpd", "--no-daemon", path], ROOT / f"var/log/vexo/{self.name}.log",
                             lambda: listens(self.socket))
        self.mpc("--wait", "update")

    def mpc(self, *arguments, **options):
        return run("mpc", "-q", *arguments, env={**os.environ, "MPD_HOST": str(self.socket)},
                   **options)

    def fill(self, entries):
        """Replaces the queue, by paths below the library or addresses."""
        self.mpc("clear")
        if entries:
            self.mpc("add", input="".join(f"{entry}\n" for entry in entries))
        self.entries = entries
