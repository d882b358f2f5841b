"""The systemd units of packaging/ shut their programs off from what those do not need, and only that.

The programs run below strace, and what they do is compared with what their units allow.
"""

import os
import re
import subprocess
import tempfile
import unittest
from functools import lru_cache
from pathlib import Path

from player_daemon import Daemon, PlayerMpd
from server import BIN, LIBRARY, ROOT, SHARED, SOURCE, RootTest, cgi, run, wait_until

PACKAGING = SOURCE / "packaging"
WORST_EXPOSURE = 2.0
CALL = re.compile(r"^\d+ +(\w+)\((.*)", re.MULTILINE)
OPENED_TO_WRITE = re.compile(r'<([^>]*)>, "([^"]*)", [A-Z_|]*(?:O_WRONLY|O_RDWR|O_CREAT)')
# What only root gives to others: the units run as somebody else.
ONLY_ROOT = {"chown", "fchown", "lchown"} if os.geteuid() == 0 else set()


def settings(unit, name):
    """The values of a setting of a unit, in their order."""
    return re.findall(rf"^{name}=(.*)$", (PACKAGING / unit).read_text(), re.MULTILINE)


@lru_cache(maxsize=None)
def calls_of(name):
    """The system calls that a name in a filter stands for."""
    if not name.startswith("@"):
        return frozenset([name])
    lines = run("systemd-analyze", "--no-pager", "syscall-filter", name).splitlines()[1:]
    members = [line.strip() for line in lines if line.strip() and "#" not in line]
    return frozenset().union(*map(calls_of, members))


def allowed_calls(unit):
    allowed = set(calls_of("@default"))
    for value in settings(unit, "SystemCallFilter"):
        named = set().union(*map(calls_of, value.lstrip("~").split()))
        allowed = allowed - named if value.startswith("~") else allowed | named
    return allowed


class Exposure(unittest.TestCase):
    def test_each_service_is_shut_off(self):
        for unit in sorted(PACKAGING.glob("*.service")):
            report = run("systemd-analyze", "security", "--offline=true", "--no-pager", unit)
            exposure = float(re.search(r"exposure level for \S+: ([\d.]+)", report).group(1))
            self.assertLessEqual(exposure, WORST_EXPOSURE, unit.name)

    def test_systemd_understands_every_line(self):
        units = sorted((*PACKAGING.glob("*.service"), *PACKAGING.glob("*.timer")))
        self.assertGreaterEqual(len(units), 3)
        said = subprocess.run(["systemd-analyze", "verify", "--man=no", *units], text=True,
                              stderr=subprocess.STDOUT, stdout=subprocess.PIPE, check=False).stdout
        self.assertEqual([line for line in said.splitlines() if "is not executable" not in line], [])


class Work(RootTest):
    """What the programs of the units do, in a device root with something to do for each."""

    def setUp(self):
        log = tempfile.NamedTemporaryFile()
        self.addCleanup(log.close)
        self.log = Path(log.name)
        self.strace = ["strace", "-f", "-y", "-q", "-s", "4096", "-o", log.name]

    def assert_allowed(self, unit, may_write):
        """All that was traced: `may_write` tells it of a path on the machine."""
        calls = CALL.findall(self.log.read_text(errors="replace"))
        self.assertGreater(len(calls), 100)
        self.assertEqual({name for name, _ in calls} - allowed_calls(unit) - ONLY_ROOT, set())
        families, = settings(unit, "RestrictAddressFamilies")
        for name, arguments in calls:
            if name in ("socket", "socketpair"):
                self.assertIn(arguments.split(",")[0], families.split())
            if name in ("mmap", "mprotect"):
                self.assertNotIn("PROT_WRITE|PROT_EXEC", arguments)
            for folder, path in OPENED_TO_WRITE.findall(arguments if name == "openat" else ""):
                path = os.path.normpath(os.path.join(folder, path))
                if path.startswith(f"{ROOT}/"):
                    path = path[len(str(ROOT)):]
                self.assertTrue(path.startswith("/dev/") or may_write(path), path)

    def test_scan_and_doctor(self):
        song = LIBRARY / "new.mp3"
        song.write_bytes(next(LIBRARY.rglob("*.mp3")).read_bytes())
        SHARED.folder.mkdir(exist_ok=True)
        SHARED.file("new").write_text(f"{song}\n")
        (ROOT / "tmp/audiodlABC123").mkdir()
        commands = settings("vexo-scan.service", "ExecStart")
        self.assertEqual(len(commands), 2)
        for command in commands:
            program, *arguments = command.split()
            self.assertEqual(program, "/usr/bin/playlistctl")
            run(*self.strace, BIN / "playlistctl", *arguments)
            self.assert_allowed("vexo-scan.service", lambda path: (
                not path.startswith(("/usr/", "/boot/", "/efi/", "/etc/"))
                or path.startswith("/etc/vexo/")))
        self.assertFalse((ROOT / "tmp/audiodlABC123").exists())

    def test_the_player_daemon(self):
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n")
        mpd = PlayerMpd()
        self.addCleanup(mpd.stop)
        mpd.fill([track.removeprefix(f"{LIBRARY}/") for track in self.tracks])
        daemon = Daemon(wrapper=[*self.strace, "-D"])
        try:
            _, answer = cgi(SHARED.user, action="addplaying", name="queue", type="shared", target="0")
            self.assertTrue(answer.success, answer)
        finally:
            self.assertEqual(daemon.stop(), 0)
        wait_until(lambda: "+++ exited with 0" in self.log.read_text(errors="replace"), "the trace ends")
        writable, = settings("vexoaudiod.service", "ReadWritePaths")
        self.assert_allowed("vexoaudiod.service", lambda path: path.startswith(
            tuple(f"{folder}/" for folder in writable.split())))


if __name__ == "__main__":
    unittest.main()
