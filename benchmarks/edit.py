"""Edits of a playlist of nearly as many songs as one may have, beside copying its file."""

import os
import shutil

from ratio import Ratio, medians

LENGTH = 99_000


def copy_durably(file):
    """What replacing a file costs at the least."""
    copy = file.with_suffix(".copy")
    shutil.copyfile(file, copy)
    with open(copy, "rb") as written:
        os.fsync(written.fileno())
    os.rename(copy, file)
    folder = os.open(file.parent, os.O_RDONLY)
    os.fsync(folder)
    os.close(folder)


def measure():
    from big_index import RUN, SMALL, serve, use
    from server import SHARED

    server = serve()
    try:
        use(SMALL)
        ids = [str(number % SMALL + 1) for number in range(LENGTH)]
        playlist = server.add(SHARED, f"long {RUN}", ids).id
        file = SHARED.file(f"long {RUN}")
        whole = file.read_bytes()
        positions = ",".join(str(number) for number in range(0, LENGTH, LENGTH // 1000))

        def edit(action, **parameters):
            answer = server.ask(action, playlist=playlist, **parameters)
            if not answer.success:
                raise RuntimeError(answer)

        def append():
            edit("addsongs", id_info_list=["7"])

        def remove():
            edit("removesongs", seq_list=positions)

        append()
        copied, appended = medians(31, lambda: copy_durably(file), append)
        yield Ratio("append to 99,000 songs : copy, sync and rename", appended, copied, 1.5)
        removed = []
        copied = []
        for _ in range(31):
            file.write_bytes(whole)
            copied += medians(1, lambda: copy_durably(file))
            removed += medians(1, remove)
        yield Ratio("removal of 1,000 of 99,000 songs : copy, sync and rename",
                    sorted(removed)[15], sorted(copied)[15], 3)
    finally:
        server.stop()
