"""The command `serve`, on the programs of this build."""

import os
import re
import shutil
import signal
import socket
import subprocess
import time
import unittest
from pathlib import Path

from server import BUILD, LIBRARY, ROOT, SOURCE, encode, free_port, run, songs_of, wait_until

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


def listens(path):
    """Whether a socket takes connections."""
    with socket.socket(socket.AF_UNIX) as client:
        return client.connect_ex(str(path)) == 0


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

    def curl_line(self):
        return re.search(r"^  curl .*?[^\\]$", self.output, re.MULTILINE | re.DOTALL).group()

    def run_curl_line(self):
        return subprocess.check_output(["sh", "-c", self.curl_line()], text=True,
                                       stderr=subprocess.DEVNULL)

    def run_curl_line_again(self):
        """In another second, as the time is in the name of the playlist that it makes."""
        first = time.strftime("%S")
        wait_until(lambda: time.strftime("%S") != first, "the next second")
        return self.run_curl_line()

    def ask(self, **parameters):
        """A request as one of the accounts that were printed: the answer's text."""
        user = re.search(r"curl -u (\S+)", self.output).group(1)
        return run("curl", "-s", "-u", user, "-d", encode(parameters),
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
            wait_until(lambda path=ROOT / "tmp" / name: listens(path), f"{name} listens")
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
