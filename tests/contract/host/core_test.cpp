#include "host/core.h"
#include "support/device_root.h"
#include "vexo/core.h"
#include <array>
#include <cstring>
#include <memory>

namespace {

using List = std::unique_ptr<VLIBCSzList, decltype(&VLIBCSzListFree)>;

TEST(StringList, IsEmptyAtFirst) {
  const List list(VLIBCSzListAlloc(1024), VLIBCSzListFree);
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(list->texts.empty());
}

TEST(StringList, MayBeFreedWhenNull) { VLIBCSzListFree(nullptr); }

TEST(StringList, OfANegativeSizeIsNone) { EXPECT_EQ(VLIBCSzListAlloc(-1), nullptr); }

TEST(VLIBCStrSep, AppendsThePiecesAndCountsThem) {
  PSZLIST list = VLIBCSzListAlloc(1);
  EXPECT_EQ(VLIBCStrSep("a,b", ",", &list), 2);
  EXPECT_EQ(VLIBCStrSep(",c,,", ",", &list), 1);
  EXPECT_EQ(VLIBCStrSep("", ",", &list), 0);
  EXPECT_EQ(list->texts, (std::vector<std::string>{"a", "b", "c"}));
  VLIBCSzListFree(list);
}

TEST(VLIBCStrSep, RefusesNullsAndAnEmptySeparator) {
  const List owner(VLIBCSzListAlloc(1), VLIBCSzListFree);
  PSZLIST list = owner.get();
  PSZLIST none = nullptr;
  EXPECT_EQ(VLIBCStrSep(nullptr, ",", &list), -1);
  EXPECT_EQ(VLIBCStrSep("a", nullptr, &list), -1);
  EXPECT_EQ(VLIBCStrSep("a", "", &list), -1);
  EXPECT_EQ(VLIBCStrSep("a", ",", &none), -1);
  EXPECT_EQ(VLIBCStrSep("a", ",", nullptr), -1);
}

TEST(VLIBCStrTrimSpace, TrimsInPlace) {
  std::array<char, 16> text{" \ta b\r\n"};
  EXPECT_EQ(VLIBCStrTrimSpace(text.data(), 0), 0);
  EXPECT_STREQ(text.data(), "a b");
}

TEST(VLIBCStrTrimSpace, LeavesAnEmptyTextOfBlanks) {
  std::array<char, 16> text{"   "};
  EXPECT_EQ(VLIBCStrTrimSpace(text.data(), 0), 0);
  EXPECT_STREQ(text.data(), "");
}

TEST(VLIBCStrTrimSpace, FailsForNullAndOtherModes) {
  std::array<char, 4> text{" a"};
  EXPECT_LT(VLIBCStrTrimSpace(nullptr, 0), 0);
  EXPECT_LT(VLIBCStrTrimSpace(text.data(), 1), 0);
  EXPECT_STREQ(text.data(), " a");
}

TEST(VLIBCUnicodeStrUTF8ToCP, GivesTheLengthInBytes) {
  std::array<char, 8> buffer{};
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(932, "\u3042", buffer.data(), 8), 2);
  EXPECT_STREQ(buffer.data(), "\x82\xA0");
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, "", buffer.data(), 1), 0);
  EXPECT_STREQ(buffer.data(), "");
}

TEST(VLIBCUnicodeStrUTF8ToCP, FailsForWhatDoesNotFitAndLeavesTheBuffer) {
  std::array<char, 4> buffer{"old"};
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, "abcd", buffer.data(), 4), -1);
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, "", buffer.data(), 0), -1);
  EXPECT_STREQ(buffer.data(), "old");
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, "abc", buffer.data(), 4), 3);
}

TEST(VLIBCUnicodeStrUTF8ToCP, ReplacesWhatTheCodePageLacks) {
  std::array<char, 8> buffer{};
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(1252, "\u3042.mp3", buffer.data(), 8), 5);
  EXPECT_STREQ(buffer.data(), "_.mp3");
}

TEST(VLIBCUnicodeStrUTF8ToCP, FailsForWhatIsNotConvertible) {
  std::array<char, 8> buffer{};
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(4711, "a", buffer.data(), 8), -1);
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, nullptr, buffer.data(), 8), -1);
  EXPECT_EQ(VLIBCUnicodeStrUTF8ToCP(65001, "a", nullptr, 8), -1);
}

} // namespace
