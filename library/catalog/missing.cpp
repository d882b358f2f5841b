#include "catalog/missing.h"

namespace vexo::catalog {

std::vector<ListEntry> MissingEntries(const accounts::Account &user, List &list) {
  std::vector<ListEntry> entries = list.Entries(0, list.size());
  const SongsAtPaths songs(user, entries);
  std::erase_if(entries, [&](const ListEntry &entry) {
    return entry.is_stream || songs.Find(entry.path) != nullptr || list.NamesFile(entry);
  });
  return entries;
}

} // namespace vexo::catalog
