"""check_tidy.py SOURCE BUILD: clang-tidy has nothing to say about the program and the platform.

A file that passed is not looked at again until it, or something it includes, has changed: what it
consisted of when it passed is kept in BUILD/tidy.json.
"""

import hashlib
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

source, build = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
passed_file = build / "tidy.json"
configuration = b"".join(path.read_bytes() for path in [
    source / ".clang-tidy", *sorted((source / "platform").rglob(".clang-tidy"))])


def commands():
    """The compile command of every source of the program and the platform."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = Path(entry["file"])
        if path.is_relative_to(source / "src") or path.is_relative_to(source / "platform"):
            yield str(path), entry


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


def fingerprint(entry, files):
    digest = hashlib.sha256(entry["command"].encode())
    digest.update(configuration)
    for name in sorted(files):
        status = os.stat(build / name)
        digest.update(f"{name} {status.st_size} {status.st_mtime_ns}\n".encode())
    return digest.hexdigest()


def tidy(path):
    done = subprocess.run(["clang-tidy", "--quiet", "-p", str(build), path], check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return path, done.returncode == 0, done.stdout


def main():
    passed = json.loads(passed_file.read_text()) if passed_file.exists() else {}
    recorded = dependencies()
    now = {path: fingerprint(entry, recorded.get(entry.get("output"), [path]))
           for path, entry in commands()}
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
    return 1 if failed or not now else 0


sys.exit(main())
