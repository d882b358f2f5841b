"""The index's server, or the pgbouncer before it, ends in the middle of edits, and comes back."""

import unittest

from cluster import Cluster
from editors import Editors
from postgres import Bouncer
from server import ServerTest, playlistctl


class Restart(Editors, ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.cluster = Cluster(settings="full_page_writes = off\n")
        cls.addClassCleanup(cls.cluster.stop)
        cls.cluster.start()
        cls.bouncer = Bouncer(cls.cluster.folder, cls.cluster.folder)
        cls.addClassCleanup(lambda: cls.bouncer.stop())
        playlistctl("index", "move", "--to", cls.cluster.url)

    def restart_bouncer(self):
        type(self).bouncer = Bouncer(self.cluster.folder, self.cluster.folder)

    def kill_bouncer(self):
        self.bouncer.process.kill()
        self.bouncer.process.wait()

    def test_the_server_is_killed(self):
        self.weather(self.cluster.url, (self.cluster.kill, self.cluster.start),
                     (self.cluster.stop_at_once, self.cluster.start))

    def test_the_server_or_the_pgbouncer_before_it_is_killed(self):
        self.weather(self.bouncer.url, (self.cluster.kill, self.cluster.start),
                     (self.kill_bouncer, self.restart_bouncer))


if __name__ == "__main__":
    unittest.main()
