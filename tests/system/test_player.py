"""The player daemon on real MPDs, and their queues as playlists."""

import grp
import os
import signal
import socket
import stat
import subprocess
import time
import unittest
import wave
from concurrent.futures import ThreadPoolExecutor

from player_daemon import CONTROL, QUEUE, SELECT, Daemon, PlayerMpd, ask
from server import (BIN, LIBRARY, PERSONAL, PREFERENCE, ROOT, SHARED, ServerTest, run, songs_of,
                    wait_until)

STREAMS = ("http://radio.example/live", "http://radio.example/a?b=c&d=%20#e")
BLANK_FIRST = "folder/ blank first.wav"  # MPD has it in its queue, but loads it from no playlist
ODD_NAMES = ("-leading dash.wav", "quotes ' and \".wav", "小川 霧笛.wav", "a;b|c&d $(e) `f`.wav",
             "back\\slash.wav", "# no comment.wav", "percent %41 %s.wav", "two..dots.wav",
             "Å" * 120 + ".wav", "tab\tinside.wav", BLANK_FIRST, "http: not one.wav")


def write_silence(path):
    with wave.open(str(path), "wb") as sound:
        sound.setnchannels(1)
        sound.setsampwidth(2)
        sound.setframerate(8000)
        sound.writeframes(bytes(2 * 800))


def full(entries):
    return [entry if entry in STREAMS else f"{LIBRARY}/{entry}" for entry in entries]


