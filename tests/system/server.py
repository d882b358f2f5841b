"""The real program behind a real lighttpd, in a device root of its own.

The root's place is fixed when the programs are built; ./test lets each test have a folder of its own
there (tests/support/own_root). Each test class starts from an empty one.
"""

import base64
import http.client
import json
import os
import shutil
import signal
import socket
import subprocess
import time
import unittest
import urllib.parse
from pathlib import Path

from openapi import PROGRAM, check_action, check_program
from places import BUILD, SOURCE

ROOT = BUILD / "root"
BIN = BUILD / "bin"
LIBRARY = ROOT / "library"
CONFIG = ROOT / "etc/vexo/playlist.conf"
PASSWORD = "correct horse"
LONG = "VEXO_LONG" in os.environ

# One user with a personal library, one without.
ANNA, BEN = "anna", "ben"


class Kind:
    """A place where playlists are kept: who asks, with which `type`, and where the files lie."""

    def __init__(self, name, user, type_, folder, indexed=True):
        self.name, self.user, self.type, self.folder = name, user, type_, folder
        self.indexed = indexed

    def file(self, playlist):
        return self.folder / f"{playlist}.m3u"


SHARED = Kind("shared", ANNA, "shared", LIBRARY / "playlists")
PERSONAL = Kind("personal", ANNA, "personal", ROOT / "var/services/homes/anna/music/playlists")
PREFERENCE = Kind("preference", BEN, "personal", ROOT / "var/lib/vexo/preferences/ben/playlists",
                  indexed=False)
KINDS = (SHARED, PERSONAL, PREFERENCE)


class Answer:
    """What came back: the status, the bytes, and as `json` the parsed document."""

    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body

    @property
    def json(self):
        return json.loads(self.body)

    @property
    def success(self):
        return self.json.get("success")

    @property
    def error(self):
        """"section/key" of the error, "" without one."""
        error = self.json.get("error")
        return f"{error['section']}/{error['key']}" if error else ""

    @property
    def id(self):
        """The node id of the playlist that was made."""
        return self.json["node"]["id"]

    def __repr__(self):
        return f"<{self.status} {self.body[:300]!r}>"


def run(*command, **options):
    """Runs a program that must succeed, and gives its standard output."""
    options.setdefault("timeout", 120)
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False, **options)
    if done.returncode:
        raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def playlistctl(*arguments, **options):
    return run(BIN / "playlistctl", *arguments, **options)


def examine():
    """What the doctor finds, "" when all is well."""
    done = subprocess.run([BIN / "playlistctl", "doctor"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=120, check=False)
    if done.returncode not in (0, 1):
        raise AssertionError(done.stdout)
    return done.stdout if done.returncode else ""


def use_index(url):
    """The index is there from now on."""
    CONFIG.write_text(f"[index]\nurl = {url}\n")


def move_index(to):
    playlistctl("index", "move", "--to", to)
    use_index(to)


class Index:
    """Where the index of a new root lies. `new`: gives the URL of an empty one; None: a file of the root."""

    new = None
    url = ""


def lay_root():
    """An empty device root with an empty shared library, ANNA and BEN."""
    shutil.rmtree(ROOT, ignore_errors=True)
    LIBRARY.mkdir(parents=True)
    run(SOURCE / "scripts/lay_root", ROOT, BIN, LIBRARY)
    if Index.new:
        Index.url = Index.new()
        use_index(Index.url)
    add_account(ANNA, "--personal", "on")
    add_account(BEN)


def add_account(name, *options):
    playlistctl("account", "add", name, *options, "--password-stdin", input=PASSWORD + "\n")


def copy_demo_tracks():
    """The demo tracks into the shared library, and into the index. Gives their paths."""
    shutil.copytree(SOURCE / "demo/music", LIBRARY, dirs_exist_ok=True)
    playlistctl("scan")
    return sorted(str(path) for path in LIBRARY.rglob("*.*")
                  if path.is_file() and path.suffix != ".jpg")


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def listens(path):
    """Whether a UNIX socket takes connections. Its file is there before it does."""
    with socket.socket(socket.AF_UNIX) as client:
        return client.connect_ex(str(path)) == 0


def wait_until(condition, what, seconds=20):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"timed out: {what}")
        time.sleep(0.02)


def start(command, log_file, listens, **options):
    """Starts a server that logs into a file, and gives its process when it listens. One that does not
    is ended."""
    with open(log_file, "ab") as log:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                   **options)
    try:
        wait_until(lambda: process.poll() is not None or listens(), f"{command[0]} listens")
        if process.returncode is not None:
            raise AssertionError(f"{command[0]} ended:\n{log_file.read_text(errors='replace')}")
    except BaseException:
        process.kill()
        process.wait()
        raise
    return process


