// The text of a queue.
#include "catalog/queue.h"
#include "playlists/playlist_content.h"
#include <gtest/gtest.h>

namespace vexo::catalog {
namespace {

const std::vector<QueueEntry> kEntries = {
    {.path = "/a.mp3", .artist = "A", .title = "B - C", .duration_seconds = 61.4},
    {.path = "http://radio/?X-Position=9", .artist = {}, .title = "X-Position=8"}};

TEST(QueueText, IsAPlsFileThatOthersRead) {
  const std::string text = FormatQueue(kEntries, {1, 2.5, 1000});
  playlists::PlaylistContent content(text, "/queue.pls");
  ASSERT_EQ(content.size(), 2U);
  EXPECT_EQ(content.At(0).path, "/a.mp3");
  EXPECT_EQ(content.At(0).title, "A - B - C");
  EXPECT_EQ(content.At(0).duration_seconds, 61);
  EXPECT_EQ(content.At(1).title, "X-Position=8");
  EXPECT_EQ(PlaceOf(text), (QueuePlace{1, 2.5, 1000}));
}

TEST(QueueText, TakesAnotherPlaceAndKeepsItsEntries) {
  const std::string text = FormatQueue(kEntries, {1, 2.5, 1000});
  EXPECT_EQ(WithPlace(text, {0, 0.001, 2000}), FormatQueue(kEntries, {0, 0.001, 2000}));
  EXPECT_EQ(WithPlace("", {0, 1, 2}), FormatQueue({}, {0, 1, 2}));
  EXPECT_EQ(playlists::PlaylistContent(FormatQueue({}, {}), "/queue.pls").size(), 0U);
}

TEST(QueueText, KeepsThePlaceOfWhatIsMissing) {
  const std::string text =
      FormatQueue({{.path = {}, .artist = {}, .title = "Gone"}, kEntries[0]}, {});
  playlists::PlaylistContent content(text, "/queue.pls");
  ASSERT_EQ(content.size(), 2U);
  EXPECT_EQ(content.At(0).title, "Gone");
  EXPECT_EQ(content.At(1).path, "/a.mp3");
}

TEST(QueueText, OfAnybodyHasSomePlace) {
  for (const char *text : {"", "X-Position=", "X-Position=-1\nX-Elapsed-Ms=x\n", "\n\nX-Updated",
                           "X-Position=99999999999999999999\n"}) {
    EXPECT_EQ(PlaceOf(text), QueuePlace()) << text;
  }
}

} // namespace
} // namespace vexo::catalog
