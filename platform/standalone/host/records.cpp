#include "host/records.h"

#include "text/utf8.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <malloc.h>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace vexo::host {

namespace {

/// A song's node, and what it takes before it is one.
constexpr std::size_t kBytesOfSong = sizeof(VEXOPlaylistRec) + 1024;

bool IsInsideCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

template <std::size_t Size> std::string_view Text(const char (&field)[Size]) {
  return {field, strnlen(field, Size)};
}

/// `bytes` without the UTF-8 character that is cut off at their end, if one is.
std::string_view WithoutCutCharacter(std::string_view bytes) {
  constexpr std::size_t kLongestCharacter = 4;
  const std::size_t most = std::min(bytes.size(), kLongestCharacter - 1);
  for (std::size_t cut = 1; cut <= most; ++cut) {
    const auto first = static_cast<unsigned char>(bytes[bytes.size() - cut]);
    if (first >= 0xC0 && text::IsUtf8(bytes.substr(0, bytes.size() - cut))) {
      return bytes.substr(0, bytes.size() - cut);
    }
  }
  return bytes;
}

/// The text of a field. One that fills the field may have been cut in the middle of its last
/// character, which is dropped then.
template <std::size_t Size> std::string_view WholeCharacters(const char (&field)[Size]) {
  const std::string_view text = Text(field);
  return text.size() >= Size - 1 ? WithoutCutCharacter(text) : text;
}

template <std::size_t Size> void SetTextIfEmpty(char (&field)[Size], std::string_view text) {
  if (field[0] == '\0') {
    CopyText(field, text);
  }
}

void FillPath(__tag_VEXO_MEDIA_INFO &record, std::string_view path) {
  if (path.size() < sizeof record.path) {
    CopyText(record.path, path);
  }
}

/// Makes a node empty. Nobody reads behind the end of a text, and zeroing five kilobytes for each
/// of ten thousand songs takes as long as looking them up.
void Clear(VEXOPlaylistRec &node) {
  __tag_VEXO_MEDIA_INFO &record = node.info;
  for (char *text : {record.path, record.title, record.album, record.artist, record.genre,
                     record.albumArtUrl, record.changeTime, record.modificationTime}) {
    *text = '\0';
  }
  record.id = record.track = record.disc = record.year = 0;
  record.duration = 0;
  record.bitrate = record.sampleRate = record.channels = 0;
  record.size = 0;
  node.next = nullptr;
}

constexpr std::size_t kHugePage = std::size_t{2} << 20;

char *EndOfHeap() { return static_cast<char *>(sbrk(0)); }

std::size_t ToNextHugePage(const char *place) {
  return kHugePage - reinterpret_cast<std::uintptr_t>(place) % kHugePage;
}

/// Lets malloc() take what comes next from `size` bytes of whole huge pages, which the kernel is
/// asked for as only some systems give them unasked. Where malloc() is another one, nothing grows.
void GrowHeap(std::size_t size) {
  constexpr int kLargestPiece = 32 << 20; // what malloc() takes from the heap, and no more
  constexpr int kUsualStep = 128 << 10;
  constexpr std::size_t kBorder = std::size_t{8} << 10;
  static void *volatile gap; // nobody writes to it, so it takes no memory
  mallopt(M_MMAP_THRESHOLD, kLargestPiece);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  char *first = EndOfHeap() + 2 * kBorder;
  first += ToNextHugePage(first);
  // What does not fit into the rest of the heap makes it grow, by the padding as well. It ends
  // before the first huge page: one that was written to before it is asked for stays in pieces.
  const std::size_t rest = mallinfo2().keepcost;
  mallopt(M_TOP_PAD, static_cast<int>(size + 2 * kBorder));
  gap = std::malloc(rest + static_cast<std::size_t>(first - EndOfHeap()) - kBorder);
  if (EndOfHeap() > first) {
    madvise(first, static_cast<std::size_t>(EndOfHeap() - first), MADV_HUGEPAGE);
  } else {
    std::free(gap);
  }
  mallopt(M_TOP_PAD, kUsualStep);
}

} // namespace

