// vexo/media_index.h: the rows of playlists.
#include "index/id_list.h"
#include "index/library_owner.h"
#include "index/media_index.h"
#include "index/records.h"
#include "playlists/new_files.h"
#include "playlists/required.h"
#include "playlists/rows.h"
#include "system/boundary.h"
#include "text/text.h"
#include "vexo/media_index.h"
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

using vexo::index::LibraryOwner;
using vexo::index::Playlist;
using vexo::index::PlaylistOf;
using vexo::index::ProcessIndex;
using vexo::playlists::Required;
using vexo::system::CopyOut;
using vexo::system::Guarded;

namespace {

constexpr int kPlaylistTable = 3;

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
  vexo::index::FillRecord(node->info, row);
  node->userId = row.owner;
  node->next = rest.release();
  return RowList(node);
}

/// The rows with `ids`, each once, in the order of the ids.
RowList FindRows(int owner, const std::vector<int32_t> &ids) {
  std::unordered_map<int32_t, Playlist> rows;
  for (Playlist &row : ProcessIndex().PlaylistsById(owner, ids)) {
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

int CopiedOut(const std::string &text, char *buffer, int size) {
  return CopyOut(text.c_str(), buffer, size) ? 0 : -1;
}

} // namespace

int VEXOPlaylistDBSave(const __tag_VEXO_MEDIA_INFO *playlist) {
  return Guarded("VEXOPlaylistDBSave", -1, [&] {
    vexo::playlists::AddRow(PlaylistOf(*Required(playlist), 0));
    return 0;
  });
}

int PersonalLibraryInfoDBSave(int kind, const __tag_VEXO_MEDIA_INFO *playlist, int userId) {
  return Guarded("PersonalLibraryInfoDBSave", -1, [&] {
    if (kind != kPlaylistTable) {
      throw std::invalid_argument("no table " + std::to_string(kind));
    }
    const int owner = LibraryOwner("personal", userId);
    vexo::playlists::AddRow(PlaylistOf(*Required(playlist), owner));
    return 0;
  });
}

int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         int playlistId) {
  return Guarded("VEXOPlaylistDBUpdate", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    const Playlist values = PlaylistOf(*Required(playlist), owner);
    return vexo::playlists::RefreshRow(owner, playlistId, values) ? 0 : -1;
  });
}

int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         const char *oldPath) {
  return Guarded("VEXOPlaylistDBUpdate", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    const Playlist values = PlaylistOf(*Required(playlist), owner);
    return vexo::playlists::MoveRow(owner, Required(oldPath), values) ? 0 : -1;
  });
}

int VEXOPlaylistIDGet(const char *library, int userId, const char *path, char *buffer, int size) {
  return Guarded("VEXOPlaylistIDGet", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    const auto row = ProcessIndex().PlaylistByPath(owner, Required(path));
    if (!row) {
      return -1;
    }
    vexo::playlists::ExpectFile(*row);
    return CopiedOut(std::to_string(row->id), buffer, size);
  });
}

int VEXOPlaylistPathGet(const char *library, int userId, int playlistId, char *buffer, int size) {
  return Guarded("VEXOPlaylistPathGet", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    const auto rows = ProcessIndex().PlaylistsById(owner, {playlistId});
    return rows.empty() ? -1 : CopiedOut(rows.front().path, buffer, size);
  });
}

int VEXOPlaylistTitleGet(const char *id, char *buffer, int size, const VEXOPlaylistRow *list) {
  return Guarded("VEXOPlaylistTitleGet", -1, [&] {
    const auto number = vexo::text::ParseInteger(Required(id));
    while (list != nullptr && number != list->info.id) {
      list = list->next;
    }
    return list == nullptr ? -1 : CopiedOut(list->info.title, buffer, size);
  });
}

int VEXOPlaylistTitleGetByPath(const char *path, char *buffer, int size, int userId) {
  return Guarded("VEXOPlaylistTitleGetByPath", -1, [&] {
    const int owner = LibraryOwner("personal", userId);
    const auto row = ProcessIndex().PlaylistByPath(owner, Required(path));
    return row ? CopiedOut(row->title, buffer, size) : -1;
  });
}

int VEXOPlayListListGetByID(const char *library, int userId, VEXOPlaylistRow **list,
                            const char *ids) {
  return Guarded("VEXOPlayListListGetByID", -1, [&] {
    const int owner = LibraryOwner(library, userId);
    RowList rows = FindRows(owner, vexo::index::ParseIds(Required(ids)));
    if (!rows) {
      return -1;
    }
    *list = rows.release();
    return 0;
  });
}

int VEXOPlayListUnlink(const char *library, VEXOPlaylistRow *list) {
  return Guarded("VEXOPlayListUnlink", -1, [&] {
    std::vector<vexo::playlists::RowName> rows;
    for (const VEXOPlaylistRow *row = list; row != nullptr; row = row->next) {
      rows.push_back({LibraryOwner(library, row->userId), row->info.id});
    }
    vexo::playlists::RemoveRows(rows);
    return 0;
  });
}

void VEXOPlayListFree(VEXOPlaylistRow *list) {
  while (list != nullptr) {
    std::free(std::exchange(list, list->next));
  }
}
