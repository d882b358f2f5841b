#include "smart/parser.h"

#include "smart/block_scanner.h"
#include "support/rule_printer.h"
#include <gtest/gtest.h>
#include <string>

namespace vexo::smart {
namespace {

std::string Repeat(const std::string &text, int count) {
  std::string whole;
  for (int i = 0; i < count; ++i) {
    whole += text;
  }
  return whole;
}

/// The block of a playlist "P" with that body, as the printer writes it, on one line.
std::string Canonical(const std::string &body) {
  std::string text = PrintPlaylist(ParsePlaylist("\"P\" { " + body + " }"));
  text = text.substr(8, text.size() - 10);
  for (std::size_t at = 0; (at = text.find("\n ")) != std::string::npos;) {
    text.erase(at, 2);
  }
  return text;
}

struct Accepted {
  const char *description;
  const char *body;
  const char *canonical;
};

const Accepted kAccepted[] = {
    {"a text that is equal", R"(artist is "Nina")", R"(artist is "Nina")"},
    {"a text that includes", R"(title includes "rain")", R"(title includes "rain")"},
    {"a text that starts with", R"(album starts with "The")", R"(album starts with "The")"},
    {"a text that ends with", R"(path ends with ".flac")", R"(path ends with ".flac")"},
    {"two words apart", "path ends # here\n with \".flac\"", R"(path ends with ".flac")"},
    {"no text", "comment is empty", "comment is empty"},
    {"the empty string", R"(comment is "")", "comment is empty"},
    {"album_artist", R"(album_artist is "A")", R"(album_artist is "A")"},
    {"genre", R"(genre is "A")", R"(genre is "A")"},
    {"composer", R"(composer is "A")", R"(composer is "A")"},
    {"type", R"(type is "mp3")", R"(type is "mp3")"},
    {"=", "year = 1990", "year = 1990"},
    {"!=", "track != 1", "track != 1"},
    {"<", "disc < 2", "disc < 2"},
    {"<=", "bitrate <= 320000", "bitrate <= 320000"},
    {">", "samplerate > 44100", "samplerate > 44100"},
    {">=", "channels >= 2", "channels >= 2"},
    {"no blanks", "year>=1990", "year >= 1990"},
    {"song_length", "song_length = 1", "song_length = 1"},
    {"file_size", "file_size = 1", "file_size = 1"},
    {"rating", "rating = 1", "rating = 1"},
    {"play_count", "play_count = 0", "play_count = 0"},
    {"compilation", "compilation = 1", "compilation = 1"},
    {"leading zeros", "year = 0001990", "year = 1990"},
    {"the largest number", "file_size < 9223372036854775807", "file_size < 9223372036854775807"},
    {"a day", "time_added before 2020-02-29", "time_added before 2020-02-29"},
    {"after a day", "time_modified after 1999-12-31", "time_modified after 1999-12-31"},
    {"today", "time_added after today", "time_added after today"},
    {"yesterday", "time_added after yesterday", "time_added after yesterday"},
    {"this week", "time_added after this week", "time_added after this week"},
    {"this month", "time_added after this month", "time_added after this month"},
    {"this year", "time_added after this year", "time_added after this year"},
    {"last week", "time_added after last week", "time_added after last week"},
    {"last month", "time_added after last month", "time_added after last month"},
    {"last year", "time_added after last year", "time_added after last year"},
    {"ago", "time_added after 3 days ago", "time_added after 3 days ago"},
    {"one week ago", "time_added after 1 week ago", "time_added after 1 week ago"},
    {"one in the plural", "time_added after 1 months ago", "time_added after 1 month ago"},
    {"many in the singular", "time_added after 2 year ago", "time_added after 2 years ago"},
    {"before today is ago", "time_added after 3 days before today", "time_added after 3 days ago"},
    {"before a date", "time_added before 2 weeks before 2020-01-01",
     "time_added before 2 weeks before 2020-01-01"},
    {"after a date", "time_added before 2 months after last year",
     "time_added before 2 months after last year"},
    {"a date from a date from a date", "time_added before 1 day before 2 weeks after 3 years ago",
     "time_added before 1 day before 2 weeks after 3 years ago"},
    {"and", "year = 1 and year = 2 AND year = 3 && year = 4",
     "year = 1 and year = 2 and year = 3 and year = 4"},
    {"or", "year = 1 or year = 2 Or year = 3 || year = 4",
     "year = 1 or year = 2 or year = 3 or year = 4"},
    {"not", "not year = 1", "not year = 1"},
    {"!", "!year = 1", "not year = 1"},
    {"not twice", "NOT !year = 1", "not not year = 1"},
    {"not before the operator", R"(artist not includes "x")", R"(not artist includes "x")"},
    {"! before the operator", R"(artist ! is "x")", R"(not artist is "x")"},
    {"not before is empty", "artist not is empty", "not artist is empty"},
    {"not before a sign", "year not = 5", "not year = 5"},
    {"! before =", "year ! = 5", "not year = 5"},
    {"not before before", "time_added NOT before today", "not time_added before today"},
    {"not twice, once before the operator", "not year not = 1", "not not year = 1"},
    {"and before or", "year = 1 or year = 2 and year = 3", "year = 1 or year = 2 and year = 3"},
    {"parentheses before and", "(year = 1 or year = 2) and year = 3",
     "( year = 1 or year = 2 ) and year = 3"},
    {"not before and", "not year = 1 and year = 2", "not year = 1 and year = 2"},
    {"not of parentheses", "not (year = 1 and year = 2)", "not ( year = 1 and year = 2 )"},
    {"needless parentheses", "((year = 1))", "year = 1"},
    {"needless parentheses around and", "(year = 1 and year = 2) or year = 3",
     "year = 1 and year = 2 or year = 3"},
    {"words in any letter case", R"(NoT ArTiSt StArTs WiTh "x" OrDeR bY rAnDoM aSc LiMiT 3)",
     R"(not artist starts with "x" order by random limit 3)"},
    {"dates in any letter case", "time_added AFTER 2 Weeks BEFORE Last MONTH",
     "time_added after 2 weeks before last month"},
    {"order", "year = 1 order by album", "year = 1 order by album"},
    {"ascending is the default", "year = 1 order by album asc", "year = 1 order by album"},
    {"descending", "year = 1 order by time_added desc", "year = 1 order by time_added desc"},
    {"random", "year = 1 order by random", "year = 1 order by random"},
    {"limit", "year = 1 limit 25", "year = 1 limit 25"},
    {"limit of none", "year = 1 limit 0", "year = 1 limit 0"},
    {"order and limit", "year = 1 order by title desc limit 25",
     "year = 1 order by title desc limit 25"},
    {"a comment at the end of a line", "year = 1 # and year = 2\n and year = 3",
     "year = 1 and year = 3"},
    {"a comment with quotes and braces", "# it's \"} {\n year = 1", "year = 1"},
    {"line ends of another system", "year = 1\r\n # x\r\n and year = 2", "year = 1 and year = 2"},
    {"no comment in a string", R"(title is "#1")", R"(title is "#1")"},
    {"escapes", R"(title is "say \"hi\" \\ there")", R"(title is "say \"hi\" \\ there")"},
    {"a backslash at the end", R"(title is "\\")", R"(title is "\\")"},
    {"a brace in a string", R"(title is "}")", R"(title is "}")"},
    {"UTF-8", "artist is \"Björk 東京 🎵\"", "artist is \"Björk 東京 🎵\""},
    {"a tab in a string", "artist is \"a\tb\"", "artist is \"a\tb\""},
    {"percent and underscore", R"(artist is "100%_")", R"(artist is "100%_")"},
};

TEST(Parser, AcceptsTheWholeLanguage) {
  for (const Accepted &row : kAccepted) {
    SCOPED_TRACE(row.description);
    try {
      EXPECT_EQ(Canonical(row.body), row.canonical);
    } catch (const SyntaxError &error) {
      ADD_FAILURE() << error.what();
    }
  }
}

TEST(Printer, PrintThenParseGivesTheSamePlaylist) {
  for (const Accepted &row : kAccepted) {
    SCOPED_TRACE(row.description);
    const SmartPlaylist playlist = ParsePlaylist("\"A \\\"b\\\\\" {" + std::string(row.body) + "}");
    EXPECT_EQ(ParsePlaylist(PrintPlaylist(playlist)), playlist);
  }
}

TEST(Printer, WritesABlockOfLines) {
  const SmartPlaylist playlist =
      ParsePlaylist(R"("My \"best\"" {(artist is "A" or !year<2000) && time_added after last month
order   by time_added desc limit 7})");
  EXPECT_EQ(PrintPlaylist(playlist),
            "\"My \\\"best\\\"\" {\n"
            "  ( artist is \"A\" or not year < 2000 ) and time_added after last month\n"
            "  order by time_added desc\n"
            "  limit 7\n"
            "}");
}

TEST(Parser, NotBindsClosestThenAndThenOr) {
  const Criteria criteria =
      ParsePlaylist("\"P\" { not year = 1 and year = 2 or year = 3 }").criteria;
  ASSERT_EQ(criteria.kind, Criteria::Kind::kOr);
  ASSERT_EQ(criteria.children.size(), 2U);
  ASSERT_EQ(criteria.children[0].kind, Criteria::Kind::kAnd);
  EXPECT_EQ(criteria.children[0].children[0].kind, Criteria::Kind::kNot);
  EXPECT_EQ(criteria.children[0].children[1].number, 2);
  EXPECT_EQ(criteria.children[1].number, 3);
}

struct Rejected {
  const char *description;
  std::string text;
  const char *position;
  const char *message;
};

const Rejected kRejected[] = {
    {"nothing", "", "1:1", "expected a string"},
    {"no name", "{ year = 1 }", "1:1", "expected a string"},
    {"a name without quotes", "Jazz { year = 1 }", "1:1", "expected a string"},
    {"no brace", "\"P\" year = 1 }", "1:5", "expected {"},
    {"no rules", "\"P\" { }", "1:7", "expected a field, not or ("},
    {"only an order", "\"P\" { order by title }", "1:7", "expected a field, not or ("},
    {"no closing brace", "\"P\" { year = 1", "1:15", "expected and, or, order by, limit or }"},
    {"text behind the brace", "\"P\" { year = 1 } x", "1:18", "expected nothing more"},
    {"an unknown field", "\"P\" {\n  mood is \"x\" }", "2:3", "expected a field, not or ("},
    {"a string as a field", "\"P\" { \"artist\" is \"x\" }", "1:7", "expected a field, not or ("},
    {"a text without operator", "\"P\" { artist \"x\" }", "1:14",
     "expected is, includes, starts with or ends with"},
    {"a text with a number's operator", "\"P\" { artist = \"x\" }", "1:14",
     "expected is, includes, starts with or ends with"},
    {"a text and a number", "\"P\" { artist is 5 }", "1:17", "expected a string"},
    {"starts without with", "\"P\" { artist starts \"x\" }", "1:21", "expected with"},
    {"ends without with", "\"P\" { artist ends \"x\" }", "1:19", "expected with"},
    {"not behind is", "\"P\" { artist is not \"x\" }", "1:17", "expected a string"},
    {"not twice before the operator", "\"P\" { artist not not is \"x\" }", "1:18",
     "expected is, includes, starts with or ends with"},
    {"a number that is a text", "\"P\" { year is \"1990\" }", "1:12",
     "expected =, !=, <, <=, > or >="},
    {"==", "\"P\" { year == 1 }", "1:13", "expected a whole number"},
    {"a number with a sign", "\"P\" { year = -1 }", "1:14", "expected a whole number"},
    {"a number with a string", "\"P\" { year = \"1\" }", "1:14", "expected a whole number"},
    {"a number that is too large", "\"P\" { file_size > 9223372036854775808 }", "1:19",
     "the number is too large"},
    {"a fraction", "\"P\" { year = 1.5 }", "1:15", "expected and, or, order by, limit or }"},
    {"a number empty", "\"P\" { year = empty }", "1:14", "expected a whole number"},
    {"a time with a number's operator", "\"P\" { time_added > 2020-01-01 }", "1:18",
     "expected before or after"},
    {"a time and a number", "\"P\" { time_added after 5 }", "1:26",
     "expected days, weeks, months or years"},
    {"a day that is not", "\"P\" { time_added after 2019-02-29 }", "1:24", "there is no such day"},
    {"a month that is not", "\"P\" { time_added after 2019-13-01 }", "1:24",
     "there is no such day"},
    {"a short date", "\"P\" { time_added after 2019-1-1 }", "1:28",
     "expected days, weeks, months or years"},
    {"this day", "\"P\" { time_added after this day }", "1:24", "expected a date"},
    {"tomorrow", "\"P\" { time_added after tomorrow }", "1:24", "expected a date"},
    {"next week", "\"P\" { time_added after next week }", "1:24", "expected a date"},
    {"an unknown unit", "\"P\" { time_added after 3 hours ago }", "1:26",
     "expected days, weeks, months or years"},
    {"days without direction", "\"P\" { time_added after 3 days }", "1:31",
     "expected ago, before or after"},
    {"days before nothing", "\"P\" { time_added after 3 days before }", "1:38", "expected a date"},
    {"too many days", "\"P\" { time_added after 1000001 days ago }", "1:24",
     "the number is too large"},
    {"two conditions without a word between", "\"P\" { year = 1 year = 2 }", "1:16",
     "expected and, or, order by, limit or }"},
    {"and at the beginning", "\"P\" { and year = 1 }", "1:7", "expected a field, not or ("},
    {"and at the end", "\"P\" { year = 1 and }", "1:20", "expected a field, not or ("},
    {"not at the end", "\"P\" { not }", "1:11", "expected a field, not or ("},
    {"one &", "\"P\" { year = 1 & year = 2 }", "1:16", "expected and, or, order by, limit or }"},
    {"an open parenthesis", "\"P\" { (year = 1 }", "1:17", "expected and, or or )"},
    {"a parenthesis too many", "\"P\" { year = 1) }", "1:15",
     "expected and, or, order by, limit or }"},
    {"empty parentheses", "\"P\" { () }", "1:8", "expected a field, not or ("},
    {"order without by", "\"P\" { year = 1 order title }", "1:22", "expected by"},
    {"order by nothing", "\"P\" { year = 1 order by }", "1:25", "expected a field or random"},
    {"order by two fields", "\"P\" { year = 1 order by title, year }", "1:30",
     "expected and, or, order by, limit or }"},
    {"order twice", "\"P\" { year = 1 order by title order by year }", "1:31",
     "expected and, or, order by, limit or }"},
    {"limit before order", "\"P\" { year = 1 limit 5 order by year }", "1:24",
     "expected and, or, order by, limit or }"},
    {"limit without number", "\"P\" { year = 1 limit }", "1:22", "expected a whole number"},
    {"a negative limit", "\"P\" { year = 1 limit -5 }", "1:22", "expected a whole number"},
    {"a string over two lines", "\"P\" { title is \"a\nb\" }", "1:16",
     "a string must end on its line"},
    {"a name that is not closed", "\"P { title is 5 }", "1:1", "a string must end on its line"},
    {"another escape", R"("P" { title is "a\n" })", "1:16",
     R"(a string has no escapes but \" and \\)"},
    {"a string that is not UTF-8", "\"P\" { title is \"\xff\" }", "1:16", "a string must be UTF-8"},
    {"an overlong form", "\"P\" { title is \"\xc0\xaf\" }", "1:16", "a string must be UTF-8"},
    {"a name that is not UTF-8", "\"\xed\xa0\x80\" { year = 1 }", "1:1", "a string must be UTF-8"},
    {"a NUL byte", std::string("\"P\" { year = 1 \0 }", 18), "1:16",
     "expected and, or, order by, limit or }"},
    {"columns count characters", "\"é\" { title is \"東京\" x }", "1:21",
     "expected and, or, order by, limit or }"},
    {"lines after a comment", "\"P\" { # one\n# two\r\n  year = x }", "3:10",
     "expected a whole number"},
};

TEST(Parser, RejectsWithLineAndColumn) {
  for (const Rejected &row : kRejected) {
    SCOPED_TRACE(row.description);
    try {
      ADD_FAILURE() << PrintPlaylist(ParsePlaylist(row.text));
    } catch (const SyntaxError &error) {
      EXPECT_EQ(LineAndColumn(row.text, error.offset_bytes), row.position);
      EXPECT_STREQ(error.what(), row.message);
    }
  }
}

TEST(Parser, Takes100NestedAndRefuses101) {
  const auto parentheses = [](int depth) {
    return "\"P\" { " + Repeat("(", depth) + "year = 1" + Repeat(")", depth) + " }";
  };
  EXPECT_EQ(ParsePlaylist(parentheses(100)).criteria.number, 1);
  EXPECT_THROW(ParsePlaylist(parentheses(101)), SyntaxError);
  EXPECT_NO_THROW(ParsePlaylist("\"P\" {" + Repeat("not ", 100) + "year = 1 }"));
  EXPECT_THROW(ParsePlaylist("\"P\" {" + Repeat("! ", 101) + "year = 1 }"), SyntaxError);
  EXPECT_THROW(ParsePlaylist("\"P\" {" + Repeat("! ", 100) + "year not = 1 }"), SyntaxError);
}

TEST(Parser, RefusesAMillionParentheses) {
  try {
    ParsePlaylist("\"P\" { " + Repeat("(", 1000000));
    FAIL();
  } catch (const SyntaxError &error) {
    EXPECT_STREQ(error.what(), "nested more than 100 deep");
  }
}

TEST(Parser, Takes100DatesFromDatesAndRefuses101) {
  const auto nested = [](int depth) {
    return "\"P\" { time_added after " + Repeat("1 day before ", depth) + "today }";
  };
  EXPECT_EQ(ParsePlaylist(nested(100)).criteria.date.shifts.size(), 100U);
  EXPECT_THROW(ParsePlaylist(nested(101)), SyntaxError);
}

TEST(Parser, Takes10000ConditionsAndRefusesOneMore) {
  const std::string most = "\"P\" { " + Repeat("year = 1 or ", 9999) + "year = 2";
  EXPECT_EQ(ParsePlaylist(most + " }").criteria.children.size(), 10000U);
  EXPECT_THROW(ParsePlaylist(most + " or year = 3 }"), SyntaxError);
}

TEST(Printer, TheDeepestRuleCanBeReadAgain) {
  const SmartPlaylist playlist =
      ParsePlaylist("\"P\" { " + Repeat("(year = 1 and year = 2 or not ", 50) + "year = 3" +
                    Repeat(")", 50) + "}");
  EXPECT_EQ(ParsePlaylist(PrintPlaylist(playlist)), playlist);
}

} // namespace
} // namespace vexo::smart
