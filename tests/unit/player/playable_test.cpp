// Which files a type of player plays.
#include "player/ctrl.h"
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

struct PlayableRow {
  const char *description;
  int type;
  const char *path;
  int playable;
};

const PlayableRow kRows[] = {
    {"type 0 plays everything", 0, "/a.txt", 1},
    {"type 0 plays even no path", 0, nullptr, 1},
    {"no path", 5, nullptr, 0},
    {"an address", 5, "http://radio/stream", 1},
    {"an address with a scheme that only begins so", 2, "https://radio/a.flac", 1},
    {"an address in capitals is a file", 5, "HTTP://radio/stream", 0},
    {"a file whose name begins like an address", 2, "httpd.conf", 1},
    {"type 2, capitals", 2, "/a.MP3", 1},
    {"type 2, an extension of the others", 2, "/a.flac", 0},
    {"type 3, no extension", 3, "/music/a", 0},
    {"the last extension counts", 2, "/a.mp3.txt", 0},
    {"the last extension counts, the other way round", 2, "/a.txt.mp3", 1},
    {"a dot of a folder is taken for the file's", 2, "/a.mp3/b", 0},
    {"an empty extension", 5, "/a.", 0},
    {"an extension that only begins so", 5, "/a.mp33", 0},
    {"a negative type is another type", -1, "/a.ram", 1},
    {"an empty path", 3, "", 0},
};

TEST(IsPlayableFileTest, TakesTheseAndRefusesThose) {
  for (const PlayableRow &row : kRows) {
    EXPECT_EQ(IsPlayableFile(row.type, row.path), row.playable) << row.description;
  }
}

TEST(IsPlayableFileTest, EachTypeHasItsExtensions) {
  const std::set<std::string> all = {"mp3",  "m4a", "m4b", "aac", "aif", "aiff", "ape",
                                     "flac", "ogg", "wav", "wma", "mp1", "mp2",  "mpa",
                                     "ac3",  "ra",  "ram", "m4p", "txt", "opus"};
  const std::set<std::string> type2 = {"mp3", "m4a", "m4b"};
  const std::set<std::string> type3 = {"aac", "aif", "aiff", "ape", "flac", "m4a",
                                       "m4b", "mp3", "ogg",  "wav", "wma"};
  const std::set<std::string> other = {"mp3",  "m4a", "ogg", "aac", "wma", "flac",
                                       "aiff", "aif", "mp1", "mp2", "mpa", "wav",
                                       "ac3",  "ra",  "ram", "m4p", "m4b", "ape"};
  for (const std::string &extension : all) {
    const std::string path = "/music/a." + extension;
    EXPECT_EQ(IsPlayableFile(2, path.c_str()), type2.count(extension)) << path;
    EXPECT_EQ(IsPlayableFile(3, path.c_str()), type3.count(extension)) << path;
    EXPECT_EQ(IsPlayableFile(1, path.c_str()), other.count(extension)) << path;
    EXPECT_EQ(IsPlayableFile(9, path.c_str()), other.count(extension)) << path;
  }
}

} // namespace
