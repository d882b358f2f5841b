"""The index on a PostgreSQL server beside the same index in SQLite's file: through the web server, one
client, straight to the server's socket and through a pgbouncer."""

from urllib.parse import quote

from ratio import Ratio, seconds

ROUNDS = 101
READS = (
    ("100 songs by title", "songs?sort=title&limit=100&offset=5000", 2.5),
    ("a search that finds 100 songs", "songs?sort=title&limit=100&q=" + quote("rare zyx"), 5),
)


def medians_on(urls, work):
    """The median seconds of the work on each of the indexes, which take turns."""
    from statistics import median

    from server import use_index
    times = {url: [] for url in urls}
    for number in range(-1, ROUNDS):
        for url, found in times.items():
            use_index(url)
            taken = seconds(lambda: work(number))
            if number >= 0:  # the first one wakes everything
                found.append(taken)
    return [median(found) for found in times.values()]


def measure():
    from add import ids
    from big_index import INDEX, RUN, SMALL, serve, use
    from library import fetch
    from postgres import Postgres
    from server import SHARED, playlistctl

    server = serve()
    postgres = Postgres()
    try:
        use(SMALL)
        playlistctl("index", "move", "--to", postgres.url, timeout=600)
        urls = (str(INDEX), postgres.bouncer_url, postgres.url)
        made = 0

        def add(number):
            nonlocal made
            made += 1
            answer = server.add(SHARED, f"on a server {made} {RUN}", ids(10, SMALL, number))
            if not answer.success:
                raise RuntimeError(answer)

        file, bouncer, socket = medians_on(urls, add)
        yield Ratio("add of 10 songs on PostgreSQL by pgbouncer : on SQLite", bouncer, file, 1.6)
        yield Ratio("the same without pgbouncer", socket, file, 4)
        for what, path, bound in READS:
            file, bouncer, _ = medians_on(urls, lambda _: fetch(server.port, "/api/" + path))
            yield Ratio(f"{what} on PostgreSQL by pgbouncer : on SQLite", bouncer, file, bound)
    finally:
        postgres.stop()
        server.stop()
