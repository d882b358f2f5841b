#include "playlists/version.h"
#include <gtest/gtest.h>

namespace vexo::playlists {
namespace {

// Clients keep versions: those of a program of tomorrow are those of today.
TEST(ContentVersion, IsTheSameForever) {
  EXPECT_EQ(ContentVersion(""), "99aa06d3014798d86001c324468d497f");
  EXPECT_EQ(ContentVersion("#EXTM3U\n"), "e309804c8f7767b9290cf06b09c44683");
}

TEST(ContentVersion, TellsAnyByteApart) {
  EXPECT_NE(ContentVersion("#EXTM3U\na\n"), ContentVersion("#EXTM3U\nb\n"));
  EXPECT_NE(ContentVersion("a"), ContentVersion(std::string("a\0", 2)));
}

} // namespace
} // namespace vexo::playlists
