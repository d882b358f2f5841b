"""The command `serve`, on the programs of this build."""

import base64
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import time
import unittest
from pathlib import Path

from server import BIN, BUILD, LIBRARY, ROOT, SOURCE
from server import encode, free_port, listens, playlistctl, run, songs_of, wait_until

SERVE = SOURCE / "serve"
ENVIRONMENT = {**os.environ, "VEXO_BUILD": str(BUILD)}


def processes_of_the_root():
    """The command lines of all processes that work in the device root."""
    found = []
    for file in Path("/proc").glob("[0-9]*/cmdline"):
        try:
            line = file.read_bytes().replace(b"\0", b" ").decode(errors="replace")
        except OSError:
            continue
        if str(ROOT) in line:
            found.append(line)
    return found


class Served:
    """A running `serve`, and what it printed until it was ready."""

    def __init__(self, *arguments):
        self.port = free_port()
        self.process = subprocess.Popen(
            [str(SERVE), "--port", str(self.port), *map(str, arguments)], env=ENVIRONMENT, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            start_new_session=True)
        self.output = ""
        for line in self.process.stdout:
            self.output += line
            if "Ctrl-C" in line:
                return
        raise AssertionError(f"serve ended:\n{self.output}")

    def curl_lines(self):
        return re.findall(r"^  curl .*?[^\\]$", self.output, re.MULTILINE | re.DOTALL)

    def curl_line(self):
        """The one that makes a playlist."""
        return self.curl_lines()[-1]

    def run_curl_line(self):
        return subprocess.check_output(["sh", "-c", self.curl_line()], text=True,
                                       stderr=subprocess.DEVNULL)

    def run_curl_line_again(self):
        """In another second, as the time is in the name of the playlist that it makes."""
        first = time.strftime("%S")
        wait_until(lambda: time.strftime("%S") != first, "the next second")
        return self.run_curl_line()

    def user(self):
        """One of the accounts that were printed: NAME:PASSWORD."""
        return re.search(r"curl -u (\S+)", self.output).group(1)

    def ask(self, **parameters):
        """A request as that account: the answer's text."""
        return run("curl", "-s", "-u", self.user(), "-d", encode(parameters),
                   f"http://127.0.0.1:{self.port}/audio_playlist.cgi")

    def stop(self, number=signal.SIGINT):
        """Ctrl-C: the signal goes to all of the terminal's processes."""
        os.killpg(self.process.pid, number)
        self.process.communicate(timeout=30)
        return self.process.returncode


def refusal(*arguments, answer=None):
    """Status and output of a `serve` that does not start."""
    done = subprocess.run([str(SERVE), *map(str, arguments)], env=ENVIRONMENT, input=answer or "",
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60,
                          check=False)
    return done.returncode, done.stdout


