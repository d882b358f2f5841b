"""three_machines.py PORT: what scripts/three_machines shows, in a device root of its own."""

import re
import shutil
import signal
import sys

from machines import Machines, Proxy
from server import ANNA, BIN, LIBRARY, ROOT, SOURCE, playlistctl, run

COUNT = 3


def lay_collection():
    """The demo tracks, and an account. Gives its password."""
    run(SOURCE / "scripts/lay_root", ROOT, BIN, LIBRARY)
    shutil.copytree(SOURCE / "demo/music", LIBRARY)
    told = playlistctl("account", "add", ANNA, "--personal", "on", "--admin", "on")
    playlistctl("scan")
    return re.search("^password: (.*)$", told, re.MULTILINE).group(1)


def tell(machines, proxy, password):
    print(f"\nThree machines on one collection are served at http://127.0.0.1:{proxy.port}/")
    print(f"  {ANNA}, password {password}\nEach of them alone:")
    for number, machine in enumerate(machines, 1):
        print(f"  {number}: http://127.0.0.1:{machine.port}/")
    print("A machine's number and Enter turns that machine off as a power failure does, and on again.")
    print("\nCtrl-C ends it.", flush=True)


def switch(machine, number):
    if machine.is_running:
        machine.kill()
    else:
        machine.start()
    print(f"{number} is {'on' if machine.is_running else 'off'}", flush=True)


def serve(machines, password):
    tell(machines, Proxy(machines, int(sys.argv[1])), password)
    numbers = {str(number): machine for number, machine in enumerate(machines, 1)}
    for line in sys.stdin:
        if line.strip() in numbers:
            switch(numbers[line.strip()], line.strip())
    signal.pause()


def main():
    password = lay_collection()
    together = Machines(COUNT)
    try:
        serve(together.all, password)
    finally:
        together.stop()


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit())
    try:
        main()
    except KeyboardInterrupt:
        print()
