"""The configurations for lighttpd, nginx and Apache in packaging/: the client, passwords, sessions and both
programs."""

import os
import pwd
import shutil
import stat
import subprocess
import tempfile
import unittest
from pathlib import Path

from api import Api
from client_files import FILES, ClientFiles
from server import ANNA, BUILD, PASSWORD, ROOT, SHARED, SOURCE, RootTest, Server, encode, free_port
from server import listens, run, songs_of, start

FORM = {"Content-Type": "application/x-www-form-urlencoded"}
# Who runs the programs, as on a machine of its own: another user than root, whom Apache refuses.
USER = "www-data" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid()).pw_name


def let_everybody_pass(path):
    """Above `path`, folders that only their owner may enter are replaced, in the mounts of this test, by
    such as everybody may enter, with the same things in them."""
    for folder in reversed(path.parents):
        if folder.stat().st_mode & stat.S_IXOTH:
            continue
        if "VEXO_OWN_MOUNTS" not in os.environ:
            raise unittest.SkipTest(f"{USER} may not enter {folder}, and no mounts are this test's own")
        hidden = Path(tempfile.mkdtemp(dir="/dev/shm"))
        run("mount", "--rbind", folder, hidden)
        run("mount", "-t", "tmpfs", "-o", "mode=755", "open", folder)
        for entry in hidden.iterdir():
            place = folder / entry.name
            if entry.is_symlink():
                place.symlink_to(os.readlink(entry))
                continue
            if entry.is_dir():
                place.mkdir()
            else:
                place.touch()
            run("mount", "--rbind", entry, place)


def packaged(name, **places):
    """A configuration of packaging/, for this device root."""
    text = (SOURCE / "packaging" / name).read_text()
    # As where they are installed, no link leads to the programs, which lighttpd does not follow.
    programs = (ROOT / "www/audio_library.cgi").resolve().parent
    for old, new in {"/usr/lib/vexo/": f"{programs}/", "/usr/lib/vexo>": f"{programs}>",
                     "/usr/share/vexo/client": str(FILES.resolve()), "/etc/vexo/": f"{ROOT}/etc/vexo/", **places}.items():
        text = text.replace(old, new)
    return text


class OtherServer(Server):
    """A server whose programs lie below /playlists."""

    def __init__(self, command, log_file):  # pylint: disable=super-init-not-called
        self.log_file = log_file
        self.process = start(command, log_file, self.listens, start_new_session=True)

    def send(self, user, query="", body=None, headers=None, password=PASSWORD, timeout=120,
             method=None, path="/audio_playlist.cgi"):
        return super().send(user, query, body, headers, password, timeout, method,
                            "/playlists" + path)


class WebServers(ClientFiles):
    """What each of them has to do."""

    def test_the_page_is_found_without_the_slash(self):
        answer = self.server.send(None, path="")
        self.assertEqual(answer.status, 301)
        self.assertTrue(answer.headers["Location"].endswith("/playlists/"), answer.headers["Location"])

    def test_a_password_opens_both_programs(self):
        self.assertEqual(Api(self.server).get("/session").json["by"], "web_server")
        self.assertTrue(self.server.send(ANNA, "action=checkempty&playlist=musiclib_random").success)

    def test_a_wrong_password_opens_nothing(self):
        cookie = self.log_in()
        for path in ("/audio_playlist.cgi", "/api/session"):
            for headers in ({}, {"Cookie": cookie}):
                answer = self.server.send(ANNA, path=path, headers=headers, password="wrong")
                self.assertEqual(answer.status, 401)

    def test_nobody_is_asked_by_the_programs(self):
        for headers in ({}, {"Remote-User": ANNA}, {"Remote_User": ANNA}, {"Authorization": ""}):
            self.assertEqual(self.server.send(None, path="/api/session", headers=headers).json["status"],
                             401)
            self.assertEqual(self.server.send(None, headers=headers).error, "common/no_user")

    def test_a_session_opens_both_programs(self):
        cookie = self.log_in()
        who = Api(self.server, cookie=cookie).get("/session").json
        self.assertEqual((who["name"], who["by"]), (ANNA, "session"))
        body = encode({"action": "add", "name": "made", "type": "shared", "id_info_list": ["1", "2"]})
        made = self.server.send(None, body=body, headers={**FORM, "Cookie": cookie})
        self.assertTrue(made.success, made)
        self.assertEqual(len(songs_of(SHARED.file("made"))), 2)
        archive = self.server.send(None, encode({"action": "download", "playlist": made.id}),
                                   headers={"Cookie": cookie})
        self.assertEqual((archive.status, archive.body[:2]), (200, b"PK"))

    def test_an_edit_needs_the_version_that_was_seen(self):
        body = encode({"action": "add", "name": "versions", "type": "shared", "id_info_list": ["1"]})
        made = self.server.send(ANNA, body=body, headers=FORM)
        edit = encode({"action": "addsongs", "playlist": made.id, "id_info_list": ["2"]})
        for status, error in ((200, ""), (412, "common/version")):
            answer = self.server.send(ANNA, body=edit,
                                      headers={**FORM, "If-Match": made.headers["ETag"]})
            self.assertEqual((answer.status, answer.error), (status, error), answer)
        self.assertEqual(len(songs_of(SHARED.file("versions"))), 2)

    def test_songs_are_found_and_heard(self):
        api = Api(self.server)
        song = api.get("/songs", q="snail").json["items"][0]["id"]
        whole = api.get(f"/songs/{song}/stream")
        stretch = api.get(f"/songs/{song}/stream", headers={"Range": "bytes=10-29"})
        self.assertEqual((stretch.status, stretch.body), (206, whole.body[10:30]))
        self.assertEqual(stretch.headers["Content-Range"], f"bytes 10-29/{len(whole.body)}")
        again = api.get(f"/songs/{song}/stream", headers={"If-None-Match": whole.headers["ETag"]})
        self.assertEqual((again.status, again.body), (304, b""))

    def test_the_key_and_the_counts_belong_to_the_user_of_the_programs(self):
        self.log_in()
        for file in ("etc/vexo/session_key", "var/lib/vexo/login_attempts"):
            status = (ROOT / file).stat()
            self.assertEqual(pwd.getpwuid(status.st_uid).pw_name, USER, file)
            self.assertEqual(status.st_mode & 0o777, 0o600, file)

    def test_a_user_changes_the_password(self):
        api = Api(self.server, cookie=self.log_in())
        self.assertEqual(api.post("/password", {"old": PASSWORD, "new": "new one"}).status, 204)
        self.assertEqual(self.server.send(ANNA, path="/api/session", password="new one").status, 200)
        again = Api(self.server, cookie=self.log_in("new one"))
        self.assertEqual(again.post("/password", {"old": "new one", "new": PASSWORD}).status, 204)

    def log_in(self, password=PASSWORD):
        answer = Api(self.server, user=None).post("/session", {"name": ANNA, "password": password})
        self.assertEqual(answer.status, 200, answer)
        return answer.headers["Set-Cookie"].split(";")[0]


