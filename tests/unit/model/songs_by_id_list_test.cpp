#include "model/song_json.h"
#include "recording_platform/host_test.h"
#include <limits>

namespace {

/// Allocations that still succeed before one fails.
std::size_t allocations_left = std::numeric_limits<std::size_t>::max();

} // namespace

extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size) {
  if (size == sizeof(VEXOPlaylistRec) && allocations_left-- == 0) {
    return nullptr;
  }
  return __real_calloc(count, size);
}
}

namespace {

using recording::Show;
using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SongsByIdList : public recording::HostTest {
protected:
  void SetUp() override {
    HostTest::SetUp();
    allocations_left = std::numeric_limits<std::size_t>::max();
    host().records["VEXOMusicListGetByID"] = {Song(12, "/twelve.mp3"), Song(13, "/thirteen.mp3")};
  }
  void TearDown() override {
    allocations_left = std::numeric_limits<std::size_t>::max();
    songs_.reset();
    HostTest::TearDown();
  }

  /// The list that the text gives, "failed" when it fails.
  std::string Built(const std::string &text) {
    return GetSongsByText(text.c_str(), songs_, &count_) ? Show(songs_.get()) : "failed";
  }

  SongList songs_;
  int count_ = -1;
};

TEST_F(SongsByIdList, LooksUpAllIdsWithOneQueryOfTheSharedLibrary) {
  EXPECT_EQ(Built(R"(["12", "13", "12"])"), "[12 /twelve.mp3, 13 /thirteen.mp3, 12 /twelve.mp3]");
  EXPECT_THAT(host().Effects(), ElementsAre("VEXOMusicListGetByID(\"shared\", 0, \"12,13,12\")"));
  EXPECT_EQ(count_, 3);
}

TEST_F(SongsByIdList, MakesNoQueryForObjectsOnly) {
  EXPECT_EQ(Built(R"([{"res": "/a.mp3"}, {"res": "/b.mp3"}])"), "[0 /a.mp3, 0 /b.mp3]");
  EXPECT_THAT(host().Effects(), IsEmpty());
}

TEST_F(SongsByIdList, HasANodeForEachElementInOrder) {
  EXPECT_EQ(Built(R"(["12", {"res": "/a.mp3", "item_id": "musiclib@3"}, "999"])"),
            "[12 /twelve.mp3, 3 /a.mp3, 0 ]");
  EXPECT_THAT(host().Effects(), ElementsAre("VEXOMusicListGetByID(\"shared\", 0, \"12,999\")"));
  EXPECT_EQ(Show(&songs_->next->next->info), "{}");
}

TEST_F(SongsByIdList, OfAnEmptyArrayIsEmpty) {
  EXPECT_EQ(Built("[]"), "null");
  EXPECT_EQ(count_, 0);
  EXPECT_THAT(host().Effects(), IsEmpty());
}

TEST_F(SongsByIdList, HandsTextsOverAsTheyAre) {
  EXPECT_EQ(Built(R"(["", "12 x"])"), "[0 , 12 /twelve.mp3]");
  EXPECT_THAT(host().Calls("VEXOMusicListGetByID"),
              ElementsAre("VEXOMusicListGetByID(\"shared\", 0, \",12 x\")"));
}

TEST_F(SongsByIdList, CountsWhatIsNeitherTextNorObjectAsAnUnknownId) {
  EXPECT_EQ(Built(R"([null, 12, -1, 1e99, 99999999999999999999, true, [], ["12"], "13"])"),
            "[0 , 0 , 0 , 0 , 0 , 0 , 0 , 0 , 13 /thirteen.mp3]");
  EXPECT_THAT(host().Calls("VEXOMusicListGetByID"),
              ElementsAre("VEXOMusicListGetByID(\"shared\", 0, \"13\")"));
}

TEST_F(SongsByIdList, CountsAnIdThatDoesNotFitAsUnknown) {
  EXPECT_EQ(Built(R"(["4294967308", "99999999999999999999", "-12"])"), "[0 , 0 , 0 ]");
}

TEST_F(SongsByIdList, LogsIdsOfZeroAndIdsOfNoList) {
  EXPECT_EQ(Built(R"(["abc"])"), "[0 ]");
  host().records["VEXOMusicListGetByID"].clear();
  EXPECT_EQ(Built(R"(["12"])"), "[0 ]");
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameters", "Bad parameters"));
}

TEST_F(SongsByIdList, FailsWhenTheQueryFails) {
  host().results["VEXOMusicListGetByID"] = {-1};
  EXPECT_EQ(Built(R"([{"res": "/a.mp3"}, "12"])"), "failed");
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to get music list from database."));
  EXPECT_EQ(songs_, nullptr);
}

TEST_F(SongsByIdList, FailsAtATextFieldThatIsNoText) {
  EXPECT_EQ(Built(R"(["12", {"res": 5}, "13"])"), "failed");
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
}

TEST_F(SongsByIdList, LeavesWhatWasBuiltBeforeAFailureToTheCaller) {
  allocations_left = 1;
  VEXOPlaylistRec *head = nullptr;
  Json::Value list;
  list.append("12");
  list.append("13");
  host().records.erase("VEXOMusicListGetByID");
  EXPECT_FALSE(GetSongsByIdList(list, &head));
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameters", "Failed to calloc."));
  EXPECT_EQ(Show(head), "[0 ]");
  songs_.reset(head);
}

TEST_F(SongsByIdList, RefusesToBuildNowhere) {
  EXPECT_FALSE(GetSongsByIdList(Json::Value(Json::arrayValue), nullptr));
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
}

TEST_F(SongsByIdList, DoesNotReleaseTheHostsList) {
  EXPECT_EQ(Built(R"(["12"])"), "[12 /twelve.mp3]");
  EXPECT_THAT(host().Calls("VEXOPlaylistRecFree"), IsEmpty());
}

TEST_F(SongsByIdList, GivesASongWhereverItIsNamedAgain) {
  EXPECT_EQ(Built(R"(["13", "12", "13", "99", "13", "12"])"),
            "[13 /thirteen.mp3, 12 /twelve.mp3, 13 /thirteen.mp3, 0 , 13 /thirteen.mp3, "
            "12 /twelve.mp3]");
}

TEST_F(SongsByIdList, HoldsARecordThatIsNamedOnceOnlyOnce) {
  allocations_left = 4; // the host's two, the object's, and that of the song that is not known
  EXPECT_EQ(Built(R"(["12", {"res": "/a"}, "13", "99"])"),
            "[12 /twelve.mp3, 0 /a, 13 /thirteen.mp3, 0 ]");
}

TEST_F(SongsByIdList, MatchesThousandsOfIdsInAnyOrder) {
  constexpr int kCount = 3000;
  host().records["VEXOMusicListGetByID"].clear();
  Json::Value list(Json::arrayValue);
  for (int i = 1; i <= kCount; ++i) {
    host().records["VEXOMusicListGetByID"].push_back(Song(i, "/" + std::to_string(i)));
    list.append(std::to_string(kCount + 1 - i));
  }
  VEXOPlaylistRec *head = nullptr;
  ASSERT_TRUE(GetSongsByIdList(list, &head));
  songs_.reset(head);
  int expected = kCount;
  for (; head != nullptr; head = head->next) {
    EXPECT_EQ(head->info.id, expected);
    EXPECT_EQ(head->info.path, "/" + std::to_string(expected));
    --expected;
  }
  EXPECT_EQ(expected, 0);
}

TEST_F(SongsByIdList, RefusesTextThatIsNoJson) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  for (const std::string &text :
       {std::string(), std::string("["), std::string("[\"12\""), std::string("abc"),
        std::string("[1e999999]"), std::string(100000, '['), deep, std::string(100000, '{'),
        "[" + deep + "]"}) {
    host().log.clear();
    EXPECT_EQ(Built(text), "failed") << text.substr(0, 20);
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to parse json.")) << text.substr(0, 20);
  }
}

TEST_F(SongsByIdList, RefusesWhatIsNoArray) {
  for (const char *text : {"{}", R"({"a": ["12"]})"}) {
    host().log.clear();
    EXPECT_EQ(Built(text), "failed") << text;
    EXPECT_THAT(host().Messages(), ElementsAre("id_info_list is not a Json array.")) << text;
  }
}

TEST_F(SongsByIdList, TakesTenMegabytesOfText) {
  const std::string path(10 << 20, 'a');
  EXPECT_EQ(Built("[{\"res\": \"" + path + "\"}]"), "[0 " + path.substr(0, 4095) + "]");
}

TEST_F(SongsByIdList, TakesCommentsAsTheParserDoes) {
  EXPECT_EQ(Built("[\"12\" /* the first */]"), "[12 /twelve.mp3]");
}

TEST_F(SongsByIdList, LogsWithModuleAndLineAtErrorPriority) {
  EXPECT_EQ(Built("x"), "failed");
  ASSERT_EQ(host().log.size(), 1U);
  EXPECT_EQ(host().log[0].module, "audio_playlist.cpp");
  EXPECT_GT(host().log[0].line, 0);
  EXPECT_EQ(host().log[0].priority, 3); // LOG_ERR
}

} // namespace