void CopyText(char *field, std::size_t size, std::string_view text) {
  std::size_t length = text.size();
  if (length >= size) {
    length = size - 1;
    while (length > 0 && IsInsideCharacter(text[length])) {
      --length;
    }
  }
  text.copy(field, length); // which may be of no text at all
  field[length] = '\0';
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const index::SongView &song) {
  record.id = song.id;
  FillPath(record, song.path);
  record.track = song.track;
  record.disc = song.disc;
  record.year = song.year;
  CopyText(record.title, song.title);
  CopyText(record.album, song.album);
  CopyText(record.artist, song.artist);
  CopyText(record.genre, song.genre);
  record.duration = static_cast<float>(song.duration_seconds);
  record.bitrate = song.bitrate;
  record.sampleRate = song.sample_rate;
  record.channels = song.channels;
  record.size = song.size_bytes;
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const index::Playlist &playlist) {
  record.id = playlist.id;
  FillPath(record, playlist.path);
  CopyText(record.title, playlist.title);
  CopyText(record.album, playlist.album);
  CopyText(record.changeTime, playlist.change_time);
  CopyText(record.modificationTime, playlist.modification_time);
  record.size = playlist.size_bytes;
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const playlists::Entry &entry,
                const index::Song *song) {
  if (song != nullptr) {
    FillRecord(record, *song);
  } else {
    FillPath(record, entry.path);
  }
  SetTextIfEmpty(record.title, entry.title);
  SetTextIfEmpty(record.artist, entry.artist);
  if (record.duration <= 0) {
    record.duration = entry.duration_seconds;
  }
}

index::Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner) {
  return {.id = record.id,
          .owner = owner,
          .path = std::string(Text(record.path)),
          .title = std::string(Text(record.title)),
          .album = std::string(Text(record.album)),
          .change_time = std::string(Text(record.changeTime)),
          .modification_time = std::string(Text(record.modificationTime)),
          .size_bytes = record.size};
}

std::vector<playlists::NewEntry> NewEntries(const VEXOPlaylistRec *songs, std::size_t count) {
  std::vector<playlists::NewEntry> entries;
  for (; songs != nullptr && entries.size() < count; songs = songs->next) {
    const __tag_VEXO_MEDIA_INFO &song = songs->info;
    entries.push_back({Text(song.path), WholeCharacters(song.artist), WholeCharacters(song.title),
                       song.duration});
  }
  return entries;
}

void ReserveSongs(std::size_t count) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  static std::size_t reserved = 0;
  const std::size_t size = std::min(count * kBytesOfSong, kMost);
  if (size > kHugePage / 2 && size > reserved) {
    reserved = size;
    GrowHeap((size / kHugePage + 2) * kHugePage); // one for pages of the index
  }
}

__tag_VEXO_MEDIA_INFO &SongListBuilder::Append() {
  auto *const node = static_cast<VEXOPlaylistRec *>(std::malloc(sizeof(VEXOPlaylistRec)));
  if (node == nullptr) {
    throw std::bad_alloc();
  }
  Clear(*node);
  if (last_ == nullptr) {
    list_.reset(node);
  } else {
    last_->next = node;
  }
  last_ = node;
  return node->info;
}

SongList MakeSongList(const std::vector<index::Song> &songs) {
  return MakeSongList(songs.size(), [&](__tag_VEXO_MEDIA_INFO &record, std::size_t position) {
    FillRecord(record, songs[position]);
  });
}

SongList MakeSongList(const playlists::EntrySongs &songs) {
  return MakeSongList(songs.size(), [&](__tag_VEXO_MEDIA_INFO &record, std::size_t position) {
    FillRecord(record, songs.entry(position), songs.song(position));
  });
}

SongList
MakeSongList(std::size_t count,
             const std::function<void(__tag_VEXO_MEDIA_INFO &record, std::size_t position)> &fill) {
  ReserveSongs(count);
  SongListBuilder list;
  for (std::size_t position = 0; position < count; ++position) {
    fill(list.Append(), position);
  }
  return list.Take();
}

} // namespace vexo::host
