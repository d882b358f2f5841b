#include "model/song_list.h"

#include "model/log_line.h"
#include "vexo/playlist_file.h"
#include <cstdlib>

namespace {

// What is read of each entry.
constexpr char kAllFields[] = "*";
constexpr int kEntryCode = 7;

} // namespace

VEXOPlaylistRec *NewSong() {
  return static_cast<VEXOPlaylistRec *>(std::calloc(1, sizeof(VEXOPlaylistRec)));
}

void SongListBuilder::Append(VEXOPlaylistRec *node) {
  *link_ = node;
  link_ = &node->next;
  ++count_;
}

VEXOPlaylistRec *SongListBuilder::AppendNew() {
  VEXOPlaylistRec *node = NewSong();
  if (node == nullptr) {
    LOG_LINE("Failed to calloc.");
    return nullptr;
  }
  Append(node);
  return node;
}

SongList ReadPlaylistFile(const std::string &path, int *count) {
  return SongList(ParsePlayListByFieldGivenPath(path.c_str(), count, 0, 0, kAllFields, kEntryCode));
}
