"""The first walk of the README, command by command, as a newcomer types it: on a fresh server of the
demo tracks, with an MPD. What a command prints has to be what the README shows, where "..." may stand
for anything.
"""

import re
import shutil
import subprocess
import tempfile
import unittest

from player_daemon import Daemon, PlayerMpd
from server import LIBRARY, PASSWORD, ROOT, SOURCE, ServerTest, playlistctl


def walk():
    """The commands of the README's walk, each with what it prints."""
    text = (SOURCE / "README.md").read_text().split("\n## A first walk\n")[1].split("\n## ")[0]
    for block in re.findall(r"^```\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
        for step in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
            lines = step.splitlines()
            end = next(number for number, line in enumerate(lines)
                       if not line.endswith("\\") and not line.endswith("|")) + 1
            yield "\n".join(lines[:end]), "\n".join(lines[end:])


def pattern(shown):
    return r".*?".join(map(re.escape, shown.split("...")))


class Walk(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        playlistctl("account", "set", "anna", "--admin", "on")
        (ROOT / "etc/vexo/playlist.conf").write_text(f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n")
        (LIBRARY / "playlists").mkdir(exist_ok=True)
        cls.mpd = PlayerMpd()
        cls.addClassCleanup(cls.mpd.stop)
        cls.daemon = Daemon()
        cls.addClassCleanup(cls.daemon.stop)
        cls.folder = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.folder)

    def test_prints_what_the_readme_shows(self):
        steps = list(walk())
        self.assertGreater(len(steps), 15)
        for (command, shown), got in zip(steps, self.type([command for command, _ in steps])):
            with self.subTest(command):
                self.assertRegex(got.strip(), f"(?s)^{pattern(shown)}$")

    def type(self, commands):
        """Runs the commands in one shell, and gives what each of them prints."""
        script = "\n".join([f"PASSWORD='{PASSWORD}'", *(f"{command}\nprintf '\\0'" for command in commands)])
        run = subprocess.run(["bash", "-c", script.replace("127.0.0.1:8080", f"127.0.0.1:{self.server.port}")],
                             cwd=self.folder, timeout=120, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, check=False)
        printed = run.stdout.decode().split("\0")[:-1]
        self.assertEqual(len(printed), len(commands), run.stdout)
        return printed


if __name__ == "__main__":
    unittest.main()
