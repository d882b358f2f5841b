// What the daemon answers, to the byte, and how it stays in one piece.
#include "vexoaudiod/reply.h"
#include <gtest/gtest.h>
#include <json/json.h>

namespace vexo::audiod {
namespace {

Json::Value Parsed(const std::string &reply) {
  Json::Value root;
  Json::Reader reader;
  EXPECT_TRUE(reader.parse(reply, root, true)) << reply.substr(0, 200);
  return root;
}

QueueEntry Entry(const std::string &res) {
  QueueEntry entry;
  entry.res = res;
  return entry;
}

/// An entry with `text` wherever there is a text.
QueueEntry Wordy(const std::string &res, const std::string &text) {
  QueueEntry entry = Entry(res);
  entry.title = entry.artist = entry.album = entry.genre = text;
  return entry;
}

TEST(ReplyTest, AQueueIsOneLineOfJson) {
  QueueEntry entry = Entry("/music/Å \"b\"/c\\d.mp3");
  entry.title = "Títle";
  entry.artist = "A";
  entry.album = "B";
  entry.genre = "G";
  entry.track = 3;
  entry.disc = 1;
  entry.year = 1987;
  entry.duration_seconds = 215;
  entry.sample_rate = 44100;
  entry.channels = 2;
  entry.bitrate = 320000;
  entry.song_id = 12;
  entry.size_bytes = 5'000'000'000;
  EXPECT_EQ(QueueReply({entry, Entry("http://radio/")}, 12),
            R"({"total":12,"uris":[{"album":"B","artist":"A","bitrate":320000,"channels":2,)"
            R"("disc":1,"duration":215,"genre":"G","item_id":"musiclib_music@12",)"
            R"("res":"/music/Å \"b\"/c\\d.mp3","sample":44100,"size":"5000000000",)"
            R"("title":"Títle","track":3,"year":1987},{"res":"http://radio/"}]})");
}

TEST(ReplyTest, AnEmptyQueueHasNoEntries) {
  EXPECT_EQ(QueueReply({}, 0), R"({"total":0,"uris":[]})");
}

TEST(ReplyTest, ErrorsSayWhy) {
  EXPECT_EQ(ErrorReply("there is no player 3"), R"({"error":"there is no player 3"})");
  EXPECT_EQ(QueueErrorReply("no \"MPD\""), R"({"error":"no \"MPD\"","total":-1,"uris":[]})");
  EXPECT_EQ(SelectedReply(-1), R"({"player":-1})");
}

TEST(ReplyTest, AnErrorOfAnyLengthIsShort) {
  EXPECT_LT(ErrorReply(std::string(100000, '\n')).size(), 1000U);
}

TEST(ReplyTest, TextsAreCutToARecordsLengthBetweenCharacters) {
  const std::string umlauts = [] {
    std::string text = "x";
    for (int count = 0; count < 200; ++count) {
      text += "ü";
    }
    return text;
  }();
  const Json::Value entry = Parsed(QueueReply({Wordy("/a", umlauts)}, 1))["uris"][0];
  EXPECT_EQ(entry["title"].asString(), umlauts.substr(0, 253));
  EXPECT_EQ(entry["genre"].asString(), umlauts.substr(0, 253));
}

TEST(ReplyTest, BytesThatAreNoTextAreReplaced) {
  const Json::Value entry = Parsed(QueueReply({Wordy("/a", "a\xff"
                                                           "b")},
                                              1))["uris"][0];
  EXPECT_EQ(entry["title"].asString(), "a\xef\xbf\xbd"
                                       "b");
}

TEST(ReplyTest, APathIsNeverTouched) {
  const std::string path = "/\xff\xfe/a\tb\nc\x01\x7f\"\\/\xe2\x82";
  EXPECT_EQ(Parsed(QueueReply({Entry(path)}, 1))["uris"][0]["res"].asString(), path);
}

struct PageRow {
  const char *description;
  std::string path;
  std::string text;
  std::size_t text_kept;
};

TEST(ReplyTest, FiveEntriesOfTheLongestPathsFitOnePiece) {
  const std::string longest(4095, 'p');
  std::string quotes;
  for (int count = 0; count < 1000; ++count) {
    quotes += "\"'x\xc3\xbc";
  }
  const PageRow rows[] = {
      {"plain paths and texts", longest, std::string(5000, 't'), 254},
      {"paths of which much is escaped", longest.substr(0, 1500) + quotes.substr(0, 2594),
       std::string(5000, 't'), 254},
      {"texts that are longer escaped", longest, std::string(5000, '\x01'), 64},
      {"paths that take it all", std::string(3200, '"'), std::string(300, 't'), 0},
  };
  for (const PageRow &row : rows) {
    const std::vector<QueueEntry> entries(5, Wordy(row.path, row.text));
    const std::string reply = QueueReply(entries, 1000);
    EXPECT_LT(reply.size(), 32768U) << row.description;
    const Json::Value page = Parsed(reply);
    EXPECT_EQ(page["total"].asInt(), 1000) << row.description;
    ASSERT_EQ(page["uris"].size(), 5U) << row.description;
    for (const Json::Value &entry : page["uris"]) {
      EXPECT_EQ(entry["res"].asString(), row.path) << row.description;
      EXPECT_EQ(entry["title"].asString().size(), std::min(row.text_kept, row.text.size()))
          << row.description;
    }
  }
}

TEST(ReplyTest, FivePathsThatDoNotFitAreAnErrorNotAShorterPage) {
  const Json::Value page = Parsed(QueueReply(std::vector(5, Entry(std::string(4095, '"'))), 5));
  EXPECT_EQ(page["total"].asInt(), -1);
  EXPECT_EQ(page["uris"].size(), 0U);
  EXPECT_TRUE(page["error"].isString());
}

TEST(ReplyTest, ALongerPageLeavesEntriesForTheNext) {
  const std::vector<QueueEntry> entries(64, Wordy(std::string(2000, 'p'), "title"));
  const std::string reply = QueueReply(entries, 64);
  EXPECT_LT(reply.size(), 32768U);
  const Json::Value page = Parsed(reply);
  EXPECT_EQ(page["total"].asInt(), 64);
  EXPECT_GE(page["uris"].size(), 10U);
  EXPECT_EQ(page["uris"][0]["title"].asString(), "title");
}

TEST(ReplyTest, EveryPageOfUpTo64EntriesFitsOrIsAnError) {
  for (std::size_t length = 1; length <= 4095; length += 1023) {
    for (const std::size_t count : {0U, 1U, 4U, 5U, 6U, 7U, 20U, 63U, 64U}) {
      const std::vector<QueueEntry> entries(count, Wordy(std::string(length, '\x02'), "\x02\x03"));
      EXPECT_LT(QueueReply(entries, 64).size(), 32768U) << length << " " << count;
    }
  }
}

} // namespace
} // namespace vexo::audiod
