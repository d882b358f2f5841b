"""Where the sources lie, and the build that is tested."""

import os
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VEXO_BUILD", SOURCE / "build/test")).resolve()
