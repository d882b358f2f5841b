// The songs of the index, and the rows of playlists.
#include "vexo/media_index.h"

#include "host/arguments.h"
#include "host/guard.h"
#include "host/records.h"
#include "index/media_index.h"
#include "playlists/condition.h"
#include "playlists/playlist_text.h"
#include "playlists/rows.h"
#include "playlists/seen_files.h"
#include "playlists/settled_rows.h"
#include "system/config.h"
#include "text/numbers.h"
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace vexo;
using namespace vexo::host;
using index::Playlist;
using index::ProcessIndex;

struct VEXOMediaCursor {
  std::vector<index::Playlist> rows;
  std::size_t next = 0;
};

namespace {

constexpr int kPlaylistTable = 3;

/// A record takes some kilobytes, and no playlist can hold more.
constexpr int64_t kMostFound = playlists::kMaxEntries;

/// The one query that cursors answer: "id = NUMBER".
int32_t ParseIdQuery(std::string_view query) {
  constexpr std::string_view kHead = "id = ";
  if (query.starts_with(kHead)) {
    const std::vector<int32_t> ids = ParseIds(query.substr(kHead.size()));
    if (ids.size() == 1 && query == std::string(kHead) + std::to_string(ids.front())) {
      return ids.front();
    }
  }
  throw std::invalid_argument("no query that is known: " + std::string(query));
}

std::string_view ViewOf(const char *text) { return text == nullptr ? "" : text; }

struct FreeRows {
  void operator()(VEXOPlaylistRow *list) const { VEXOPlayListFree(list); }
};
using RowList = std::unique_ptr<VEXOPlaylistRow, FreeRows>;

/// A new node before `rest`.
RowList MakeRow(const Playlist &row, RowList rest) {
  auto *const node = static_cast<VEXOPlaylistRow *>(std::calloc(1, sizeof(VEXOPlaylistRow)));
  if (node == nullptr) {
    throw std::bad_alloc();
  }
  FillRecord(node->info, row);
  node->userId = row.owner;
  node->next = rest.release();
  return RowList(node);
}

/// The rows with `ids`, each once, in the order of the ids.
RowList FindRows(int owner, const std::vector<int32_t> &ids) {
  std::unordered_map<int32_t, Playlist> rows;
  for (Playlist &row : playlists::FindSettledRows(owner, ids)) {
    rows.emplace(row.id, std::move(row));
  }
  std::vector<Playlist> ordered;
  for (const int32_t id : ids) {
    if (auto row = rows.extract(id)) {
      ordered.push_back(std::move(row.mapped()));
    }
  }
  RowList list;
  for (auto row = ordered.rbegin(); row != ordered.rend(); ++row) {
    list = MakeRow(*row, std::move(list));
  }
  return list;
}

void SaveRow(const __tag_VEXO_MEDIA_INFO &record, int owner) {
  const Playlist row = PlaylistOf(record, owner);
  playlists::AddRow(row, playlists::ClaimNewFile(row.path));
}

/// Throws where a search without a limit finds more than a playlist can hold, before a record of
/// any is made.
std::vector<index::Song> SearchSongs(int owner, index::Search search) {
  const bool is_unlimited = search.limit == 0;
  if (is_unlimited) {
    search.limit = kMostFound + 1;
  }
  std::vector<index::Song> songs = ProcessIndex().SearchSongs(owner, search);
  if (is_unlimited && std::ssize(songs) > kMostFound) {
    throw std::length_error("more than " + std::to_string(kMostFound) + " songs");
  }
  return songs;
}

int CopiedOut(const std::string &text, char *buffer, int size) {
  return CopyOut(text.c_str(), buffer, size) ? 0 : -1;
}

} // namespace

int VEXOMusicListGetByID(const char *library, int userId, VEXOPlaylistRec **head, const char *ids) {
  return GuardedRead(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    const std::vector<int32_t> numbers = ParseIds(ViewOf(ids));
    ReserveSongs(numbers.size());
    SongListBuilder songs;
    ProcessIndex().VisitSongsById(
        owner, numbers, [&](const index::SongView &song) { FillRecord(songs.Append(), song); });
    *head = songs.Take().release();
    return 0;
  });
}

int VEXOMusicListAll(const char *library, int userId, VEXOPlaylistRec **head, int field,
                     const char *keyword, const char *sort, int ascending, int offset, int limit) {
  return GuardedRead(-1, [&] {
    index::Search search;
    search.field = field;
    search.keyword = ViewOf(keyword);
    search.sort = ViewOf(sort);
    search.ascending = ascending != 0;
    search.offset = offset;
    search.limit = limit;
    const int owner = LibraryOwner(library, userId);
    *head = MakeSongList(SearchSongs(owner, search)).release();
    return 0;
  });
}

