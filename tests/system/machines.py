"""Several machines that share playlists, accounts and an index on a PostgreSQL server.

A machine is a set of namespaces (tests/support/machine): it has a device root of its own at the place
where all have theirs, process numbers of its own, a pgbouncer and a lighttpd. The folders SHARED are
those of the test's own root, so the test finds there what the machines write.
"""

import os
import re
import select
import shutil
import signal
import subprocess
import unittest
from pathlib import Path

from places import BUILD, SOURCE
from postgres import Bouncer, Postgres
from server import BIN, LIBRARY, ROOT, Client, RootTest, Server, free_port, playlistctl, run, start
from server import use_index

SHARED = ("library", "etc/vexo", "var/services/homes", "var/lib/vexo/preferences")


def child_of(process):
    """The number of a process's only child."""
    children = f"/proc/{process.pid}/task/{process.pid}/children"
    return int(Path(children).read_text(encoding="ascii"))


class Machine:
    """Runs until kill(), and may start() again. `folder` is its device root, as the test sees it;
    `server` its web server, which keeps its port."""

    def __init__(self, number, postgres_folder, under=()):
        self.under = under
        self.folder, self.postgres_folder = BUILD / f"m{number}", postgres_folder
        # Or lay_root finds one in memory, which would be one for all.
        (self.folder / "tmp").mkdir(parents=True)
        self.port = free_port()
        self.start()

    def start(self):
        self.process = subprocess.Popen([SOURCE / "tests/support/machine", self.folder, ROOT, *SHARED],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.started = []
        try:
            assert self.process.stdout.readline() == b"ready\n"
            self._start_servers()
        except BaseException:
            self.kill()
            raise

    def _start_servers(self):
        # Its root, too: these tests may run in a changed one, which its mounts alone do not lead to.
        self.enter = ("nsenter", "--mount", "--pid", "--root", "--target",
                      str(child_of(self.process)))
        self.run(SOURCE / "scripts/lay_root", ROOT, BIN, LIBRARY)
        self.bouncer = Bouncer(self.folder / "run", self.postgres_folder, self.enter, ROOT / "run")
        self.started.append(self.bouncer.process)
        self.server = Server(port=self.port, root=self.folder,
                             enter=(*self.enter, *self.under), proxy="127.0.0.1")
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

    @property
    def is_running(self):
        return self.process.returncode is None

    def kill_web_server(self):
        """The programs that it has started go on."""
        os.kill(child_of(self.server.process), signal.SIGKILL)
        self.server.process.wait()

    def kill(self):
        """Nothing of it runs any more, as after a power failure."""
        # With its first process all others have ended, too.
        first = os.pidfd_open(child_of(self.process))
        self.process.kill()
        select.select([first], [], [])
        os.close(first)
        for process in (self.process, *self.started):
            process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class Proxy(Client):
    """An HAProxy on a port of the loopback, in front of machines. Runs until stop()."""

    def __init__(self, machines, port=None):
        super().__init__(port or free_port())
        places = [f"127.0.0.1:{machine.server.port}" for machine in machines]
        conf = BUILD / "haproxy.cfg"
        text = run(SOURCE / "scripts/haproxy_conf", f"127.0.0.1:{self.port}", *places)
        conf.write_text(text.replace("  option dontlog-normal\n", ""))
        self.log_file = BUILD / "haproxy.log"
        self.log_file.unlink(missing_ok=True)
        self.process = start(["/usr/sbin/haproxy", "-db", "-f", conf], self.log_file, self.listens)

    def served(self, backend):
        """Who has served each request that came to a backend: m1, m2, ..."""
        return re.findall(rf" clients {backend}/(m\d+) ", self.log())

    def log(self):
        return self.log_file.read_text()

    def stop(self):
        self.process.terminate()
        self.process.wait()


class Machines:
    """Several machines on the device root's playlists, accounts and index, which moves to a PostgreSQL
    server of their own. Run until stop()."""

    def __init__(self, count, under=()):
        self.all = []
        self.postgres = Postgres()
        try:
            playlistctl("index", "move", "--to", self.postgres.url)
            use_index(f"postgresql://vexo@/postgres?host={ROOT}/run&port=6432")
            for number in range(count):
                self.all.append(Machine(number, self.postgres.folder, under))
        except BaseException:
            self.stop()
            raise

    def stop(self):
        for machine in self.all:
            if machine.is_running:
                machine.kill()
            shutil.rmtree(machine.folder)
        self.postgres.stop()


class MachinesTest(RootTest):
    """Three machines with the demo tracks in the library that they share."""

    MACHINES = 3
    UNDER = ()

    @classmethod
    def setUpClass(cls):
        if "VEXO_OWN_MOUNTS" not in os.environ:
            raise unittest.SkipTest("machines need mounts, which this system does not let us make")
        super().setUpClass()
        together = Machines(cls.MACHINES, cls.UNDER)
        cls.addClassCleanup(together.stop)
        cls.machines, cls.postgres = together.all, together.postgres
