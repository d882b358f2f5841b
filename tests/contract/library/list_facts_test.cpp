// What is kept of lists, so that they need not be read again.
#include "catalog/list_facts.h"
#include "playlists/playlist_text.h"
#include "support/temporary_folder.h"
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vexo::catalog {
namespace {

FileState SomeState(uint64_t inode) {
  return {.is_there = true, .device = 1, .inode = inode, .size_bytes = 7, .modified_ns = 5};
}

ListFacts SomeFacts(uint32_t entries) {
  return {.version = std::string(32, 'a'),
          .size_bytes = 7,
          .entries = entries,
          .duration_seconds = 1.5};
}

TEST(FactsOfAList, AreCountedFromItsBytes) {
  const std::string text =
      "#EXTM3U\n#EXTINF:60,a\n/a\n/b\n#EXTINF:-1,c\nhttp://c/\n#EXTINF:2,d\n/d";
  const ListFacts facts = FactsOf(text, "/playlists/a.m3u");
  EXPECT_EQ(facts.entries, 4U);
  EXPECT_DOUBLE_EQ(facts.duration_seconds, 62);
  EXPECT_EQ(facts.untold, 1U);
  EXPECT_EQ(facts.size_bytes, text.size());
  EXPECT_EQ(FactsOf("[playlist]\nFile1=/a\nLength1=3\n", "/a.m3u").duration_seconds, 3);
  EXPECT_THROW((void)FactsOf(std::string_view("\0", 1), "/a.m3u"), playlists::UnreadableError);
}

class Store : public ::testing::Test {
protected:
  TemporaryFolder folder_;
  std::string path_ = folder_.path() + "/facts";
};

TEST_F(Store, GivesWhatWasKeptForThatState) {
  FactsStore(path_).Keep(SomeState(1), SomeFacts(3));
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1)), SomeFacts(3));
  EXPECT_EQ(FactsStore(path_).Find(SomeState(2)), std::nullopt);
  FactsStore(path_).Keep(SomeState(1), SomeFacts(4));
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1)), SomeFacts(4));
  FactsStore(path_).Keep(SomeState(1), SomeFacts(5), "revision 2");
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1)), SomeFacts(4));
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1), "revision 2"), SomeFacts(5));
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1), "revision 3"), std::nullopt);
}

TEST_F(Store, IsForItsOwnerAndDoesNotGrow) {
  const FactsStore store(path_);
  for (uint64_t inode = 0; inode < 20'000; ++inode) {
    store.Keep(SomeState(inode), SomeFacts(1));
  }
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_LE(status.st_size, 8 << 20);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(store.Find(SomeState(19'999)), SomeFacts(1));
}

TEST_F(Store, TakesNothingThatIsTorn) {
  FactsStore(path_).Keep(SomeState(1), SomeFacts(3));
  std::string bytes;
  {
    std::ifstream file(path_, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
  }
  bytes[bytes.rfind('a')] ^= 1; // in the version
  std::ofstream(path_, std::ios::binary) << bytes;
  EXPECT_EQ(FactsStore(path_).Find(SomeState(1)), std::nullopt);
}

TEST_F(Store, KeepsNothingThatMayChangeUnnoticed) {
  const FactsStore store(path_);
  FileState link = SomeState(1);
  link.is_link = true;
  store.Keep(link, SomeFacts(1));
  EXPECT_EQ(store.Find(link), std::nullopt);
  std::ofstream(folder_.path() + "/new") << "1234567";
  const FileState fresh = StateOfFile(folder_.path() + "/new");
  store.Keep(fresh, SomeFacts(1));
  EXPECT_EQ(store.Find(fresh), std::nullopt);
  FileState grown = SomeState(2);
  grown.size_bytes = 8;
  store.Keep(grown, SomeFacts(1));
  EXPECT_EQ(store.Find(grown), std::nullopt);
}

TEST_F(Store, ThatCannotBeKeptIsEmpty) {
  const FactsStore store(folder_.path() + "/no/such/folder");
  store.Keep(SomeState(1), SomeFacts(1));
  EXPECT_EQ(store.Find(SomeState(1)), std::nullopt);
}

} // namespace
} // namespace vexo::catalog
