"""Several machines that share playlists, accounts and an index on a PostgreSQL server.

A machine is a set of namespaces (tests/support/machine): it has a device root of its own at the place
where all have theirs, process numbers of its own, a pgbouncer and a lighttpd. The folders SHARED are
those of the test's own root, so the test finds there what the machines write.
"""

import os
import subprocess
import unittest

from places import BUILD, SOURCE
from postgres import Bouncer, Postgres
from server import BIN, LIBRARY, ROOT, RootTest, Server, playlistctl, run

SHARED = ("library", "etc/vexo", "var/services/homes", "var/lib/vexo/preferences")


class Machine:
    """Runs until kill(). `folder` is its device root, as the test sees it; `server` its web server."""

    def __init__(self, number, postgres_folder):
        self.folder = BUILD / f"m{number}"
        # Or lay_root finds one in memory, which would be one for all.
        (self.folder / "tmp").mkdir(parents=True)
        self.process = subprocess.Popen([SOURCE / "tests/support/machine", self.folder, ROOT, *SHARED],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.started = []
        try:
            assert self.process.stdout.readline() == b"ready\n"
            self._start(postgres_folder)
        except BaseException:
            self.kill()
            raise

    def _start(self, postgres_folder):
        first = f"/proc/{self.process.pid}/task/{self.process.pid}/children"
        with open(first, encoding="ascii") as children:
            self.enter = ("nsenter", "--mount", "--pid", "--target", children.read().strip())
        self.run(SOURCE / "scripts/lay_root", ROOT, BIN, LIBRARY)
        self.bouncer = Bouncer(self.folder / "run", postgres_folder, self.enter, ROOT / "run")
        self.started.append(self.bouncer.process)
        self.server = Server(root=self.folder, enter=self.enter)
        self.started.append(self.server.process)

    def run(self, *command, **options):
        """Runs a program there, which must succeed, and gives its standard output."""
        return run(*self.enter, *command, **options)

    def playlistctl(self, *arguments, **options):
        return self.run(BIN / "playlistctl", *arguments, **options)

    def examine(self):
        """What the doctor finds there, "" when all is well."""
        done = subprocess.run([*self.enter, BIN / "playlistctl", "doctor"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=120, check=False)
        if done.returncode not in (0, 1):
            raise AssertionError(done.stdout)
        return done.stdout if done.returncode else ""

    def kill(self):
        """Nothing of it runs any more, as after a power failure."""
        self.process.kill()
        for process in (self.process, *self.started):
            process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class MachinesTest(RootTest):
    """Three machines with the demo tracks in the library that they share."""

    MACHINES = 3

    @classmethod
    def setUpClass(cls):
        if "VEXO_OWN_MOUNTS" not in os.environ:
            raise unittest.SkipTest("machines need mounts of their own, which this system does not let us make")
        super().setUpClass()
        cls.postgres = Postgres()
        cls.addClassCleanup(cls.postgres.stop)
        playlistctl("index", "move", "--to", cls.postgres.url)
        url = f"postgresql://vexo@/postgres?host={ROOT}/run&port=6432"
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[index]\nurl = {url}\n")
        cls.machines = []
        for number in range(cls.MACHINES):
            cls.machines.append(Machine(number, cls.postgres.folder))
            cls.addClassCleanup(cls.machines[-1].kill)