class WebServerTest(RootTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.port = free_port()
        cls.etc = ROOT / "etc"
        cls.log = ROOT / "var/log/vexo/web.log"
        if os.geteuid() == 0:  # as packaging/install gives it to the web server's user
            let_everybody_pass(BUILD)
            BUILD.chmod(BUILD.stat().st_mode | 0o111)
            subprocess.run(["chown", "-R", "-h", USER, ROOT, os.path.realpath(ROOT / "tmp")], check=True)

    @classmethod
    def serve(cls, *command):
        OtherServer.port = cls.port
        cls.server = OtherServer(command, cls.log)
        cls.addClassCleanup(cls.server.stop)


class Lighttpd(WebServers, WebServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # Else the web server would go by an old password for some seconds.
        (cls.etc / "playlists.conf").write_text(packaged(
            "vexo-playlists.conf", **{'  auth.cache = ("max-age" => "10")\n': ""}))
        (cls.etc / "lighttpd.conf").write_text(
            f'server.document-root = "{ROOT}/www"\nserver.bind = "127.0.0.1"\n'
            f'server.port = {cls.port}\nserver.upload-dirs = ("{ROOT}/var/tmp")\n' +
            f'server.username = "{USER}"\nserver.groupname = "{USER}"\n' * (os.geteuid() == 0) +
            f'include "{cls.etc}/playlists.conf"\n')
        cls.serve("lighttpd", "-D", "-f", str(cls.etc / "lighttpd.conf"))


@unittest.skipUnless(shutil.which("nginx") and shutil.which("fcgiwrap"), "no nginx with fcgiwrap")
class Nginx(WebServers, WebServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        socket = ROOT / "tmp/fcgiwrap.sock"
        programs = start(["setpriv", "--reuid", USER, "--regid", USER, "--clear-groups", "fcgiwrap",
                          "-s", f"unix:{socket}"] if os.geteuid() == 0 else
                         ["fcgiwrap", "-s", f"unix:{socket}"], cls.log,
                         lambda: socket.exists() and listens(socket))
        cls.addClassCleanup(programs.wait, 20)
        cls.addClassCleanup(programs.terminate)
        (cls.etc / "playlists.conf").write_text(packaged(
            "vexo-playlists.nginx.conf", **{"listen 80": f"listen 127.0.0.1:{cls.port}",
                                            "/run/fcgiwrap.socket": str(socket)}))
        folders = "".join(f"{name}_temp_path {ROOT}/var/tmp/{name};\n" for name in
                          ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        (cls.etc / "nginx.conf").write_text(
            f"user {USER};\n" * (os.geteuid() == 0) +
            f"daemon off;\npid {ROOT}/tmp/nginx.pid;\nerror_log stderr;\nevents {{}}\n"
            f"http {{\naccess_log off;\n{folders}include {cls.etc}/playlists.conf;\n}}\n")
        cls.serve("nginx", "-e", "stderr", "-c", str(cls.etc / "nginx.conf"))


@unittest.skipUnless(shutil.which("apache2"), "no Apache")
class Apache(WebServers, WebServerTest):
    MODULES = ("mpm_event", "authn_core", "authz_core", "authz_user", "auth_basic", "authn_file",
               "alias", "cgid", "headers",
               "deflate", "dir", "filter", "mime")  # these are turned on by Debian

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        modules = "".join(f"LoadModule {name}_module /usr/lib/apache2/modules/mod_{name}.so\n"
                          for name in cls.MODULES)
        (cls.etc / "apache.conf").write_text(
            f"ServerRoot {ROOT}\nServerName 127.0.0.1\nListen 127.0.0.1:{cls.port}\n{modules}"
            f"DocumentRoot {ROOT}/www\nTypesConfig /dev/null\nPidFile {ROOT}/tmp/apache.pid\nErrorLog {cls.log}\n"
            f"ScriptSock {ROOT}/tmp/cgid\nMutex posixsem\n" +
            f"User {USER}\nGroup {USER}\n" * (os.geteuid() == 0) +
            packaged("vexo-playlists.apache.conf"))
        cls.serve("apache2", "-D", "FOREGROUND", "-f", str(cls.etc / "apache.conf"))


if __name__ == "__main__":
    unittest.main()
