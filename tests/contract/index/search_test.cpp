#include "contract/index/engine.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A search, and the paths of the songs that it finds, by path.
struct Case {
  std::string description;
  int field;
  std::string keyword;
  std::vector<std::string> found;
};

class SongSearch : public IndexTest {
protected:
  void Add(const std::string &path, const std::string &title, const std::string &artist = "",
           const std::string &album = "", const std::string &genre = "", int owner = 0) {
    Song song = MakeSong(path, owner);
    song.title = title;
    song.artist = artist;
    song.album = album;
    song.genre = genre;
    songs_.push_back(song);
  }

  std::vector<std::string> Find(const Search &search, int owner = 0) {
    index().WriteSongs(songs_, {});
    songs_.clear();
    std::vector<std::string> paths;
    for (const Song &song : index().SearchSongs(owner, search)) {
      paths.push_back(song.path);
    }
    return paths;
  }

  void ExpectAll(const std::vector<Case> &cases) {
    for (const Case &c : cases) {
      Search search;
      search.field = c.field;
      search.keyword = c.keyword;
      search.sort = "path";
      EXPECT_EQ(Find(search), c.found) << c.description;
    }
  }

  std::vector<Song> songs_;
};
VEXO_FOR_EACH_ENGINE(SongSearch);

TEST_P(SongSearch, AFieldIsSearchedForAPartOfItsText) {
  Add("/1", "Green River", "Brown", "Blue Sky", "Folk");
  Add("/2", "Riverbed", "Green", "Folk Songs", "Blues");
  ExpectAll({
      {"a part in the middle", 1, "iver", {"/1", "/2"}},
      {"the whole text", 1, "Green River", {"/1"}},
      {"title only", 1, "Green", {"/1"}},
      {"artist only", 2, "Green", {"/2"}},
      {"album only", 3, "Folk", {"/2"}},
      {"genre only", 6, "Blue", {"/2"}},
      {"all fields", 8, "Green", {"/1", "/2"}},
      {"all fields, each alone", 8, "Brown Blue", {}},
      {"across two words, with the blank", 1, "een Riv", {"/1"}},
      {"words in another order", 1, "River Green", {}},
      {"nothing like it", 8, "Yellow", {}},
      {"no field", 0, "Green", {}},
      {"a field that is not known", 7, "Green", {}},
      {"a negative field", -1, "Green", {}},
  });
}

TEST_P(SongSearch, LetterCaseIsIgnoredForAllOfUnicode) {
  Add("/1", "ÄPFEL");
  Add("/2", "ΣΟΦΌΣ");
  Add("/3", "ЩУКА");
  Add("/4", "plain");
  ExpectAll({
      {"latin with diaeresis", 1, "äpfel", {"/1"}},
      {"greek, with the final sigma", 1, "σοφός", {"/2"}},
      {"cyrillic", 1, "щука", {"/3"}},
      {"capitals asked for", 1, "PLAIN", {"/4"}},
      {"short, by all of the songs", 1, "Äp", {"/1"}},
      {"accents count", 1, "apfel", {}},
  });
}

TEST_P(SongSearch, ShortKeywordsAreFoundToo) {
  Add("/1", "港の朝");
  Add("/2", "Up");
  Add("/3", "x");
  ExpectAll({
      {"one character of three bytes", 1, "朝", {"/1"}},
      {"two characters", 1, "の朝", {"/1"}},
      {"three characters", 1, "港の朝", {"/1"}},
      {"one letter", 1, "u", {"/2"}},
      {"two letters, longer than a text", 1, "xx", {}},
      {"an empty keyword is in every text", 1, "", {"/1", "/2", "/3"}},
  });
}

TEST_P(SongSearch, CharactersThatLanguagesOfQueriesKnowArePlain) {
  Add("/1", "100% _real_");
  Add("/2", "1000 real");
  Add("/3", R"("quoted" 'text')");
  Add("/4", "a*b OR c NEAR (d) ^ title : {x} -y");
  ExpectAll({
      {"percent", 1, "0% _", {"/1"}},
      {"percent alone", 1, "%", {"/1"}},
      {"underscore", 1, "_re", {"/1"}},
      {"double quotes", 1, R"("quoted")", {"/3"}},
      {"single quotes", 1, "'text'", {"/3"}},
      {"star", 1, "a*b", {"/4"}},
      {"a prefix with a star", 1, "100*", {}},
      {"words of a query language", 1, "OR c NEAR (d)", {"/4"}},
      {"column filter", 1, "title : {x}", {"/4"}},
      {"minus", 8, " -y", {"/4"}},
      {"a statement", 8, "'; DROP TABLE songs; --", {}},
  });
}

TEST_P(SongSearch, KeywordsThatAreNotUtf8FindTheirBytes) {
  Add("/1", "abc\xff\xfe");
  Add("/2", "abcd");
  ExpectAll({{"three broken bytes", 1, "bc\xff", {"/1"}}, {"none has it", 1, "\xfd\xfd\xfd", {}}});
}

