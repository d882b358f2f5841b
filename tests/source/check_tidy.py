"""check_tidy.py SOURCE BUILD: clang-tidy has nothing to say about the program and the platform.

It looks at what the compiler of BUILD looks at: at each source, or in a build that unites the sources
of a folder at these, which takes a quarter of the time. A file that passed is not looked at again
until it, or something it includes, has changed: what it consisted of when it passed is kept in
BUILD/tidy.json. (Two checks see nothing in united sources; test_unused_names.py does their work.)
"""

import hashlib
import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

source, build = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
passed_file = build / "tidy.json"
configuration = b"".join(path.read_bytes() for path in [
    source / ".clang-tidy", *sorted((source / "platform").rglob(".clang-tidy"))])


OURS = [top / folder for top in (source, build) for folder in ("src", "platform", "library")]
# A united source includes sources, which test_unused_names.py lets nobody else do.
OPTIONS = ["--quiet", "--checks=-bugprone-suspicious-include"]


def commands():
    """(source, its compile command, its object file) for the program and the platform."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = Path(entry["file"])
        if any(path.is_relative_to(folder) for folder in OURS):
            words = shlex.split(entry["command"])
            yield str(path), entry["command"], words[words.index("-o") + 1]


def dependencies():
    """Object file: all that it was compiled from, as ninja has recorded it."""
    found, target = {}, None
    for line in subprocess.check_output(["ninja", "-C", str(build), "-t", "deps"],
                                        text=True).splitlines():
        if line.startswith("    "):
            found[target].append(line.strip())
        elif ": #deps" in line:
            target = line.split(": #deps")[0]
            found[target] = []
    return found


def fingerprint(command, files):
    digest = hashlib.sha256(command.encode())
    digest.update(configuration)
    digest.update(Path(__file__).read_bytes())
    for name in sorted(files):
        status = os.stat(build / name)
        digest.update(f"{name} {status.st_size} {status.st_mtime_ns}\n".encode())
    return digest.hexdigest()


def tidy(path):
    done = subprocess.run(["clang-tidy", *OPTIONS, "-p", str(build), path], check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return path, done.returncode == 0, done.stdout


def main():
    passed = json.loads(passed_file.read_text()) if passed_file.exists() else {}
    recorded = dependencies()
    found = list(commands())
    missing = [path for path, _, output in found if output not in recorded]
    if missing or not found:
        print("not built:", *missing)
        return 1
    found.sort(key=lambda entry: len(recorded[entry[2]]), reverse=True)  # what takes longest, first
    now = {path: fingerprint(command, recorded[output]) for path, command, output in found}
    changed = [path for path in now if passed.get(path) != now[path]]
    failed = []
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for path, fine, output in pool.map(tidy, changed):
            if not fine:
                failed.append(path)
                print(output)
    passed_file.write_text(json.dumps({path: mark for path, mark in now.items()
                                       if path not in failed}))
    print(f"{len(now)} files, {len(changed)} of them looked at, {len(failed)} with findings")
    return 1 if failed else 0


sys.exit(main())
