"""What the index decides, once more with the index on a PostgreSQL server, through pgbouncer."""

import itertools
import unittest

import test_library_browse
import test_library_import
import test_library_marks
import test_library_playlists
import test_library_queue
import test_library_scan
import test_library_smart
from postgres import Postgres
from server import Index, run

MODULES = (test_library_browse, test_library_marks, test_library_queue)
# Of the others, rules and exports are parsed and written alike, and other scans hold the file's lock.
CLASSES = (test_library_import.AnImport, test_library_import.Missing, test_library_playlists.ThePlaylists,
           test_library_playlists.APlaylist, test_library_smart.APreview, test_library_scan.Scan)


class OnPostgres(unittest.TestSuite):
    """Each root has a database of its own, on one server."""

    def run(self, result, debug=False):
        postgres = Postgres()
        numbers = itertools.count(1)

        def new_index():
            name = f"root_{next(numbers)}"
            run("psql", "-q", postgres.url, "-c", f"CREATE DATABASE {name}")
            return postgres.bouncer_url.replace("/postgres?", f"/{name}?")

        Index.new = new_index
        try:
            return super().run(result, debug)
        finally:
            Index.new, Index.url = None, ""
            postgres.stop()


def load_tests(loader, *_):
    return OnPostgres([*map(loader.loadTestsFromModule, MODULES),
                       *map(loader.loadTestsFromTestCase, CLASSES)])


if __name__ == "__main__":
    unittest.main()
