"""Songs, albums, artists, folders, ...: what a person finds when going through the libraries."""

import shutil
import unittest

from api import Api
from server import ANNA, BEN, LIBRARY, ROOT, ServerTest, playlistctl, run

HERS = ROOT / "var/services/homes/anna/music"


class BrowseTest(ServerTest):
    """The demo tracks; an album whose discs are two folders, and one of them in anna's library too."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        source = LIBRARY / "The Window Boxes/Garden Pieces"
        for disc in (1, 2):
            folder = LIBRARY / f"Twice/CD {disc}"
            folder.mkdir(parents=True)
            for track in ("01 Seed.mp3", "02 Rain on Glass.mp3"):
                shutil.copy(source / track, folder)
        HERS.mkdir(parents=True, exist_ok=True)
        shutil.copy(source / "01 Seed.mp3", HERS)
        playlistctl("scan")
        cls.anna, cls.ben = Api(cls.server, ANNA), Api(cls.server, BEN)

    def problem(self, answer, status, parameter=None):
        self.assertEqual(answer.status, status, answer)
        self.assertEqual(answer.headers["Content-Type"], "application/problem+json")
        self.assertEqual(answer.json.get("parameter"), parameter)

    def items(self, path, **query):
        answer = self.anna.get(path, **query)
        self.assertEqual(answer.status, 200, answer)
        return answer.json["items"]

    def names(self, path, **query):
        return [item["name"] for item in self.items(path, **query)]

    def titles(self, **query):
        return [song["title"] for song in self.items("/songs", **query)]

    def the(self, path, name, **query):
        """The one item with this name."""
        found = [item for item in self.items(path, **query) if item["name"] == name]
        self.assertEqual(len(found), 1, found)
        return found[0]


class Songs(BrowseTest):
    def test_are_told_with_what_a_list_shows(self):
        song, = self.items("/songs", q="grusväg")
        self.assertEqual({name: song[name] for name in
                          ("library", "title", "artist", "album", "type", "track", "disc", "year")},
                         {"library": "shared", "title": "Grusväg", "artist": "Åke Öberg",
                          "album": "Småvägar", "type": "flac", "track": 1, "disc": 1, "year": 1998})
        self.assertGreater(song["duration"], 1)
        album = self.the("/albums", "Småvägar")
        self.assertEqual((song["album_id"], song["artist_id"]), (album["id"], album["artist_id"]))

    def test_are_found_by_words_whatever_their_case_accents_and_order(self):
        for words, title in (("alven", "Älven på våren"), ("vagar OBERG grus", "Grusväg"),
                             ("小川 霧", "霧笛"), ("крош", "Крошки"), ("various spoon", "Kettle & Spoon"),
                             ("te lee", "Kettle & Spoon")):
            with self.subTest(words):
                self.assertEqual(self.titles(q=words), [title])
        self.assertEqual(self.anna.get("/songs", q="seed grusväg").json["total"], 0)

    def test_are_chosen_by_what_they_have_in_common(self):
        artist = self.the("/artists", "Åke Öberg")["id"]
        of_her = ["Grusväg", "Älven på våren"]
        self.assertEqual(self.titles(artist=artist), of_her)
        self.assertEqual(self.titles(artist="åke öberg"), of_her)
        self.assertEqual(self.titles(album_artist="Åke Öberg", year_from=1998, year_to=1998), of_her)
        self.assertEqual(self.titles(genre="visa", type="flac"), ["Grusväg"])
        self.assertEqual(self.titles(album=self.the("/albums", "Småvägar")["id"], sort="disc",
                                     dir="desc"), of_her[::-1])
        self.assertEqual(self.titles(year_to=1998), of_her)
        self.assertEqual(self.titles(album_artist="various", sort="track"),
                         ["Kettle & Spoon", "Крошки"])
        self.assertEqual(self.titles(artist=artist, genre="Folk"), [])

    def test_a_composer_that_is_none_is_404(self):
        self.problem(self.anna.get("/songs", composer="Nobody"), 404, "composer")

    def test_come_in_the_order_that_is_asked_for(self):
        by_title = self.titles(sort="title")
        self.assertEqual(len(by_title), 16)
        self.assertEqual(self.titles(sort="title", dir="desc"), by_title[::-1])
        self.assertLess(by_title.index("Älven på våren"), by_title.index("Grusväg"), "A, not Z")
        years = [song.get("year", 0) for song in self.items("/songs", sort="year,title", dir="desc")]
        self.assertEqual(years, sorted(years, reverse=True))
        sizes = [song["duration"] for song in self.items("/songs", sort="duration")]
        self.assertEqual(sizes, sorted(sizes))

    def test_come_in_pages(self):
        everything = self.titles(sort="title")
        pieces = [self.anna.get("/songs", sort="title", offset=offset, limit=5).json
                  for offset in (0, 5, 10, 15, 20)]
        self.assertEqual([song["title"] for page in pieces for song in page["items"]], everything)
        self.assertEqual({page["total"] for page in pieces}, {16})
        self.assertEqual([page["offset"] for page in pieces], [0, 5, 10, 15, 20])

    def test_one_has_all_its_tags(self):
        listed, = self.items("/songs", q="grusväg")
        song = self.anna.get(f"/songs/{listed['id']}").json
        self.assertEqual(song | listed, song)
        self.assertEqual(song["path"], "Åke Öberg/Småvägar/1-01 Grusväg.flac")
        self.assertEqual(song["size"], (LIBRARY / song["path"]).stat().st_size)
        self.assertEqual(song["sample_rate"], 16000)

    def test_that_do_not_exist_are_404(self):
        for song in ("999999", "0", "-1", "x", "99999999999999"):
            self.problem(self.anna.get(f"/songs/{song}"), 404, "id")

    def test_wrong_parameters_are_named(self):
        for name, value in (("limit", "1001"), ("limit", "-1"), ("offset", "x"), ("sort", "colour"),
                            ("sort", "title,"* 8 + "year,title"), ("dir", "up"), ("library", "ours"),
                            ("year_from", "0"), ("year_to", "x"), ("q", "a " * 21), ("q", "a" * 1001),
                            ("colour", "red")):
            with self.subTest(name, value=value):
                self.problem(self.anna.get("/songs", **{name: value}), 400, name)
        for name in ("album", "artist", "album_artist", "genre", "folder"):
            self.problem(self.anna.get("/songs", **{name: 999999}), 404, name)


class Albums(BrowseTest):
    def test_are_told_with_counts_years_and_a_cover(self):
        album = self.the("/albums", "Garden Pieces", sort="songs,name", dir="asc",
                         artist="The Window Boxes", folder=self.folder("The Window Boxes/Garden Pieces"))
        self.assertEqual((album["artist"], album["songs"], album["year"]), ("The Window Boxes", 4, 2019))
        self.assertNotIn("compilation", album)
        self.assertEqual(self.anna.get(f"/songs/{album['cover_song']}").json["title"], "Seed")

    def folder(self, path):
        folder = self.anna.get("/folders").json["folder"]
        for name in path.split("/"):
            items = self.items(f"/folders/{folder['id']}")
            folder = next(item["folder"] for item in items if item.get("folder", {}).get("name") == name)
        return folder["id"]

    def test_of_several_discs_are_one_and_their_songs_in_order(self):
        album = self.anna.get("/albums", folder=self.folder("Twice")).json
        self.assertEqual(album["total"], 1)
        self.assertEqual(album["items"][0]["discs"], 2)
        page = self.anna.get(f"/albums/{album['items'][0]['id']}").json
        self.assertEqual(page["album"], album["items"][0])
        paths = [self.anna.get(f"/songs/{song['id']}").json["path"] for song in page["items"]]
        self.assertEqual(paths, [f"Twice/CD {disc}/{track}" for disc in (1, 2)
                                 for track in ("01 Seed.mp3", "02 Rain on Glass.mp3")])
        part = self.anna.get(f"/albums/{page['album']['id']}", offset=1, limit=2).json
        self.assertEqual((part["total"], part["items"]), (4, page["items"][1:3]))

    def test_of_several_artists_are_compilations(self):
        album = self.the("/albums", "Kitchen Radio")
        self.assertEqual((album["songs"], album["artist"], album["compilation"]), (2, "Various", True))

    def test_are_chosen_and_sorted(self):
        self.assertEqual(self.names("/albums", q="oberg"), ["Småvägar"])
        self.assertEqual(self.names("/albums", genre="swing"), ["Kitchen Radio"])
        self.assertEqual(self.names("/albums", album_artist="various"), ["Kitchen Radio"])
        self.assertEqual(self.names("/albums", year_to=2000), ["Småvägar"])
        self.assertEqual(self.names("/albums", year_from=1999, year_to=2003, library="shared")[-1],
                         "Kitchen Radio")
        names = self.names("/albums", sort="name")
        self.assertEqual(names[:3], ["Garden Pieces", "Garden Pieces", "Kitchen Radio"])
        self.assertEqual(self.names("/albums", sort="name", dir="desc"), names[::-1])
        self.assertEqual(self.names("/albums", sort="name", offset=2, limit=1), ["Kitchen Radio"])
        self.problem(self.anna.get("/albums", composer="Nobody"), 404, "composer")

    def test_that_do_not_exist_are_404(self):
        artist = self.the("/artists", "Åke Öberg")["id"]
        for album in ("999999", artist, "x"):
            self.problem(self.anna.get(f"/albums/{album}"), 404, "id")


class Names(BrowseTest):
    def test_artists_have_counts(self):
        artist = self.the("/artists", "The Window Boxes")
        self.assertEqual((artist["songs"], artist["albums"]), (8, 2))
        self.assertEqual(self.the("/artists", "Various")["songs"], 0)
        self.assertEqual(self.the("/artists", "Various")["albums"], 1)

    def test_an_artist_has_albums(self):
        artist = self.the("/artists", "Хлеб и Соль")
        page = self.anna.get(f"/artists/{artist['id']}", offset=0, limit=5).json
        self.assertEqual(page["artist"], artist)
        self.assertEqual([album["name"] for album in page["items"]], ["Kitchen Radio"])
        self.problem(self.anna.get("/artists/999999"), 404, "id")

    def test_genres_and_years_have_counts(self):
        self.assertEqual(self.names("/genres", sort="songs,name", dir="desc")[0], "Folk")
        self.assertEqual(self.the("/genres", "Swing")["albums"], 1)
        self.assertEqual(self.the("/years", "1998")["songs"], 2)
        years = self.names("/years")
        self.assertEqual(years, sorted(years))
        self.assertEqual(self.names("/years", offset=1, limit=1), years[1:2])
        self.assertEqual(self.names("/composers"), [])

    def test_a_genre_and_a_year_have_albums_by_year(self):
        genre, year = self.the("/genres", "Folk"), self.the("/years", "1998")
        page = self.anna.get(f"/genres/{genre['id']}").json
        self.assertEqual(page["genre"], genre)
        self.assertEqual(page["total"], genre["albums"])
        albums = self.items("/albums", genre=genre["id"], sort="year,name")
        self.assertEqual(len(albums), 2)
        self.assertEqual(page["items"], albums)
        part = self.anna.get(f"/genres/{genre['id']}", offset=1, limit=1).json
        self.assertEqual((part["total"], part["items"]), (len(albums), albums[1:2]))
        page = self.anna.get(f"/years/{year['id']}", offset=0, limit=5).json
        self.assertEqual(page["year"], year)
        self.assertEqual([album["name"] for album in page["items"]], ["Småvägar"])

    def test_that_do_not_exist_are_404(self):
        genre = self.the("/genres", "Folk")["id"]
        for kind in ("artists", "composers", "years"):
            for name in (genre, "999999", "x"):
                self.problem(self.anna.get(f"/{kind}/{name}"), 404, "id")
        self.problem(self.anna.get(f"/genres/{genre}", limit="x"), 400, "limit")
        self.problem(self.anna.get("/genres/0"), 404, "id")

    def test_are_found_by_words(self):
        for path, words, name in (("/artists", "ake", "Åke Öberg"), ("/genres", "sw", "Swing")):
            self.assertEqual(self.names(path, q=words), [name])
        years = self.names("/years")
        for digits in ("2", "20", "199", "1998"):
            found = [year for year in years if year.startswith(digits)]
            self.assertEqual((self.names("/years", q=digits), bool(found)), (found, True), digits)
        self.assertEqual(self.names("/years", q="998"), [])
        for path in ("/composers", "/years"):
            self.assertEqual(self.names(path, q="nobody", sort="name", dir="desc", offset=0, limit=9,
                                        library="shared"), [])
        for path in ("/artists", "/genres"):
            self.assertEqual(self.names(path, library="personal", sort="name", dir="desc", offset=1,
                                        limit=9), [])


class Folders(BrowseTest):
    def test_are_a_tree(self):
        top = self.anna.get("/folders").json
        self.assertEqual(top["folder"]["path"], "")
        self.assertEqual(top["folder"]["songs"], 16)
        self.assertNotIn("parent_id", top["folder"])
        self.assertEqual(top["parents"], [])
        names = [item["folder"]["name"] for item in top["items"]]
        self.assertEqual(names, ["Åke Öberg", "Loose", "The Window Boxes", "Twice", "Various", "小川楽団"])
        twice = top["items"][3]["folder"]
        self.assertEqual(twice["parent_id"], top["folder"]["id"])
        discs = self.anna.get(f"/folders/{twice['id']}").json
        self.assertEqual([item["folder"]["path"] for item in discs["items"]],
                         ["Twice/CD 1", "Twice/CD 2"])
        disc = self.anna.get(f"/folders/{discs['items'][0]['folder']['id']}").json
        self.assertEqual([item["song"]["title"] for item in disc["items"]], ["Seed", "Rain on Glass"])
        self.assertEqual(disc["parents"], [{"id": top["folder"]["id"], "name": ""},
                                           {"id": twice["id"], "name": "Twice"}])

    def test_have_songs_in_folders_below(self):
        folders = [item["folder"] for item in self.items("/folders")]
        twice, = [folder for folder in folders if folder["name"] == "Twice"]
        songs = self.items("/songs", below=twice["id"], sort="path")
        paths = [self.anna.get(f"/songs/{song['id']}").json["path"] for song in songs]
        self.assertEqual(paths, [f"Twice/CD {disc}/{track}" for disc in (1, 2)
                                 for track in ("01 Seed.mp3", "02 Rain on Glass.mp3")])
        self.assertEqual(self.items("/songs", below=twice["id"], sort="path", offset=1, limit=2),
                         songs[1:3])
        self.assertEqual(self.items("/songs", folder=twice["id"]), [])
        self.assertEqual(self.titles(below=twice["id"], q="seed"), ["Seed", "Seed"])
        top = self.anna.get("/folders").json["folder"]
        self.assertEqual(self.anna.get("/songs", below=top["id"]).json["total"], top["songs"])
        for folder in (999999, "x", top["id"] - 1):
            self.problem(self.anna.get("/songs", below=folder), 404, "below")

    def test_come_in_pages_folders_first(self):
        shutil.copy(LIBRARY / "The Window Boxes/Garden Pieces/01 Seed.mp3", LIBRARY / "top.mp3")
        playlistctl("scan")
        try:
            whole = self.anna.get("/folders", library="shared").json
            self.assertEqual(list(whole["items"][-1]), ["song"])
            pieces = [self.anna.get("/folders", offset=offset, limit=3).json["items"]
                      for offset in range(0, 12, 3)]
            self.assertEqual(sum(pieces, []), whole["items"])
            folder = whole["folder"]["id"]
            self.assertEqual(self.anna.get(f"/folders/{folder}", offset=6, limit=2).json["items"],
                             whole["items"][6:])
        finally:
            (LIBRARY / "top.mp3").unlink()
            playlistctl("scan")

    def test_above_the_library_are_nobodys(self):
        top = self.anna.get("/folders").json["folder"]["id"]
        for folder in range(1, top):
            self.problem(self.anna.get(f"/folders/{folder}"), 404, "id")


class Libraries(BrowseTest):
    def test_the_personal_one_is_its_owners_alone(self):
        song, = self.items("/songs", library="personal")
        self.assertEqual((song["title"], song["library"]), ("Seed", "personal"))
        self.assertEqual(self.names("/albums", library="personal"), ["Garden Pieces"])
        self.assertEqual(self.anna.get("/folders", library="personal").json["total"], 1)
        year, = self.items("/years", library="personal")
        for path in (f"/songs/{song['id']}", f"/albums/{song['album_id']}",
                     f"/artists/{song['artist_id']}", f"/genres/{song['genre_id']}",
                     f"/years/{year['id']}", f"/folders/{song['folder_id']}"):
            self.assertEqual(self.anna.get(path).status, 200)
            self.problem(self.ben.get(path), 404, "id")
        self.assertEqual(self.items("/songs", below=song["folder_id"]), [song])
        self.problem(self.ben.get("/songs", album=song["album_id"]), 404, "album")
        self.problem(self.ben.get("/songs", below=song["folder_id"]), 404, "below")
        self.problem(self.ben.get("/albums", artist=song["artist_id"]), 404, "artist")
        for path in ("/songs", "/albums", "/artists", "/genres", "/years", "/composers", "/folders"):
            self.problem(self.ben.get(path, library="personal"), 400, "library")

    def test_a_group_tells_the_library(self):
        song, = self.items("/songs", library="personal")
        self.assertEqual(self.items("/songs", album=song["album_id"]), [song])
        self.problem(self.anna.get("/songs", album=song["album_id"], library="shared"), 404, "album")

    def test_the_overview_counts(self):
        overview = self.anna.get("/").json
        self.assertEqual([(library["name"], library["songs"], library["albums"], library["artists"])
                          for library in overview["libraries"]],
                         [("shared", 16, 5, 6), ("personal", 1, 1, 1)])


class Versions(BrowseTest):
    PATHS = ("/", "/songs", "/albums", "/artists", "/genres", "/composers", "/years", "/folders")

    def test_an_answer_that_the_client_has_is_304_until_songs_change(self):
        song = self.items("/songs", q="grusväg")[0]
        year = self.items("/years")[0]
        paths = [*self.PATHS, f"/songs/{song['id']}", f"/albums/{song['album_id']}",
                 f"/artists/{song['artist_id']}", f"/genres/{song['genre_id']}",
                 f"/years/{year['id']}", f"/folders/{song['folder_id']}"]
        tags = {path: self.anna.get(path).headers["ETag"] for path in paths}
        for path, tag in tags.items():
            answer = self.anna.get(path, headers={"If-None-Match": tag})
            self.assertEqual((answer.status, answer.body), (304, b""), path)
        self.assertEqual(self.ben.get("/songs", headers={"If-None-Match": tags["/songs"]}).status, 200,
                         "another user's answer is another one")
        self.anna.get("/playlists")
        (HERS / "more.mp3").write_bytes((HERS / "01 Seed.mp3").read_bytes())
        playlistctl("scan")
        for path, tag in tags.items():
            self.assertEqual(self.anna.get(path, headers={"If-None-Match": tag}).status, 200, path)


class Composers(ServerTest):
    """The demo tracks, of which one tells a composer."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        track = LIBRARY / "Åke Öberg/Småvägar/2-01 Älven på våren.mp3"
        run("ffmpeg", "-v", "error", "-i", track, "-c", "copy", "-metadata", "composer=Ulla Öberg",
            "-metadata", "title=Written", track.with_name("3-01 Written.mp3"))
        playlistctl("scan")
        cls.api = Api(cls.server, ANNA)

    def test_find_their_songs_and_albums(self):
        composer, = self.api.get("/composers").json["items"]
        self.assertEqual((composer["name"], composer["songs"]), ("Ulla Öberg", 1))
        for chosen in (composer["name"], composer["id"]):
            song, = self.api.get("/songs", composer=chosen).json["items"]
            self.assertEqual(song["title"], "Written")
            album, = self.api.get("/albums", composer=chosen).json["items"]
            self.assertEqual(album["name"], "Småvägar")

    def test_have_albums(self):
        composer, = self.api.get("/composers").json["items"]
        page = self.api.get(f"/composers/{composer['id']}", offset=0, limit=9)
        self.assertEqual(page.json["composer"], composer)
        self.assertEqual([album["name"] for album in page.json["items"]], ["Småvägar"])
        again = self.api.get(f"/composers/{composer['id']}",
                             headers={"If-None-Match": page.headers["ETag"]})
        self.assertEqual((again.status, again.body), (304, b""))

    def test_a_song_is_found_by_its_folder(self):
        album, = self.api.get("/albums", q="småvägar").json["items"]
        beside = self.api.get("/songs", folder=album["folder_id"]).json["items"]
        self.assertIn("Written", [song["title"] for song in beside])


if __name__ == "__main__":
    unittest.main()
