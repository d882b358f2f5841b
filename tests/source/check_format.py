"""check_format.py SOURCE: every C++ file is as clang-format writes it."""

import subprocess
import sys
from pathlib import Path

source = Path(sys.argv[1])
files = sorted(str(path) for top in ("src", "platform", "library", "tests", "benchmarks")
               for path in (source / top).rglob("*") if path.suffix in (".h", ".cpp", ".c"))
sys.exit(subprocess.run(["clang-format", "--dry-run", "--Werror", *files], check=False).returncode)
