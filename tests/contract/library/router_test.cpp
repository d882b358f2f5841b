// Paths, queries and answers of the API, whatever the resource.
#include "api/router.h"
#include <cstdlib>
#include <gtest/gtest.h>

namespace vexo::api {
namespace {

using Texts = std::vector<std::string>;

TEST(Path, MatchesItsPattern) {
  struct Row {
    const char *pattern, *path;
    Texts variables;
  };
  const Row rows[] = {
      {"/", "/", {}},
      {"/songs", "/songs", {}},
      {"/songs/{id}", "/songs/12", {"12"}},
      {"/songs/{id}/cover", "/songs/12/cover", {"12"}},
      {"/playlists/{playlist}", "/playlists/musiclib_random", {"musiclib_random"}},
      {"/playlists/{playlist}", "/playlists/a/smart/b", {"a/smart/b"}},
      {"/playlists/{playlist}/missing", "/playlists/a/smart/missing/missing", {"a/smart/missing"}},
      {"/playlists/{playlist}/missing", "/playlists/musiclib_random/missing", {"musiclib_random"}},
  };
  for (const Row &row : rows) {
    Texts variables;
    EXPECT_TRUE(MatchesPath(row.pattern, row.path, variables)) << row.path;
    EXPECT_EQ(variables, row.variables) << row.path;
  }
}

TEST(Path, OfAnotherFormDoesNotMatch) {
  struct Row {
    const char *pattern, *path;
  };
  for (const Row &row :
       {Row{"/songs", "/song"}, Row{"/songs", "/songs/"}, Row{"/songs/{id}", "/songs"},
        Row{"/songs/{id}", "/songs/"}, Row{"/songs/{id}", "/songs/1/2"}, Row{"/", "/songs"},
        Row{"/songs", "/"}, Row{"/playlists/{playlist}", "/playlists/a/b"},
        Row{"/playlists/{playlist}", "/playlists/a/b/c/d"}}) {
    Texts variables;
    EXPECT_FALSE(MatchesPath(row.pattern, row.path, variables)) << row.path;
  }
}

TEST(QueryParameters, AreReadAsTheyAreMeant) {
  Query query("limit=7&sort=title&deep=true&q=a%20b+c", "offset limit sort deep q");
  const Page page = ReadPage(query);
  EXPECT_EQ(page.offset, 0);
  EXPECT_EQ(page.limit, 7);
  EXPECT_EQ(query.Choice("sort", {"album", "title"}), "title");
  EXPECT_TRUE(query.Flag("deep"));
  EXPECT_EQ(query.Text("q"), "a b c");
  EXPECT_EQ(query.problem(), std::nullopt);
}

TEST(QueryParameters, ThatAreWrongAreNamed) {
  struct Row {
    const char *text, *parameter;
  };
  for (const Row &row :
       {Row{"colour=red", "colour"}, Row{"=1", ""}, Row{"offse=1", "offse"},
        Row{"limit=1&limit=1", "limit"}, Row{"limit=1001", "limit"}, Row{"limit=-1", "limit"},
        Row{"limit=1.5", "limit"}, Row{"limit=", "limit"}, Row{"offset=2147483648", "offset"},
        Row{"sort=%00", "sort"}, Row{"sort=nothing", "sort"}}) {
    Query query(row.text, "offset limit sort");
    (void)ReadPage(query);
    (void)query.Choice("sort", {"title"});
    ASSERT_TRUE(query.problem()) << row.text;
    EXPECT_EQ(query.problem()->status, 400) << row.text;
    EXPECT_EQ(query.problem()->parameter, row.parameter) << row.text;
  }
}

TEST(ETag, OfTheClientEndsTheRequest) {
  struct Row {
    const char *header;
    bool matches;
  };
  for (const Row &row : {Row{"\"a\"", true}, Row{"\"b\", \"a\"", true}, Row{"W/\"a\"", true},
                         Row{"*", true}, Row{"\"b\"", false}, Row{"a", false}, Row{"", false},
                         Row{" ,, \"a\" ,", true}, Row{"\"a", false}}) {
    setenv("HTTP_IF_NONE_MATCH", row.header, 1);
    const std::optional<Answer> answer = NotModified(MakeETag("a"));
    EXPECT_EQ(answer.has_value(), row.matches) << row.header;
    if (answer) {
      EXPECT_EQ(answer->status, 304);
      EXPECT_EQ(answer->body, "");
    }
  }
  unsetenv("HTTP_IF_NONE_MATCH");
}

} // namespace
} // namespace vexo::api
