#pragma once
// What the scanner does to songs, with its statements prepared once.

#include "index/catalog_writer.h"
#include "index/mark_keeper.h"
#include <memory>
#include <optional>

namespace vexo::index {

class SongWriter {
public:
  explicit SongWriter(Database &database);
  void Remove(int32_t id);
  /// Adds a song whose id is 0; gives the others what their files tell.
  void Write(const Song &song);
  /// Takes a song that an older program wrote into the catalog.
  void Complete(int32_t id);
  /// Must be the last call.
  void Flush();

private:
  std::optional<CatalogSong> Read(int32_t id);
  void Add(Song song);
  void Update(const CatalogSong &old, const Song &song);
  void WriteMade(const Song &song, const SongGroups &groups);

  template <typename Run>
  auto WithFolded(Statement &statement, int last, const Song &song, Run run);

  bool keeps_folded_;
  ListWriter lists_;
  std::unique_ptr<TextWriter> texts_;
  CatalogWriter catalog_;
  MarkKeeper marks_;
  Statement read_, remove_, add_, update_, update_made_;
  bool changed_ = false;
};

} // namespace vexo::index
