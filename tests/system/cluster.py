"""PostgreSQL servers that are killed, frozen, and made from each other."""

import contextlib
import os
import shutil
import signal
import subprocess
import tempfile
from pathlib import Path

from postgres import as_user
from server import listens, run, wait_until

PROGRAMS = max(Path("/usr/lib/postgresql").glob("*/bin"))
# In memory, and short: they hold sockets.
IN_MEMORY = Path("/dev/shm")
SETTINGS = """
listen_addresses = ''
unix_socket_directories = '{folder}'
fsync = {fsync}
shared_buffers = 16MB
max_connections = 100
"""


class Cluster:
    """One server's data, and its processes while they run; it listens on a socket in `folder`."""

    def __init__(self, copy_of=None, folder=None, fsync="off", settings=""):
        """A new one, or a standby of the running server `copy_of`."""
        self.folder = folder or Path(tempfile.mkdtemp(prefix="vexo-cluster-", dir=IN_MEMORY))
        self.process = None
        if os.geteuid() == 0:
            shutil.chown(self.folder, "nobody")
        if copy_of is None:
            self._run("initdb", "--no-sync", "-A", "trust", "-U", "vexo", "--encoding=UTF8",
                      "--locale=C.UTF-8", "-D", self.data)
        else:
            self._run("pg_basebackup", "--no-sync", "-c", "fast", "-R", "-h", copy_of.folder, "-U",
                      "vexo", "-D", self.data)
        with open(self.data / "postgresql.conf", "a", encoding="ascii") as conf:
            conf.write(SETTINGS.format(folder=self.folder, fsync=fsync) + settings)

    @property
    def data(self):
        return self.folder / "data"

    @property
    def url(self):
        return f"postgresql://vexo@/postgres?host={self.folder}"

    def _run(self, program, *arguments):
        return run(*as_user(), PROGRAMS / program, *arguments, cwd=self.folder)

    def start(self):
        """Gives back when it takes connections."""
        with open(self.folder / "log", "ab") as log:
            self.process = subprocess.Popen([*as_user(), PROGRAMS / "postgres", "-D", self.data],
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        wait_until(lambda: self.ask("SELECT 1") == "1", f"{self.folder} takes connections")

    def ask(self, sql):
        """What it answers, a line a row; nothing when it does not."""
        done = subprocess.run([PROGRAMS / "psql", "-AtX", "-h", self.folder, "-U", "vexo", "-c", sql,
                               "postgres"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              timeout=60, check=False)
        return done.stdout.strip() if done.returncode == 0 else None

    def processes(self):
        """The first one, and its children."""
        children = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text()
        return [self.process.pid, *map(int, children.split())]

    def signal(self, number):
        for process in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, number)

    def kill(self):
        """kill -9 for all of its processes, as they stand. The first one is frozen meanwhile, or it
        would start others."""
        self.process.send_signal(signal.SIGSTOP)
        processes = self.processes()
        self.signal(signal.SIGKILL)
        self.process.wait()
        wait_until(lambda: not any(Path(f"/proc/{process}").exists() for process in processes),
                   "all processes have ended")

    def stop_at_once(self):
        """As pg_ctl -m immediate does: nothing is brought to an end."""
        self.process.send_signal(signal.SIGQUIT)
        self.process.wait()

    def promote(self):
        self._run("pg_ctl", "-s", "-w", "-D", self.data, "promote")

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)
            self.kill()
        shutil.rmtree(self.folder, ignore_errors=True)
