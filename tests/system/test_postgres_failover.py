"""The index's server dies for good, and its standby takes its place."""

import signal
import unittest

from cluster import Cluster
from editors import Editors
from postgres import Bouncer
from server import SHARED, ServerTest, examine, playlistctl, songs_of, use_index, wait_until

STANDBY = "cluster_name = 'standby'\n"


def both(first, second):
    return (f"postgresql://vexo@/postgres?host={first.folder},{second.folder}"
            "&target_session_attrs=read-write")


class FailOver(Editors, ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.primary = Cluster(settings="full_page_writes = off\n")
        cls.addClassCleanup(lambda: cls.primary.stop())
        cls.primary.start()
        playlistctl("index", "move", "--to", cls.primary.url)

    def add_standby(self, is_synchronous):
        """A standby of the primary, which has caught up. `is_synchronous`: no transaction is committed
        that it does not have."""
        standby = Cluster(self.primary, settings=STANDBY)
        self.addCleanup(standby.stop)
        standby.start()
        if is_synchronous:
            self.primary.ask("ALTER SYSTEM SET synchronous_standby_names = 'standby'")
            self.primary.ask("SELECT pg_reload_conf()")
        state = "sync" if is_synchronous else "async"
        wait_until(lambda: self.primary.ask("SELECT sync_state FROM pg_stat_replication "
                                            "WHERE state = 'streaming'") == state, state)
        return standby

    def take_over(self, standby):
        standby.promote()
        type(self).primary = standby
        self._cleanups.remove((standby.stop, (), {}))

    def test_clients_that_know_both_go_on_with_the_standby(self):
        old, standby = self.primary, self.add_standby(is_synchronous=True)
        self.addCleanup(old.stop)
        self.weather(both(old, standby), (old.kill, lambda: self.take_over(standby)))

    def test_a_pgbouncer_is_told_of_the_standby(self):
        old, standby = self.primary, self.add_standby(is_synchronous=True)
        self.addCleanup(old.stop)
        bouncer = Bouncer(old.folder, old.folder)
        self.addCleanup(bouncer.stop)

        def take_over():
            self.take_over(standby)
            config = old.folder / "pgbouncer.ini"
            config.write_text(config.read_text().replace(f"* = host={old.folder}",
                                                         f"* = host={standby.folder}"))
            bouncer.process.send_signal(signal.SIGHUP)

        self.weather(bouncer.url, (old.kill, take_over))

    def test_a_standby_that_was_behind_lacks_rows_and_the_doctor_makes_them(self):
        old, standby = self.primary, self.add_standby(is_synchronous=False)
        self.addCleanup(old.stop)
        use_index(both(old, standby))
        kept, renamed, removed = [self.server.add(SHARED, f"{name} before", [{"res": "http://a/1"}]).id
                                  for name in ("kept", "renamed", "removed")]
        wait_until(lambda: standby.ask("SELECT count(*) FROM playlists") ==
                   old.ask("SELECT count(*) FROM playlists"), "the standby has the rows")
        standby.kill()
        made = self.server.add(SHARED, "made since", [{"res": "http://a/2"}])
        self.assertTrue(made.success, made)
        for action, more in (("addsongs", {"playlist": kept, "id_info_list": [{"res": "http://a/3"}]}),
                             ("saveplsname", {"id": renamed, "name": "renamed since"}),
                             ("delete", {"playlists": removed})):
            answer = self.server.ask(action, **more)
            self.assertTrue(answer.success, answer)
        old.kill()
        standby.start()
        self.take_over(standby)
        self.assertNotEqual(examine(), "")
        # Or ids that the standby has not heard of would be given again.
        for name in ("song_ids", "playlist_ids", "group_ids"):
            standby.ask(f"SELECT setval('{name}', nextval('{name}') + 100000)")
        playlistctl("doctor", "--repair")
        self.assertEqual(examine(), "")
        self.assertEqual(standby.ask("SELECT count(*) FROM playlists WHERE id > 100000"), "1")
        for id_, name in ((kept, "kept before"), (renamed, "renamed since")):
            answer = self.server.ask("addsongs", playlist=id_, id_info_list=[{"res": "http://a/4"}])
            self.assertTrue(answer.success, answer)
            self.assertEqual(songs_of(SHARED.file(name))[-1], "http://a/4")
        self.assertEqual(songs_of(SHARED.file("kept before"))[1], "http://a/3")
        self.assertEqual(songs_of(SHARED.file("made since")), ["http://a/2"])
        self.assertFalse(SHARED.file("removed before").exists())
        self.assertFalse(self.server.ask("addsongs", playlist=removed, id_info_list=["1"]).success)


if __name__ == "__main__":
    unittest.main()