class PlayerTest(ServerTest):
    """Two players, 0 and "usb", and a third one whose MPD does not run."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        write_silence(LIBRARY / "tone.wav")
        (LIBRARY / "folder").mkdir()
        for name in ODD_NAMES:
            (LIBRARY / name).write_bytes((LIBRARY / "tone.wav").read_bytes())
        SHARED.folder.mkdir(exist_ok=True)
        (ROOT / "etc/vexo/playlist.conf").write_text(
            f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n"
            f"[player usb]\nhost={ROOT}/tmp/usb.sock\nmusic_directory={LIBRARY}/\n"
            f"[player 7]\nhost={ROOT}/tmp/none.sock\n")
        cls.mpds = []
        for name in ("mpd", "usb"):
            cls.mpds.append(PlayerMpd(name))
            cls.addClassCleanup(cls.mpds[-1].stop)
        cls.files = [track.removeprefix(f"{LIBRARY}/") for track in cls.tracks]
        cls.all = [*ODD_NAMES, *STREAMS, *cls.files]
        cls.daemon = Daemon()
        cls.addClassCleanup(lambda: cls.daemon.stop())  # the one that runs then

    def capture(self, kind, name, target="0", **parameters):
        return self.server.ask("addplaying", kind.user, name=name, type=kind.type, target=target,
                               **parameters)


class Queues(PlayerTest):
    def entries(self, count):
        loadable = [entry for entry in self.all if entry != BLANK_FIRST]
        return [loadable[number % len(loadable)] for number in range(count)]

    def test_a_queue_becomes_a_playlist_and_the_playlist_the_queue(self):
        player = self.mpds[0]
        for count in (0, 1, 12, 1000):
            with self.subTest(count):
                player.fill(self.entries(count))
                answer = self.capture(SHARED, f"queue of {count}")
                self.assertTrue(answer.success, answer)
                playlist = SHARED.file(f"queue of {count}")
                self.assertEqual(songs_of(playlist), full(player.entries))
                if count:
                    player.mpc("clear")
                    player.mpc("load", f"queue of {count}")
                    self.assertEqual(player.queue(), player.entries)

    def test_every_kind_of_playlist_takes_a_queue(self):
        self.mpds[0].fill(self.all)
        for kind in (SHARED, PERSONAL, PREFERENCE):
            with self.subTest(kind.name):
                self.assertTrue(self.capture(kind, "captured").success)
                self.assertEqual(songs_of(kind.file("captured")), full(self.all))

    def test_an_existing_playlist_is_rewritten_only_when_told_so(self):
        self.mpds[0].fill(self.files[:3])
        self.assertTrue(self.capture(SHARED, "again").success)
        self.mpds[0].fill(self.files[3:5])
        self.assertEqual(self.capture(SHARED, "again").error, "playlist/playlist_name_exist")
        self.assertEqual(songs_of(SHARED.file("again")), full(self.files[:3]))
        self.assertTrue(self.capture(SHARED, "again", overwrite="true").success)
        self.assertEqual(songs_of(SHARED.file("again")), full(self.files[3:5]))

    def test_usb_is_a_player_of_its_own(self):
        self.mpds[0].fill(self.files[:2])
        self.mpds[1].fill(self.files[2:5])
        self.assertTrue(self.capture(SHARED, "usb", "usb").success)
        self.assertEqual(songs_of(SHARED.file("usb")), full(self.files[2:5]))
        self.assertTrue(self.capture(SHARED, "USB", "USB").success)
        self.assertEqual(songs_of(SHARED.file("USB")), full(self.files[:2]))

    def test_entries_tell_their_song_in_the_index(self):
        self.mpds[0].fill([self.files[0], STREAMS[0]])
        ask(SELECT, "0")
        page = ask(QUEUE, "0 5")
        self.assertEqual(page["total"], 2)
        song, stream = page["uris"]
        self.assertRegex(song["item_id"], r"^musiclib_music@[1-9][0-9]*$")
        self.assertEqual(song["res"], f"{LIBRARY}/{self.files[0]}")
        self.assertEqual(song["size"], str((LIBRARY / self.files[0]).stat().st_size))
        self.assertIsInstance(song["duration"], int)
        self.assertEqual(stream, {"res": STREAMS[0]})

    def test_two_users_capture_two_players_at_once(self):
        self.mpds[0].fill(self.files[:7] + list(STREAMS))
        self.mpds[1].fill(list(ODD_NAMES))

        def captures(kind, target, expected):
            wrong = not self.capture(kind, "at once", target).success
            for _ in range(200):
                answer = self.capture(kind, "at once", target, overwrite="true")
                wrong += not answer.success or songs_of(kind.file("at once")) != expected
            return wrong

        with ThreadPoolExecutor(2) as pool:
            runs = [pool.submit(captures, PERSONAL, "0", full(self.mpds[0].entries)),
                    pool.submit(captures, PREFERENCE, "usb", full(self.mpds[1].entries))]
            self.assertEqual([run_.result() for run_ in runs], [0, 0])

    def test_a_queue_of_the_browser_stream(self):
        queue = ROOT / "tmp/playing_anna.pls"
        queue.write_text(f"[playlist]\nFile1={self.tracks[0]}\nTitle1=One\nFile2={STREAMS[0]}\n"
                         "NumberOfEntries=2\nVersion=2\n")
        self.assertTrue(self.capture(SHARED, "streamed", "stream").success)
        self.assertEqual(songs_of(SHARED.file("streamed")), [self.tracks[0], STREAMS[0]])
        queue.rename(ROOT / "tmp/elsewhere.pls")
        queue.symlink_to(ROOT / "tmp/elsewhere.pls")
        self.assertEqual(self.capture(SHARED, "by a link", "stream").error, "common/error_system")

    def test_a_stream_without_a_queue_leaves_an_empty_playlist(self):
        answer = self.capture(PREFERENCE, "no stream", "stream")
        self.assertEqual(answer.error, "common/error_system")
        self.assertEqual(songs_of(PREFERENCE.file("no stream")), [])
        self.assertIn("Failed to get playlist from target [stream]", self.server.log())


class Failures(PlayerTest):
    def setUp(self):
        self.mpds[0].fill(self.files[:7])

    def fails(self, name, target="0"):
        self.assertEqual(self.capture(SHARED, name, target).error, "common/error_system")
        self.assertIn(f"Failed to get playlist from target [{target}]", self.server.log())

    def works(self, name):
        self.assertTrue(self.capture(SHARED, name).success)
        self.assertEqual(songs_of(SHARED.file(name)), full(self.files[:7]))

    def test_a_player_that_does_not_exist_is_no_empty_queue(self):
        self.fails("of no player", "3")

    def test_a_player_whose_mpd_does_not_run_is_no_empty_queue(self):
        self.fails("of no MPD", "7")

    def test_an_mpd_that_restarts(self):
        self.works("before")
        self.mpds[0].stop()
        self.fails("meanwhile")
        self.mpds[0].start()
        self.mpds[0].fill(self.files[:7])
        self.works("after")

    def test_an_mpd_that_hangs_keeps_the_others_alone(self):
        self.mpds[0].process.send_signal(signal.SIGSTOP)
        try:
            self.mpds[1].fill(self.files[:2])
            with ThreadPoolExecutor(1) as pool:
                hung = pool.submit(self.capture, SHARED, "of one that hangs")
                self.assertTrue(self.capture(PERSONAL, "of the other", "usb").success)
                self.assertEqual(hung.result().error, "common/error_system")
        finally:
            self.mpds[0].process.send_signal(signal.SIGCONT)
        self.works("of one that hung")

    def test_clients_that_are_silent_or_talk_garbage(self):
        clients = []
        for number in range(300):
            client = socket.socket(socket.AF_UNIX)
            client.connect(str(CONTROL))
            client.send((b"", b"\xff" * 100, b"\x00" * 8196, os.urandom(8196))[number % 4] or b"x")
            clients.append(client)
        self.works("despite them")
        for client in clients:
            client.close()
        self.assertIsNone(self.daemon.process.poll())

    def test_the_socket_is_for_its_user_and_group(self):
        self.assertEqual(stat.S_IMODE(CONTROL.stat().st_mode), 0o660)

    def test_a_second_daemon_does_not_start(self):
        second = subprocess.run([BIN / "vexoaudiod"], capture_output=True, text=True, timeout=20,
                                check=False)
        self.assertEqual(second.returncode, 1)
        self.assertIn("belongs to a daemon that runs", second.stderr)
        self.works("with the first")


class Life(PlayerTest):
    def test_a_signal_ends_it_and_removes_its_socket(self):
        for ending in (signal.SIGTERM, signal.SIGINT):
            self.assertEqual(self.daemon.stop(ending), 0)
            self.assertFalse(CONTROL.exists())
            type(self).daemon = Daemon()

    def test_it_ends_at_once_while_an_mpd_hangs(self):
        self.assertTrue(self.capture(SHARED, "on a connection that is kept").success)
        self.ends_while_an_mpd_hangs("kept")
        self.ends_while_an_mpd_hangs("never greeted, as the daemon is a new one")

    def ends_while_an_mpd_hangs(self, name):
        self.mpds[0].process.send_signal(signal.SIGSTOP)
        try:
            with ThreadPoolExecutor(1) as pool:
                hung = pool.submit(self.capture, SHARED, name)
                wait_until(SHARED.file(name).exists, "the request has begun")
                time.sleep(0.5)
                self.daemon.process.send_signal(signal.SIGTERM)
                self.assertEqual(self.daemon.process.wait(2), 0, "before the MPD's time is over")
                self.assertFalse(CONTROL.exists())
                self.assertEqual(hung.result().error, "common/error_system")
        finally:
            self.mpds[0].process.send_signal(signal.SIGCONT)
            type(self).daemon = Daemon()

    def test_a_killed_one_is_followed_by_another(self):
        self.daemon.stop(signal.SIGKILL)
        self.assertTrue(CONTROL.exists())
        self.assertEqual(self.capture(SHARED, "of nobody").error, "common/error_system")
        type(self).daemon = Daemon()
        self.mpds[0].fill(self.files[:2])
        self.assertTrue(self.capture(SHARED, "of the next").success)

    def test_the_group_of_the_command_line(self):
        self.assertEqual(self.daemon.stop(), 0)
        group = grp.getgrgid(os.getgroups()[-1] if os.getgroups() else os.getgid()).gr_name
        type(self).daemon = Daemon("--group", group)
        self.assertEqual(CONTROL.group(), group)


if __name__ == "__main__":
    unittest.main()
