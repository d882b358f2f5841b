// vexo/media_index.h: the songs, and the cursor on a playlist's row.
#include "index/id_list.h"
#include "index/library_owner.h"
#include "index/media_index.h"
#include "index/records.h"
#include "system/boundary.h"
#include "system/config.h"
#include "vexo/media_index.h"

#include <memory>
#include <stdexcept>
#include <string_view>

using vexo::index::LibraryOwner;
using vexo::index::ParseIds;
using vexo::index::ProcessIndex;
using vexo::system::Guarded;

struct VEXOMediaCursor {
  std::vector<vexo::index::Playlist> rows;
  std::size_t next = 0;
};

namespace {

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

} // namespace

int VEXOMusicListGetByID(const char *library, int userId, VEXOPlaylistRec **head, const char *ids) {
  return Guarded("VEXOMusicListGetByID", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    const std::vector<int32_t> numbers = ParseIds(ViewOf(ids));
    *head = vexo::index::MakeSongList(ProcessIndex().SongsById(owner, numbers)).release();
    return 0;
  });
}

int VEXOMusicListAll(const char *library, int userId, VEXOPlaylistRec **head, int field,
                     const char *keyword, const char *sort, int ascending, int offset, int limit) {
  return Guarded("VEXOMusicListAll", -1, [&] {
    vexo::index::Search search;
    search.field = field;
    search.keyword = ViewOf(keyword);
    search.sort = ViewOf(sort);
    search.ascending = ascending != 0;
    search.offset = offset;
    search.limit = limit;
    const int owner = LibraryOwner(library, userId);
    *head = vexo::index::MakeSongList(ProcessIndex().SearchSongs(owner, search)).release();
    return 0;
  });
}

VEXOMediaCursor *AudioInfoDBOpen(const char *library, int userId, int table, const char *fields,
                                 const char *query, int offset, int limit, int sort, int flags) {
  constexpr int kPlaylists = 3;
  VEXOMediaCursor *const failed = nullptr;
  return Guarded("AudioInfoDBOpen", failed, [&] {
    if (table != kPlaylists || ViewOf(fields) != "*" || offset != 0 || limit != 0 || sort != 0 ||
        flags != 0) {
      throw std::invalid_argument("no table, fields or stretch that is known");
    }
    auto cursor = std::make_unique<VEXOMediaCursor>();
    const int owner = LibraryOwner(library, userId);
    cursor->rows = ProcessIndex().PlaylistsById(owner, {ParseIdQuery(ViewOf(query))});
    return cursor.release();
  });
}

int MediaInfoDBGet(VEXOMediaCursor *cursor, __tag_VEXO_MEDIA_INFO *info) {
  if (cursor == nullptr || info == nullptr || cursor->next == cursor->rows.size()) {
    return -1;
  }
  *info = {};
  vexo::index::FillRecord(*info, cursor->rows[cursor->next++]);
  return 0;
}

void AudioInfoDBClose(VEXOMediaCursor *cursor) { delete cursor; }

int VEXOIndexCodePageGet() {
  return Guarded("VEXOIndexCodePageGet", 65001, [] { return vexo::system::HostCodePage(); });
}
