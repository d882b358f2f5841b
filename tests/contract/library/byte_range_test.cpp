// Ranges of a file, and the versions that they belong to.
#include "media/byte_range.h"
#include "media/file_version.h"
#include "media/x_sendfile.h"
#include <cstdlib>
#include <gtest/gtest.h>

namespace vexo::media {

void PrintTo(const ByteRange &range, std::ostream *out) {
  *out << static_cast<int>(range.kind) << ":" << range.first << "+" << range.size;
}

namespace {

using Kind = ByteRange::Kind;

TEST(Range, IsTheStretchThatIsAskedFor) {
  struct Row {
    const char *field;
    uint64_t size;
    ByteRange range;
  };
  const Row rows[] = {
      {"", 100, {Kind::kWhole, 0, 100}},
      {"bytes=0-0", 100, {Kind::kPart, 0, 1}},
      {"bytes=0-99", 100, {Kind::kPart, 0, 100}},
      {"bytes=90-200", 100, {Kind::kPart, 90, 10}},
      {"bytes=99-", 100, {Kind::kPart, 99, 1}},
      {"bytes=-7", 100, {Kind::kPart, 93, 7}},
      {"bytes=-700", 100, {Kind::kPart, 0, 100}},
      {"BYTES = 1-2 ", 100, {Kind::kPart, 1, 2}},
      {"bytes=5-99999999999999999999999", 100, {Kind::kPart, 5, 95}},
      {"bytes=100-", 100, {Kind::kUnsatisfiable, 0, 0}},
      {"bytes=99999999999999999999999-", 100, {Kind::kUnsatisfiable, 0, 0}},
      {"bytes=-0", 100, {Kind::kUnsatisfiable, 0, 0}},
      {"bytes=0-", 0, {Kind::kUnsatisfiable, 0, 0}},
      {"bytes=-1", 0, {Kind::kUnsatisfiable, 0, 0}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(ParseRange(row.field, row.size), row.range) << row.field;
  }
}

TEST(Range, ThatIsNoneOrSeveralIsIgnored) {
  const ByteRange ignored{Kind::kIgnored, 0, 100};
  for (const char *field :
       {"bytes", "bytes=", "bytes=-", "bytes=a-b", "bytes=5-2", "bytes=1-2-3", "bytes=--1",
        "bytes=+1-2", "bytes=1 - 2", "lines=0-3", "=0-3", "bytes=0-1,3-4", "bytes=,0-1", "0-3"}) {
    EXPECT_EQ(ParseRange(field, 100), ignored) << field;
  }
}

TEST(Range, IsToldInItsAnswer) {
  EXPECT_EQ(ContentRange(ParseRange("bytes=1-2", 100), 100), "Content-Range: bytes 1-2/100\r\n");
  EXPECT_EQ(ContentRange(ParseRange("bytes=100-", 100), 100), "Content-Range: bytes */100\r\n");
  EXPECT_EQ(ContentRange(ParseRange("", 100), 100), "");
}

struct stat StatusOf(ino_t inode, off_t size, time_t seconds, long nanoseconds) {
  struct stat status {};
  status.st_ino = inode;
  status.st_size = size;
  status.st_mtim = {seconds, nanoseconds};
  return status;
}

TEST(Version, IsAnotherOneWhenInodeSizeOrTimeAre) {
  const std::string etag = VersionOf(StatusOf(1, 2, 3, 4)).etag;
  EXPECT_EQ(etag, "\"1-2-3.4\"");
  EXPECT_NE(etag, VersionOf(StatusOf(2, 2, 3, 4)).etag);
  EXPECT_NE(etag, VersionOf(StatusOf(1, 3, 3, 4)).etag);
  EXPECT_NE(etag, VersionOf(StatusOf(1, 2, 4, 4)).etag);
  EXPECT_NE(etag, VersionOf(StatusOf(1, 2, 3, 5)).etag);
}

TEST(Version, OfARangeIsComparedToTheLetter) {
  const FileVersion version = VersionOf(StatusOf(1, 2, 784111777, 0));
  EXPECT_EQ(version.last_modified, "Sun, 06 Nov 1994 08:49:37 GMT");
  constexpr time_t kLater = 784111900;
  for (const char *field : {"", "\"1-2-2ebc98a1.0\"", "Sun, 06 Nov 1994 08:49:37 GMT"}) {
    EXPECT_TRUE(FitsIfRange(version, field, kLater)) << field << version.etag;
  }
  for (const char *field : {"W/\"1-2-2ebc98a1.0\"", "\"other\"", "Sun, 06 Nov 1994 08:49:38 GMT"}) {
    EXPECT_FALSE(FitsIfRange(version, field, kLater)) << field;
  }
  // It might change once more within this second.
  EXPECT_FALSE(FitsIfRange(version, version.last_modified, version.modified));
}

TEST(Version, IsOldEnoughForAClientThatHasIt) {
  const FileVersion version = VersionOf(StatusOf(1, 2, 784111777, 0));
  EXPECT_TRUE(IsNotModifiedSince(version, "Sun, 06 Nov 1994 08:49:37 GMT"));
  EXPECT_TRUE(IsNotModifiedSince(version, "Sun, 06 Nov 2094 08:49:37 GMT"));
  for (const char *field : {"Sun, 06 Nov 1994 08:49:36 GMT", "", "yesterday",
                            "Sun, 06 Nov 2094 08:49:37 GMT; length=3"}) {
    EXPECT_FALSE(IsNotModifiedSince(version, field)) << field;
  }
}

TEST(XSendfile, IsForServersThatDoItAndNamesThatTheyTake) {
  unsetenv("VEXO_X_SENDFILE");
  EXPECT_EQ(XSendfileHeader("/a"), std::nullopt);
  setenv("VEXO_X_SENDFILE", "on", 1);
  EXPECT_EQ(XSendfileHeader("/a b/100%\"+ü.mp3"), "X-Sendfile: /a%20b/100%25%22%2B%C3%BC.mp3\r\n");
  for (const char *path : {"/\xFC.mp3", "/a\nb", "/a\x7F"}) {
    EXPECT_EQ(XSendfileHeader(path), std::nullopt);
  }
  unsetenv("VEXO_X_SENDFILE");
}

} // namespace
} // namespace vexo::media
