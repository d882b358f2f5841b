"""kill -9 at the system calls of an action that writes.

What is there afterwards is the old state or the new one; the doctor tells what was left half done,
and mends it. A file of tests an action, as the walks are long.
"""

import itertools
import signal

import faults
from server import KINDS, LIBRARY, LONG, PREFERENCE, SHARED, RootTest, cgi, examine, objects, playlistctl

# One of them is a file that is not there.
OLD = ["http://old/1", f"{LIBRARY}/gone.mp3", "http://old/3"]

# The personal library takes the same road as the shared one, with another owner.
WALKED = KINDS if LONG else (SHARED, PREFERENCE)
# A kill at a call that only asks finds the files as they are at the next one that does not;
# what lies in shared memory meanwhile, only the long walk sees.
ASKING = frozenset("""arch_prctl brk faccessat2 fstatfs getegid geteuid getgid getpid getrandom getuid lseek
    mprotect newfstatat pread64 prlimit64 read readlink rseq rt_sigaction set_robust_list
    set_tid_address statx""".split())


def kill_points(counts):
    """(call, number) of each of the counted system calls that a walk kills at."""
    return faults.steps(counts, None if LONG else counts.keys() - ASKING)


class KillTest(RootTest):
    numbers = itertools.count()

    def make(self, kind, *songs):
        """A new playlist: its name and its id."""
        name = f"playlist {next(self.numbers)}"
        _, answer = cgi(kind.user, action="add", name=name, type=kind.type,
                        id_info_list=objects(*songs))
        return name, answer.id

    def each_kill(self, kind, parameters_of, songs=OLD):
        """Kills the request parameters_of(name, id), on another playlist each time, at each kill
        point. Yields the playlist's name, after the kill."""
        user = kind.user
        counts = faults.system_calls(user, **parameters_of(*self.make(kind, *songs)))
        kills = 0
        for call, number in kill_points(counts):
            name, id_ = self.make(kind, *songs)
            status, _ = cgi(user, faults.killed_at(call, number), **parameters_of(name, id_))
            kills += status in (-signal.SIGKILL, 128 + signal.SIGKILL)
            with self.subTest(f"{kind.name}, {call} {number}"):
                yield name
        self.assertGreater(kills, 10)

    def assert_mended(self, *kinds):
        """The doctor mends everything, and leaves nothing but playlists."""
        playlistctl("doctor", "--repair")
        self.assertEqual(examine(), "")
        for kind in kinds:
            left = [path.name for path in kind.folder.iterdir() if path.suffix != ".m3u"]
            self.assertEqual(left, [])
