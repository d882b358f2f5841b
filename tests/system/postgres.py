"""A PostgreSQL server of a test's own, and a pgbouncer in front of it."""

import os
import subprocess
import tempfile
from pathlib import Path

from places import SOURCE
from server import listens, start

BOUNCER = """[databases]
* = host={folder}
[pgbouncer]
listen_addr =
unix_socket_dir = {folder}
listen_port = 6432
auth_type = trust
auth_file = {folder}/users
pool_mode = transaction
"""


class Postgres:
    """Runs until stop()."""

    def __init__(self):
        # In memory, and short: it holds sockets.
        self.folder = Path(tempfile.mkdtemp(prefix="vexo-postgres-", dir="/dev/shm"))
        self.server = subprocess.Popen([SOURCE / "tests/support/postgres_server", self.folder],
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self.server.stdout.readline() == b"ready\n"
        (self.folder / "users").write_text('"vexo" ""\n')
        config = self.folder / "pgbouncer.ini"
        config.write_text(BOUNCER.format(folder=self.folder))
        as_user = (["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]
                   if os.geteuid() == 0 else [])
        socket = self.folder / ".s.PGSQL.6432"
        self.bouncer = start([*as_user, "/usr/sbin/pgbouncer", "-q", config],
                             self.folder / "pgbouncer.log", lambda: listens(socket))
        self.url = f"postgresql://vexo@/postgres?host={self.folder}"
        self.bouncer_url = self.url + "&port=6432"

    def stop(self):
        self.bouncer.terminate()
        self.bouncer.wait()
        self.server.stdin.close()
        self.server.wait()
        self.server.stdout.close()