TEST_P(SongSearch, OnlySongsOfTheLibraryAreFound) {
  Add("/1", "same title", "", "", "", 0);
  Add("/2", "same title", "", "", "", 5);
  Search search;
  search.field = 1;
  for (const char *keyword : {"same title", "sa"}) {
    search.keyword = keyword;
    EXPECT_THAT(Find(search, 0), ElementsAre("/1"));
    EXPECT_THAT(Find(search, 5), ElementsAre("/2"));
    EXPECT_THAT(Find(search, 6), IsEmpty());
  }
}

TEST_P(SongSearch, AChangedOrRemovedSongIsFoundByItsNewTextsOnly) {
  Add("/1", "first name");
  Add("/2", "other name");
  Search search;
  search.field = 1;
  search.keyword = "name";
  search.sort = "path";
  ASSERT_THAT(Find(search), ElementsAre("/1", "/2"));
  Song changed = index().SongsByPath({"/1"})[0];
  changed.title = "second";
  index().WriteSongs({changed}, {index().SongsByPath({"/2"})[0].id});
  EXPECT_THAT(Find(search), IsEmpty());
  search.keyword = "second";
  EXPECT_THAT(Find(search), ElementsAre("/1"));
}

class SearchOrder : public SongSearch {
protected:
  void SetUp() override {
    Song a = MakeSong("/c");
    a.title = "b";
    a.artist = "Éa";
    a.album = "B";
    a.genre = "x";
    a.year = 1990;
    a.track = 2;
    a.disc = 2;
    a.duration_seconds = 10;
    Song b = MakeSong("/a");
    b.title = "A";
    b.artist = "éB";
    b.album = "a";
    b.genre = "Z";
    b.year = 2000;
    b.track = 10;
    b.disc = 3;
    b.duration_seconds = 9;
    Song c = MakeSong("/B");
    c.title = "C";
    c.artist = "éc";
    c.album = "b";
    c.genre = "Y";
    c.year = 1980;
    c.track = 1;
    c.disc = 1;
    c.duration_seconds = 100;
    songs_ = {a, b, c};
  }

  std::vector<std::string> Sorted(const std::string &sort, bool ascending = true) {
    Search search;
    search.field = 8;
    search.sort = sort;
    search.ascending = ascending;
    return Find(search);
  }
};
VEXO_FOR_EACH_ENGINE(SearchOrder);

TEST_P(SearchOrder, SongsComeByTheNamedColumn) {
  EXPECT_THAT(Sorted("title"), ElementsAre("/a", "/c", "/B"));
  EXPECT_THAT(Sorted("artist"), ElementsAre("/c", "/a", "/B"));
  EXPECT_THAT(Sorted("genre"), ElementsAre("/c", "/B", "/a"));
  EXPECT_THAT(Sorted("year"), ElementsAre("/B", "/c", "/a"));
  EXPECT_THAT(Sorted("track"), ElementsAre("/B", "/c", "/a"));
  EXPECT_THAT(Sorted("disc"), ElementsAre("/B", "/c", "/a"));
  EXPECT_THAT(Sorted("duration"), ElementsAre("/a", "/c", "/B"));
  EXPECT_THAT(Sorted("path"), ElementsAre("/a", "/B", "/c"));
}

TEST_P(SearchOrder, SongsComeDownwardsToo) {
  EXPECT_THAT(Sorted("title", false), ElementsAre("/B", "/c", "/a"));
  EXPECT_THAT(Sorted("year", false), ElementsAre("/a", "/c", "/B"));
}

TEST_P(SearchOrder, AnUnknownColumnIsTheAlbum) {
  for (const char *sort : {"album", "", "Album", "id; DROP TABLE songs", "fold(title)"}) {
    EXPECT_THAT(Sorted(sort), ElementsAre("/a", "/B", "/c")) << sort;
  }
}

TEST_P(SearchOrder, EqualSongsComeByAlbumDiscTrackAndIdWhateverTheDirection) {
  for (Song &song : songs_) {
    song.year = 1970;
    song.album = "same";
    song.disc = 1;
  }
  EXPECT_THAT(Sorted("year"), ElementsAre("/B", "/c", "/a"));
  EXPECT_THAT(Sorted("year", false), ElementsAre("/B", "/c", "/a"));
  for (const char *path : {"/a", "/B", "/c"}) {
    Song song = index().SongsByPath({path})[0];
    song.track = 0;
    index().WriteSongs({song}, {});
  }
  EXPECT_THAT(Sorted("year"), ElementsAre("/c", "/a", "/B"));
}

TEST_P(SearchOrder, AStretchCountsSongs) {
  Search search;
  search.field = 8;
  search.sort = "title";
  search.offset = 1;
  search.limit = 1;
  EXPECT_THAT(Find(search), ElementsAre("/c"));
  search.limit = 0;
  EXPECT_THAT(Find(search), ElementsAre("/c", "/B"));
  search.offset = 3;
  EXPECT_THAT(Find(search), IsEmpty());
}

TEST_P(SearchOrder, ANegativeStretchIsRefused) {
  Search search;
  search.field = 8;
  search.limit = -1;
  EXPECT_THROW((void)Find(search), IndexError);
  search.limit = 0;
  search.offset = -1;
  EXPECT_THROW((void)Find(search), IndexError);
}

} // namespace
} // namespace vexo::index
