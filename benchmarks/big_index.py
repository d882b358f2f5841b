"""A device root whose index holds as many songs as one likes; the indexes are made once a build."""

import os
import time

from server import BIN, BUILD, LIBRARY, ROOT, Server, lay_root, run

SMALL, BIG = 10_000, 1_000_000
RARE = "zyx rare"
# Part of the playlists' names: an index keeps the rows of earlier runs, though their files are gone.
RUN = f"{time.time_ns():x}"
INDEX = ROOT / "var/lib/vexo/index.db"


def index_of(songs):
    """The index of so many songs; 100 of them have the text RARE."""
    file = BUILD / f"index-{songs}.db"
    if not file.exists():
        unfinished = file.with_suffix(".new")
        for leftover in BUILD.glob(f"{unfinished.name}*"):
            leftover.unlink()
        run(BIN / "make_index", unfinished, songs, LIBRARY, timeout=1800)
        os.rename(unfinished, file)
    return file


def use(songs):
    """From now on requests work on the index of so many songs."""
    link = INDEX.with_suffix(".link")
    link.symlink_to(index_of(songs))
    os.rename(link, INDEX)


def serve():
    """A fresh root and a server on it, without an index as yet."""
    lay_root()
    return Server()
