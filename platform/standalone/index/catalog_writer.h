#pragma once
// What the index knows of songs beside their rows: their groups, the kept orders, the words.

#include "index/groups.h"
#include "index/lists.h"
#include "index/texts.h"

namespace vexo::index {

/// Collects what songs bring and take with them, and writes it in Flush().
class CatalogWriter {
public:
  CatalogWriter(Database &database, ListWriter &lists, TextWriter &texts);
  /// The groups that the song will be in; they are made where needed.
  SongGroups Resolve(const Song &song);
  void Enter(const Song &song, const SongGroups &groups);
  void Leave(const Song &song, const SongGroups &groups);
  /// Leaves with the old texts and enters with the new ones; both have the same id and owner.
  void Replace(const Song &old, const SongGroups &old_groups, const Song &now,
               const SongGroups &now_groups);
  /// To be called when the songs are written.
  void Flush();

private:
  void Share(const Song &song, const SongGroups &groups, int sign);
  void ShareList(const Song &song, int order, std::string key, int sign);
  void ShareAlbum(const SongGroups &groups, int32_t year, int sign);

  ListWriter &lists_;
  GroupWriter groups_;
  TextWriter &texts_;
  Statement next_revision_;
};

} // namespace vexo::index
