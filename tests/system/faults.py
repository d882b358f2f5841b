"""Runs the program again and again, each time with a fault at another of its system calls."""

import collections
import re
import tempfile
from pathlib import Path

from server import cgi

CALL = re.compile(r"^(\w+)\(", re.MULTILINE)


def count_calls(run):
    """How often a program makes which system call; `run` starts it below a wrapper."""
    with tempfile.NamedTemporaryFile() as log:
        run(["strace", "-qq", "-o", log.name])
        return collections.Counter(CALL.findall(Path(log.name).read_text()))


def system_calls(user, **parameters):
    """How often the program makes which system call in answering this request."""
    return count_calls(lambda wrapper: cgi(user, wrapper, **parameters))


def steps(counts, only=None):
    """(call, number) of each of the counted system calls, of those in `only` if given."""
    for call, count in sorted(counts.items()):
        if only is None or call in only:
            for number in range(1, count + 1):
                yield call, number


def killed_at(call, number):
    """The wrapper that kills the program when it is about to make that call."""
    return ["strace", "-qq", "-o", "/dev/null", "-e", f"trace={call}",
            "-e", f"inject={call}:signal=SIGKILL:when={number}"]


def failing_at(call, number, error):
    """The wrapper that makes that one call fail with the error (ENOSPC, EIO)."""
    return ["strace", "-qq", "-o", "/dev/null", "-e", f"trace={call}",
            "-e", f"inject={call}:error={error}:when={number}"]
