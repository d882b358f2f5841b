"""The web client in Chromium, on the index of a large library: what a person waits for, and what it costs the
page to scroll. The bounds are times, sizes and counts, not other programs'."""

import json
import os
import tempfile
from pathlib import Path

from ratio import Ratio

PATIENCE_SECONDS = 900


def figures(index):
    """What client/tests/browser/benchmark.ts prints."""
    from server import BIN, SOURCE, run
    client = SOURCE / "client"
    run(client / "build", BIN / "client", timeout=PATIENCE_SECONDS)
    packages = client / "node_modules"
    with tempfile.TemporaryDirectory(dir=packages) as folder:
        run(client / "tests/bundle", folder, "tests/browser/benchmark.ts")
        program = Path(folder) / "benchmark.mjs"
        printed = run("node", program, index, cwd=client, env=os.environ, timeout=PATIENCE_SECONDS)
    return [json.loads(line) for line in printed.splitlines()]


def measure():
    from big_index import BIG, index_of
    from server import lay_root
    lay_root()
    for figure in figures(index_of(BIG)):
        yield Ratio(f"client: {figure['name']}", figure["value"], figure["bound"], 1.0)
