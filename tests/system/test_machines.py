"""Three machines on one collection."""

import fcntl
import os
import random
import re
import subprocess
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from http.client import HTTPConnection, HTTPException

from api import Api
from machines import MachinesTest, Proxy
from mixed_edits import edit_all_at_once
from openapi import Mismatch
from server import ANNA, BUILD, PASSWORD, ROOT, SHARED, SOURCE, Client, free_port, songs_of, wait_until
from test_concurrency import Storm, Storms


class BehindAProxy(MachinesTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.proxy = Proxy(cls.machines)
        cls.addClassCleanup(cls.proxy.stop)


class Machines(BehindAProxy):
    def test_what_one_writes_all_have(self):
        first, second, third = [machine.server for machine in self.machines]
        made = first.add(SHARED, "one for all", [{"res": "http://a/1"}])
        self.assertTrue(made.success, made)
        added = second.ask("addsongs", playlist=made.id, id_info_list=[{"res": "http://a/2"}])
        self.assertTrue(added.success, added)
        self.assertEqual(songs_of(SHARED.file("one for all")), ["http://a/1", "http://a/2"])
        self.assertEqual(Api(third).get(f"/playlists/{made.id}").json["total"], 2)
        self.assertEqual([machine.examine() for machine in self.machines], [""] * 3)

    def test_the_way_to_the_index_is_for_no_other_user(self):
        for machine in self.machines:
            mode = (machine.folder / "run/.s.PGSQL.6432").stat().st_mode
            self.assertEqual(mode & 0o077, 0, oct(mode))

    def test_a_session_holds_on_all(self):
        body = {"name": ANNA, "password": PASSWORD}
        answers = [Api(machine.server, None).post("/session", body) for machine in self.machines]
        for cookie in [answer.headers["Set-Cookie"].split(";")[0] for answer in answers]:
            for machine in self.machines:
                self.assertEqual(Api(machine.server, cookie=cookie).get("/session").status, 200)

    def test_the_password_of_one_is_that_of_all(self):
        first, *others = self.machines
        first.playlistctl("account", "add", "cleo", "--password-stdin", input="first\n")
        body = {"name": "cleo", "password": "first"}
        session = Api(first.server, None).post("/session", body)
        cookie = session.headers["Set-Cookie"].split(";")[0]
        change = Api(others[0].server, cookie=cookie).post("/password", {"old": "first", "new": "next"})
        self.assertEqual(change.status, 204, change)
        self.assertEqual(Api(others[1].server, cookie=cookie).get("/session").status, 401)
        body["password"] = "next"
        self.assertEqual(Api(first.server, None).post("/session", body).status, 200)

    def test_wrong_passwords_count_for_all(self):
        body = {"name": "nobody", "password": "wrong"}
        nobodies = [Api(machine.server, None) for machine in self.machines]
        statuses = [nobodies[number % 3].post("/session", body).status for number in range(6)]
        self.assertEqual(statuses, [401] * 5 + [429])

    def test_one_scan_is_at_work(self):
        first, second, _ = self.machines
        with open(ROOT / "var/lib/vexo/preferences/.index.db.scan", "ab") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            for machine in (first, second):
                self.assertTrue(Api(machine.server).get("/scan").json["running"])
                with self.assertRaisesRegex(AssertionError, "another scan is at work"):
                    machine.playlistctl("scan")
        first.playlistctl("scan")
        states = [Api(machine.server).get("/scan").json for machine in self.machines]
        self.assertEqual(states, [states[0]] * 3)
        self.assertTrue(states[0]["complete"], states[0])

    def logged(self):
        """The addresses and users of log-ins that failed, on any machine."""
        logs = "".join(machine.server.log() for machine in self.machines)
        return re.findall("login refused: address (.*), user (.*)", logs)

    def refuse(self, client, name, address, headers=None):
        """A log-in in vain, from an address of the loopback."""
        connection = HTTPConnection("127.0.0.1", client.port, timeout=60, source_address=(address, 0))
        connection.request("POST", "/api/session", f'{{"name": "{name}", "password": "wrong"}}',
                           {"Content-Type": "application/json", **(headers or {})})
        self.assertEqual(connection.getresponse().status, 401)
        connection.close()

    def test_clients_have_their_own_addresses(self):
        self.refuse(self.proxy, "one", "127.0.0.1")
        self.refuse(self.proxy, "two", "127.0.0.2")
        self.assertLessEqual({("127.0.0.1", "one"), ("127.0.0.2", "two")}, set(self.logged()))

    def test_nobody_claims_anothers_address(self):
        for header in ("X-Forwarded-For", "Forwarded"):
            claim = {header: "for=192.0.2.1" if header == "Forwarded" else "192.0.2.1"}
            self.refuse(self.proxy, f"by the proxy {header}", "127.0.0.3", claim)
            self.refuse(self.machines[0].server, f"past it {header}", "127.0.0.4", claim)
        addresses = {address for address, name in self.logged() if "the proxy" in name or "past it" in name}
        self.assertEqual(addresses, {"127.0.0.3", "127.0.0.4"})

    def test_a_browser_and_a_song_stay_with_a_machine(self):
        cookies = {self.proxy.send(ANNA, path="/api/").headers["Set-Cookie"] for _ in range(9)}
        names = {re.match("vexo_machine=(m[123]); path=/; HttpOnly$", cookie).group(1)
                 for cookie in cookies}
        self.assertEqual(names, {"m1", "m2", "m3"})
        for name in names:
            answer = self.proxy.send(ANNA, path="/api/", headers={"Cookie": f"vexo_machine={name}"})
            self.assertNotIn("Set-Cookie", answer.headers)
        for _ in range(9):
            answer = self.proxy.send(ANNA, path="/api/songs/1/stream", headers={"Range": "bytes=0-9"})
            self.assertEqual((answer.status, len(answer.body)), (206, 10))
        wait_until(lambda: len(self.proxy.served("streams")) == 9, "the proxy has logged all")
        self.assertEqual(len(set(self.proxy.served("streams"))), 1)


class Edits(MachinesTest):
    CLIENTS, EDITS = 48, 2000

    def test_of_many_clients_on_all_machines_are_all_there(self):
        servers = [machine.server for machine in self.machines]
        problems, hot = edit_all_at_once(servers, self.CLIENTS, self.EDITS)
        self.assertEqual(problems, [])
        self.assertGreater(min(len(hot.appended), len(hot.counted), len(hot.played)), 5)
        self.assertEqual([machine.examine() for machine in self.machines], [""] * 3)


class FastStorm(Storm):
    """Renames as fast as they go, on one machine after the other, as the edits."""

    CLIENTS, EDITS, FRONT, PAUSE = 24, 720, 800, 0.005

    def __init__(self, servers):
        super().__init__(servers[0], SHARED)
        self.servers = servers

    @property
    def server(self):
        return random.choice(self.servers)

    @server.setter
    def server(self, value):
        self.servers = [value]


class OnANetworkFileSystem(Storms, MachinesTest):
    """Renames that exchange two files, or that take no name which is taken, NFS and CephFS do not know. The
    other way, on which others may come between, is delayed here."""

    UNDER = ("strace", "-f", "--seccomp-bpf", "-qq", "-o", "/dev/null", "-e", "trace=renameat,renameat2",
             "-e", "inject=renameat2:error=EINVAL", "-e", "inject=renameat:delay_enter=2000")

    def test_nothing_appended_is_lost_to_a_rename(self):
        self.weather(FastStorm([machine.server for machine in self.machines]))
        self.assertEqual([machine.examine() for machine in self.machines], [""] * 3)


class Appends:
    """Clients that append to one list by the proxy."""

    CLIENTS, EACH = 24, 10

    def __init__(self, proxy):
        self.proxy = proxy
        self.id = proxy.add(SHARED, "appended", []).id
        self.done, self.unsure, self.late = [], [], []
        self.killed = threading.Event()

    def append(self, song):
        is_late = self.killed.is_set()
        try:
            answer = self.proxy.ask("addsongs", playlist=self.id, id_info_list=[{"res": song}])
            done = answer.success
        except (HTTPException, OSError, Mismatch):  # which is what a proxy's own answer is
            done = False
        (self.done if done else self.late if is_late else self.unsure).append(song)

    def client(self, number):
        for each in range(self.EACH):
            self.append(f"http://{number}/{each}")

    def run(self, machine):
        """Its web server is killed when a third is done."""
        with ThreadPoolExecutor(self.CLIENTS) as pool:
            clients = pool.map(self.client, range(self.CLIENTS))
            wait_until(lambda: len(self.done) > self.CLIENTS * self.EACH // 3, "a third is done")
            machine.kill_web_server()
            self.killed.set()
            list(clients)


class Failure(BehindAProxy):
    def test_when_a_web_server_is_killed_the_others_go_on(self):
        appends = Appends(self.proxy)
        appends.run(self.machines[1])
        self.assertEqual(appends.late, [])
        songs = songs_of(SHARED.file("appended"))
        self.assertEqual(len(songs), len(set(songs)))
        self.assertLessEqual(set(appends.done), set(songs))
        self.assertLessEqual(set(songs), {*appends.done, *appends.unsure})
        wait_until(lambda: "m2 is DOWN" in self.proxy.log(), "the proxy has found it out")
        self.machines[1].kill()
        self.machines[1].start()
        wait_until(lambda: "m2 is UP" in self.proxy.log(), "the proxy has found it again")
        self.assertEqual([machine.examine() for machine in self.machines], [""] * 3)


class ForALook(unittest.TestCase):
    """The command scripts/three_machines."""

    def test_a_machine_goes_and_the_others_go_on_and_nothing_is_left(self):
        before = sorted(BUILD.iterdir())
        port = free_port()
        shown = subprocess.Popen([SOURCE / "scripts/three_machines", f"--port={port}"], text=True,
                                 env={**os.environ, "VEXO_BUILD": str(BUILD)},
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        output = ""
        while not output.endswith("Ctrl-C ends it.\n"):
            line = shown.stdout.readline()
            self.assertTrue(line, f"it has ended: {output}")
            output += line
        password = re.search("password (.*)", output).group(1)
        for _ in range(2):
            for _ in range(6):
                answer = Client(port).send(ANNA, path="/api/albums", password=password)
                self.assertEqual(answer.status, 200)
            shown.stdin.write("2\n")
            shown.stdin.flush()
            self.assertRegex(shown.stdout.readline(), "2 is o(n|ff)")
        shown.terminate()
        shown.communicate(timeout=60)
        self.assertEqual(sorted(BUILD.iterdir()), before)
        self.assertFalse(Client(port).listens())


if __name__ == "__main__":
    unittest.main()
