"""An MPD on the library of the device root."""

import os

from server import LIBRARY, ROOT, SOURCE, listens, run, start

SOCKET = ROOT / "tmp/mpd.sock"


class Mpd:
    def __init__(self):
        conf = ROOT / "etc/mpd.conf"
        conf.write_text(run(SOURCE / "scripts/mpd_conf", ROOT, LIBRARY))
        self.process = start(["mpd", "--no-daemon", conf], ROOT / "var/log/vexo/mpd.log",
                             lambda: listens(SOCKET))

    def mpc(self, *arguments):
        return run("mpc", "-q", *arguments, env={**os.environ, "MPD_HOST": str(SOCKET)})

    def queue(self):
        """The queue's files, as paths below the library or as addresses."""
        return self.mpc("playlist", "-f", "%file%").splitlines()

    def stop(self):
        self.process.terminate()
        self.process.wait(20)
