"""run.py BUILD [NAME...]: runs the benchmarks of this folder and prints each ratio beside its bound.

Exit status 1: a bound was missed.
"""

import importlib
import os
import sys
from pathlib import Path

NAMES = ["startup", "floor", "add", "search", "edit", "library", "lists", "postgresql", "player", "download",
         "stream", "client"]


def main(build, *chosen):
    os.environ["VEXO_BUILD"] = str(Path(build).resolve())
    unknown = set(chosen) - set(NAMES)
    if unknown:
        sys.exit(f"no such benchmark: {', '.join(sorted(unknown))}; there are {', '.join(NAMES)}")
    missed = 0
    for name in chosen or NAMES:
        for ratio in importlib.import_module(name).measure():
            print(ratio, flush=True)
            missed += not ratio.met
    print(f"{missed} bounds missed" if missed else "every bound is met")
    return 1 if missed else 0


sys.exit(main(*sys.argv[1:]))
