"""The scanner and the doctor work beside the requests: neither harms the other."""

import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from server import PERSONAL, SHARED, ServerTest, examine, playlistctl, songs_of

KINDS_WITH_ROWS = (SHARED, PERSONAL)


class Upkeep(ServerTest):
    CLIENTS, ROUNDS = 3, 12

    def setUp(self):
        self.stopped = threading.Event()

    def keep(self, *command):
        """Runs a command over and over until all is done; how often."""
        runs = 0
        while not self.stopped.is_set():
            playlistctl(*command)
            runs += 1
        return runs

    def live(self, client):
        """Playlists come, change, get other names, and half of them go. Gives those that stay."""
        stay = []
        for number in range(self.ROUNDS):
            kind = KINDS_WITH_ROWS[number % 2]
            name = f"{client} {number}"
            answer = self.server.add(kind, name, [{"res": "http://a/1"}])
            self.assertTrue(answer.success, answer)
            for step in ("x", "y", "z"):
                name = f"{client} {number} {step}"
                self.ask(kind, "saveplsname", id=answer.id, name=name)
                self.ask(kind, "addsongs", playlist=answer.id,
                         id_info_list=[{"res": f"http://a/{step}"}])
            if number % 4 < 2:
                self.ask(kind, "delete", playlists=answer.id)
            else:
                stay.append((kind, name, answer.id))
        return stay

    def ask(self, kind, action, **parameters):
        answer = self.server.ask(action, kind.user, **parameters)
        self.assertTrue(answer.success, (action, parameters, answer))

    def test_requests_are_not_harmed_by_the_scanner_and_the_doctor(self):
        with ThreadPoolExecutor(self.CLIENTS + 2) as pool:
            upkeep = [pool.submit(self.keep, "scan"), pool.submit(self.keep, "doctor", "--repair")]
            clients = [pool.submit(self.live, client) for client in range(self.CLIENTS)]
            try:
                stay = [playlist for client in clients for playlist in client.result()]
            finally:
                self.stopped.set()
            self.assertGreater(min(runs.result() for runs in upkeep), 0)
        for kind, name, id_ in stay:
            self.assertEqual(songs_of(kind.file(name)),
                             ["http://a/1", "http://a/x", "http://a/y", "http://a/z"])
            self.ask(kind, "saveplsname", id=id_, name=name + " at last")
            self.assertTrue(kind.file(name + " at last").exists(), "the id has stayed")
        for kind in KINDS_WITH_ROWS:
            self.assertEqual(len(list(kind.folder.iterdir())), len(stay) // 2)
        self.assertEqual(examine(), "")


if __name__ == "__main__":
    unittest.main()