class Serve(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(ROOT, ignore_errors=True)
        self.addCleanup(shutil.rmtree, ROOT, True)

    def serve(self, *arguments):
        served = Served(*arguments)
        self.addCleanup(lambda: served.process.poll() is None and served.stop())
        return served

    def test_the_first_start_serves_the_demo_tracks(self):
        served = self.serve()
        self.assertIn('"success":true', served.run_curl_line().replace(" ", ""))
        made = list((LIBRARY / "playlists").glob("*.m3u"))
        self.assertEqual([len(songs_of(file)) for file in made], [2])

    def test_the_printed_lines_list_songs_before_one_makes_a_playlist(self):
        served = self.serve()
        albums, songs, _ = served.curl_lines()
        for line, least in ((albums, 4), (songs, 5)):
            listed = json.loads(subprocess.check_output(["sh", "-c", line],
                                                        stderr=subprocess.DEVNULL))
            self.assertGreaterEqual(len(listed["items"]), least, line)
            self.assertTrue(all(item["id"] > 0 for item in listed["items"]))

    def test_the_printed_address_opens_the_client(self):
        served = self.serve()
        address = re.search(r"^is served at (\S+)$", served.output, re.MULTILINE).group(1)
        self.assertEqual(address, f"http://127.0.0.1:{served.port}/")
        self.assertIn("<title>", run("curl", "-sf", address))

    def test_the_printed_line_works_twice(self):
        served = self.serve()
        self.assertIn('"success":true', served.run_curl_line().replace(" ", ""))
        self.assertIn('"success":true', served.run_curl_line_again().replace(" ", ""))

    def test_a_second_start_keeps_everything(self):
        first = self.serve()
        first.run_curl_line()
        made = list((LIBRARY / "playlists").glob("*.m3u"))
        accounts = (ROOT / "etc/vexo/accounts").read_bytes()
        first.stop()
        second = self.serve()
        self.assertEqual((ROOT / "etc/vexo/accounts").read_bytes(), accounts)
        self.assertIn('"success":true', second.run_curl_line_again().replace(" ", ""))
        self.assertTrue(made[0].exists())

    def test_the_music_folder_that_is_named_is_served_and_remembered(self):
        music = BUILD / "some music"
        shutil.copytree(SOURCE / "demo/music", music, dirs_exist_ok=True)
        self.addCleanup(shutil.rmtree, music, True)
        self.serve(music).stop()
        self.assertEqual(os.readlink(ROOT / "var/services/music"), str(music))
        again = self.serve()
        again.run_curl_line()
        self.assertEqual(len(list((music / "playlists").glob("*.m3u"))), 1)

    def test_what_its_player_has_queued_becomes_a_playlist(self):
        music = BUILD / 'music of "quotes" and \\'
        shutil.copytree(SOURCE / "demo/music", music, dirs_exist_ok=True)
        self.addCleanup(shutil.rmtree, music, True)
        served = self.serve(music)
        player = ("mpc", "--host", ROOT / "tmp/mpd.sock", "-q")
        for name in ("mpd.sock", "vexoaudiod.sock"):
            self.assertTrue(listens(ROOT / "tmp" / name), name)
        run(*player, "--wait", "update")
        run(*player, "add", "/")
        queue = run(*player, "playlist", "-f", "%file%").splitlines()
        self.assertGreater(len(queue), 1)
        answer = served.ask(action="addplaying", type="shared", name="Queued", target="0")
        self.assertIn('"success":true', answer.replace(" ", ""))
        self.assertEqual(songs_of(music / "playlists/Queued.m3u"),
                         [f"{music}/{entry}" for entry in queue])

    def test_the_end_leaves_no_process(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number.name):
                self.serve().stop(number)
                self.assertEqual(processes_of_the_root(), [])

    def test_a_killed_one_leaves_no_process(self):
        served = self.serve()
        served.process.kill()
        served.process.communicate(timeout=30)
        wait_until(lambda: not processes_of_the_root(), "its processes end")

    def test_a_client_that_holds_its_connection_does_not_hold_up_the_end(self):
        served = self.serve()
        for request in (b"", b"GET / HTTP/1.1\r\nHost:", b"GET / HTTP/1.1\r\nHost: x\r\n\r\n"):
            client = socket.create_connection(("127.0.0.1", served.port))
            self.addCleanup(client.close)
            client.sendall(request)
        self.addCleanup(self.begin_download(served).close)
        self.assertEqual(served.stop(), 0)
        self.assertEqual(processes_of_the_root(), [])

    @staticmethod
    def begin_download(served):
        """A client that reads nothing of an archive that is larger than what is sent ahead."""
        songs = []
        for number in range(4):
            songs.append({"res": str(LIBRARY / f"large {number}.bin")})
            with open(songs[-1]["res"], "wb") as song:
                song.truncate(64 << 20)
        body = encode({"action": "download", "id_info_list": songs})
        token = base64.b64encode(served.user().encode()).decode()
        client = socket.create_connection(("127.0.0.1", served.port))
        client.sendall((f"POST /audio_playlist.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                        f"Authorization: Basic {token}\r\nContent-Length: {len(body)}\r\n"
                        f"Content-Type: application/x-www-form-urlencoded\r\n\r\n{body}").encode())
        client.recv(1)
        return client

    def test_a_port_whose_owner_says_nothing_is_an_error(self):
        with socket.create_server(("127.0.0.1", 0)) as owner:
            port = owner.getsockname()[1]
            status, output = refusal("--port", port)
        self.assertEqual(status, 1)
        self.assertIn(f"serve: the web server cannot listen on 127.0.0.1:{port}\n", output)
        self.assertEqual(processes_of_the_root(), [])

    def test_a_password_that_was_changed_is_not_printed(self):
        self.serve().stop()
        playlistctl("account", "passwd", "anna", "--password-stdin", input="another\n")
        again = self.serve()
        self.assertNotIn("anna, password", again.output)
        self.assertIn("ben, password", again.output)
        self.assertIn('"success":true', again.run_curl_line().replace(" ", ""))
        again.stop()
        playlistctl("account", "remove", "ben")
        last = self.serve()
        self.assertNotIn("password", last.output)
        self.assertIn("curl -u NAME:PASSWORD ", last.output)

    def test_a_library_without_its_last_song(self):
        served = self.serve()
        own = ROOT / "var/services/homes/anna/music"
        song = own / "only.mp3"
        shutil.copy(next(LIBRARY.rglob("*.mp3")), song)
        playlistctl("scan")
        served.stop()
        song.unlink()
        again = self.serve()
        self.assertIn("NOTE: the scan left", again.output)
        self.assertIn('"success":true', again.run_curl_line().replace(" ", ""))
        again.stop()
        way_out = re.search("^if they are gone for good: playlistctl (.*)", again.output,
                            re.MULTILINE).group(1)
        playlistctl(*way_out.split())
        self.assertNotIn("NOTE", self.serve().output)

    def test_a_music_folder_that_is_not_mounted(self):
        music = BUILD / "mounted"
        shutil.copytree(SOURCE / "demo/music", music, dirs_exist_ok=True)
        self.addCleanup(shutil.rmtree, music, True)
        self.serve(music).stop()
        away = music.rename(BUILD / "not mounted")
        self.addCleanup(shutil.rmtree, away, True)
        for what, told in (("missing", f"NOTE: there is no folder {music} now"),
                           ("empty", "NOTE: the scan left")):
            with self.subTest(what):
                if what == "empty":
                    music.mkdir()
                served = self.serve()
                self.assertIn(told, served.output)
                self.assertIn(f"  {BIN}/playlistctl scan\n", served.output)
                self.assertIn('"success":true',
                              served.ask(action="checkempty", playlist="musiclib_random"))
                served.stop()
        shutil.rmtree(music)
        away.rename(music)
        back = self.serve()
        self.assertNotIn("NOTE", back.output)
        self.assertIn('"success":true', back.run_curl_line().replace(" ", ""))

    def test_a_scan_that_fails(self):
        self.serve().stop()
        (ROOT / "var/lib/vexo/index.db").write_bytes(b"no database" * 1000)
        served = self.serve()
        self.assertIn("NOTE: the scan failed", served.output)
        self.assertIn(f"  {BIN}/playlistctl doctor\n", served.output)
        self.assertIn('"success"', served.ask(action="checkempty", playlist="musiclib_random"))

    def test_a_player_that_does_not_start(self):
        self.serve().stop()
        (ROOT / "etc/vexo/mpd_output.conf").write_text("no such setting\n")
        served = self.serve()
        self.assertIn(f"  {ROOT}/var/log/vexo/mpd.log\n", served.output)
        self.assertIn('"success":true', served.run_curl_line().replace(" ", ""))

    def test_a_port_in_use_is_an_error(self):
        served = self.serve()
        os.unlink(BUILD / "serve.lock")
        status, output = refusal("--port", served.port)
        self.assertEqual(status, 1)
        self.assertIn(f"127.0.0.1:{served.port}", output)

    def test_a_second_one_at_the_same_time_is_refused(self):
        self.serve()
        status, output = refusal("--port", free_port())
        self.assertEqual((status, output), (1, "serve: another one runs already\n"))

    def test_reset_asks_before_it_forgets(self):
        self.serve().stop()
        status, output = refusal("--reset", answer="n\n")
        self.assertEqual(status, 1)
        self.assertIn("nothing was changed", output)
        self.assertTrue((ROOT / "etc/vexo/accounts").exists())

    def test_bad_options_are_told(self):
        for arguments, told in ((["--port", "x"], "not a port: x"), (["--port", "0"], "not a port: 0"),
                                (["--port", "65536"], "not a port: 65536"),
                                (["--port"], "--port needs a value"),
                                (["--bind", ""], "not an address"),
                                (["--bind", 'a"b'], "not an address"),
                                (["--frob"], "unknown option --frob"),
                                (["a", "b"], "one music folder, not two"),
                                ([""], "the music folder's name is empty")):
            with self.subTest(arguments):
                status, output = refusal(*arguments)
                self.assertEqual(status, 2)
                self.assertIn(told, output)

    def test_a_music_folder_that_is_not_there_is_told(self):
        self.assertEqual(refusal("/not/there"), (1, "serve: there is no folder /not/there\n"))


if __name__ == "__main__":
    unittest.main()
