"""Capturing the queue of a player, beside fetching its pages and doing nothing with them."""

import statistics

from ratio import Ratio, seconds

LENGTH = 1000


def measure():
    from player_daemon import Daemon, PlayerMpd
    from server import BIN, LIBRARY, ROOT, SHARED, Server, copy_demo_tracks, lay_root, run

    lay_root()
    tracks = [track.removeprefix(f"{LIBRARY}/") for track in copy_demo_tracks()]
    SHARED.folder.mkdir(parents=True, exist_ok=True)
    (ROOT / "etc/vexo/playlist.conf").write_text(f"[player 0]\nhost={ROOT}/tmp/mpd.sock\n")
    server, mpd, daemon = Server(), PlayerMpd(), Daemon()
    try:
        mpd.fill([tracks[number % len(tracks)] for number in range(LENGTH)])

        def in_process(rounds):
            *times, total = run(BIN / "capture_queue", rounds, "0").split()
            if int(total) != LENGTH:
                raise RuntimeError(f"a queue of {total}")
            return [float(time) for time in times]

        captured, fetched = in_process(21)
        yield Ratio("capture of a queue of 1,000 : 200 bare pages", captured, fetched, 1.5)

        if not server.add(SHARED, "captured").success:
            raise RuntimeError(server.log())

        def add_playing():
            answer = server.ask("addplaying", name="captured", type="shared", target="0",
                                overwrite="true")
            if not answer.success:
                raise RuntimeError(answer)

        pairs = [(seconds(add_playing), in_process(1)[1]) for _ in range(21)]
        requests, pages = (statistics.median(times) for times in zip(*pairs))
        yield Ratio("addplaying of a queue of 1,000, synced : 200 bare pages", requests, pages, 1.5)
    finally:
        daemon.stop()
        mpd.stop()
        server.stop()