VEXOMediaCursor *AudioInfoDBOpen(const char *library, int userId, int table, const char *fields,
                                 const char *query, int offset, int limit, int sort, int flags) {
  return GuardedRead(nullptr, [&] {
    if (table != kPlaylistTable || ViewOf(fields) != "*" || offset != 0 || limit != 0 ||
        sort != 0 || flags != 0) {
      throw std::invalid_argument("no table, fields or range that is known");
    }
    auto cursor = std::make_unique<VEXOMediaCursor>();
    const int owner = LibraryOwner(library, userId);
    if (auto row = playlists::HoldRow(owner, ParseIdQuery(ViewOf(query)))) {
      cursor->rows.push_back(*std::move(row));
    }
    return cursor.release();
  });
}

int MediaInfoDBGet(VEXOMediaCursor *cursor, __tag_VEXO_MEDIA_INFO *info) {
  if (cursor == nullptr || info == nullptr || cursor->next == cursor->rows.size()) {
    return -1;
  }
  *info = {};
  FillRecord(*info, cursor->rows[cursor->next++]);
  return 0;
}

void AudioInfoDBClose(VEXOMediaCursor *cursor) { delete cursor; }

int VEXOIndexCodePageGet() {
  return Guarded(65001, [] { return system::HostCodePage(); });
}

int VEXOPlaylistDBSave(const __tag_VEXO_MEDIA_INFO *playlist) {
  return Guarded(-1, [&] {
    SaveRow(*Required(playlist), 0);
    return 0;
  });
}

int PersonalLibraryInfoDBSave(int kind, const __tag_VEXO_MEDIA_INFO *playlist, int userId) {
  return Guarded(-1, [&] {
    if (kind != kPlaylistTable) {
      throw std::invalid_argument("no table " + std::to_string(kind));
    }
    const int owner = LibraryOwner("personal", userId);
    SaveRow(*Required(playlist), owner);
    return 0;
  });
}

int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         int playlistId) {
  return Guarded(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    const Playlist values = PlaylistOf(*Required(playlist), owner);
    return playlists::RefreshRow(owner, playlistId, values) ? 0 : -1;
  });
}

int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         const char *oldPath) {
  return Guarded(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    const Playlist values = PlaylistOf(*Required(playlist), owner);
    return playlists::MoveRow(owner, Required(oldPath), values) ? 0 : -1;
  });
}

int VEXOPlaylistIDGet(const char *library, int userId, const char *path, char *buffer, int size) {
  return GuardedRead(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    const auto row = ProcessIndex().PlaylistByPath(owner, Required(path));
    if (!row) {
      playlists::RequireVersion(std::nullopt); // this is what asks for the playlist to overwrite
      return -1;
    }
    playlists::ExpectFile(*row);
    return CopiedOut(std::to_string(row->id), buffer, size);
  });
}

int VEXOPlaylistPathGet(const char *library, int userId, int playlistId, char *buffer, int size) {
  return GuardedRead(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    const auto rows = playlists::FindSettledRows(owner, {playlistId});
    return rows.empty() ? -1 : CopiedOut(rows.front().path, buffer, size);
  });
}

int VEXOPlaylistTitleGet(const char *id, char *buffer, int size, const VEXOPlaylistRow *list) {
  return Guarded(-1, [&] {
    const auto number = text::ParseInteger(Required(id));
    while (list != nullptr && number != list->info.id) {
      list = list->next;
    }
    return list == nullptr ? -1 : CopiedOut(list->info.title, buffer, size);
  });
}

int VEXOPlaylistTitleGetByPath(const char *path, char *buffer, int size, int userId) {
  return GuardedRead(-1, [&] {
    const int owner = LibraryOwner("personal", userId);
    const auto row = ProcessIndex().PlaylistByPath(owner, Required(path));
    return row ? CopiedOut(row->title, buffer, size) : -1;
  });
}

int VEXOPlayListListGetByID(const char *library, int userId, VEXOPlaylistRow **list,
                            const char *ids) {
  return GuardedRead(-1, [&] {
    const int owner = LibraryOwner(library, userId);
    RowList rows = FindRows(owner, ParseIds(Required(ids)));
    if (!rows) {
      return -1;
    }
    *list = rows.release();
    return 0;
  });
}

int VEXOPlayListUnlink(const char *library, VEXOPlaylistRow *list) {
  return Guarded(-1, [&] {
    std::vector<playlists::RowKey> rows;
    for (const VEXOPlaylistRow *row = list; row != nullptr; row = row->next) {
      rows.push_back({LibraryOwner(library, row->userId), row->info.id});
    }
    playlists::RemoveRows(rows);
    return 0;
  });
}

void VEXOPlayListFree(VEXOPlaylistRow *list) {
  while (list != nullptr) {
    std::free(std::exchange(list, list->next));
  }
}
