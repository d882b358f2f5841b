"""A playlist of the hundred songs that hold a text, found among ten thousand and among a million."""

from ratio import Ratio, medians


def measure():
    from big_index import BIG, RARE, RUN, SMALL, serve, use
    from server import ANNA, SHARED, songs_of

    server = serve()
    try:
        def search(songs):
            use(songs)
            name = f"found {songs} {RUN}"
            answer = server.ask("addsearch", ANNA, name=name, type="shared", category="all",
                                keyword=RARE, overwrite=str(SHARED.file(name).exists()).lower())
            if not answer.success:
                raise RuntimeError(answer)

        for songs in (BIG, SMALL):
            search(songs)
            found = len(songs_of(SHARED.file(f"found {songs} {RUN}")))
            if found != 100:
                raise RuntimeError(f"{found} of 100 found among {songs}")
        big, small = medians(31, lambda: search(BIG), lambda: search(SMALL))
        yield Ratio("search in 1,000,000 songs : in 10,000", big, small, 3)
    finally:
        server.stop()
