"""A PostgreSQL server of a test's own, and pgbouncers in front of it."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from places import SOURCE
from server import listens, start

BOUNCER = """[databases]
* = host={server}
[pgbouncer]
listen_addr =
unix_socket_dir = {folder}
unix_socket_mode = 0700
listen_port = 6432
auth_type = trust
auth_file = {folder}/users
pool_mode = transaction
server_login_retry = 1
query_wait_timeout = 5
"""


def as_user():
    """No server runs as root."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]


class Bouncer:
    """A pgbouncer that listens on a socket in `folder`, which is made, for the server whose socket is in
    the folder `server`. Runs until stop(). `seen_at`: the place of the folder where the command `enter`
    leads, when that is another one."""

    def __init__(self, folder, server, enter=(), seen_at=None):
        folder.mkdir(exist_ok=True)
        if os.geteuid() == 0:
            shutil.chown(folder, "nobody")
        seen_at = seen_at or folder
        (folder / "users").write_text('"vexo" ""\n')
        (folder / "pgbouncer.ini").write_text(BOUNCER.format(folder=seen_at, server=server))
        socket = folder / ".s.PGSQL.6432"
        self.process = start([*enter, *as_user(), "/usr/sbin/pgbouncer", "-q", seen_at / "pgbouncer.ini"],
                             folder / "pgbouncer.log", lambda: listens(socket))
        self.url = f"postgresql://vexo@/postgres?host={seen_at}&port=6432"

    def stop(self):
        self.process.terminate()
        self.process.wait()


class Postgres:
    """Runs until stop()."""

    def __init__(self):
        # In memory, and short: it holds sockets.
        self.folder = Path(tempfile.mkdtemp(prefix="vexo-postgres-", dir="/dev/shm"))
        self.server = subprocess.Popen([SOURCE / "tests/support/postgres_server", self.folder],
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self.server.stdout.readline() == b"ready\n"
        self.bouncer = Bouncer(self.folder, self.folder)
        self.url = f"postgresql://vexo@/postgres?host={self.folder}"
        self.bouncer_url = self.bouncer.url

    def stop(self):
        self.bouncer.stop()
        self.server.stdin.close()
        self.server.wait()
        self.server.stdout.close()