class Client:
    """Asks who listens on a port of the loopback."""

    def __init__(self, port):
        self.port = port

    def listens(self):
        with socket.socket() as client:
            return client.connect_ex(("127.0.0.1", self.port)) == 0

    def send(self, user, query="", body=None, headers=None, password=PASSWORD, timeout=120,
             method=None, path=PROGRAM):
        """One request: a POST when there is a body. No user: one without authentication."""
        headers = dict(headers or {})
        if user is not None:
            token = base64.b64encode(f"{user}:{password}".encode()).decode()
            headers["Authorization"] = f"Basic {token}"
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=timeout)
        try:
            method = method or ("GET" if body is None else "POST")
            connection.request(method, f"{path}?{query}" if query else path, body, headers)
            response = connection.getresponse()
            answer = Answer(response.status, response.headers, response.read())
        finally:
            connection.close()
        if path == PROGRAM:
            check_program(method, answer)
        return answer

    def ask(self, action, user=ANNA, **parameters):
        """An action by POST, its parameters as texts, or as JSON where they are lists."""
        parameters = {"action": action, **parameters}
        answer = self.send(user, body=encode(parameters),
                           headers={"Content-Type": "application/x-www-form-urlencoded"})
        check_action(parameters, answer)
        return answer

    def add(self, kind, name, songs=None, **parameters):
        if songs is not None:
            parameters["id_info_list"] = songs
        return self.ask("add", kind.user, name=name, type=kind.type, **parameters)


class Server(Client):
    """A lighttpd on a free port of the loopback."""

    def __init__(self, address="127.0.0.1", without=(), port=None, root=ROOT, enter=(), proxy=""):
        """Lines of the configuration that hold any of the texts `without` are left out. `root`: where
        the device root lies that it has where the command `enter` leads. `proxy`: the address of what
        stands in front."""
        super().__init__(port or free_port())
        conf = "etc/lighttpd.conf"
        lines = run(*enter, SOURCE / "scripts/lighttpd_conf", ROOT, address, self.port,
                    proxy).splitlines()
        (root / conf).write_text("".join(f"{line}\n" for line in lines
                                         if not any(text in line for text in without)))
        self.log_file = root / "var/log/vexo/lighttpd.log"
        self.process = start([*enter, "lighttpd", "-D", "-f", ROOT / conf], self.log_file,
                             self.listens, start_new_session=True)

    def log(self):
        """All that the web server and the programs it started have logged."""
        return self.log_file.read_text(errors="replace")

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(20)


def encode(parameters):
    """URL-encoded text; lists become JSON."""
    texts = {key: json.dumps(value) if isinstance(value, (list, dict)) else value
             for key, value in parameters.items()}
    return urllib.parse.urlencode(texts)


def cgi_environment(user, body):
    return {
        "PATH": os.environ["PATH"], "GATEWAY_INTERFACE": "CGI/1.1", "REQUEST_METHOD": "POST",
        "REMOTE_USER": user, "QUERY_STRING": "", "HTTP_HOST": "127.0.0.1",
        "CONTENT_TYPE": "application/x-www-form-urlencoded", "CONTENT_LENGTH": str(len(body)),
    }


def cgi(user, wrapper=(), program="audio_playlist.cgi", **parameters):
    """Runs the program without a web server, below the command `wrapper` (strace, prlimit).

    Gives its exit status (negative: the signal that ended it), and its answer, None without one.
    """
    body = encode(parameters).encode()
    done = subprocess.run([*map(str, wrapper), str(BIN / program)], input=body,
                          env=cgi_environment(user, body), stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, cwd=ROOT / "www", timeout=120, check=False)
    _, _, answer = done.stdout.partition(b"\n\n")
    if b"\r\n\r\n" in done.stdout:
        _, _, answer = done.stdout.partition(b"\r\n\r\n")
    return done.returncode, Answer(200, {}, answer) if answer else None


def songs_of(path):
    """The entries of a playlist file: its lines that are neither empty nor comments."""
    lines = Path(path).read_text().splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def tree(*folders):
    """Every path below the folders with its kind, and for a file its bytes."""
    found = {}
    for folder in folders:
        for path in sorted(Path(folder).rglob("*")):
            if path.is_symlink():
                found[str(path)] = os.readlink(path)
            else:
                found[str(path)] = path.read_bytes() if path.is_file() else "folder"
    return found


def objects(*songs):
    """Songs by their paths or addresses, as actions take them."""
    return [{"res": str(song)} for song in songs]


class RootTest(unittest.TestCase):
    """A fresh root with the demo tracks, whose paths are `tracks`."""

    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(shutil.rmtree, ROOT, ignore_errors=True)
        lay_root()
        cls.tracks = copy_demo_tracks()


class ServerTest(RootTest):
    """A fresh root and a server on it."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = Server()
        cls.addClassCleanup(cls.server.stop)
