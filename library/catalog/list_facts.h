#pragma once
// How many entries lists have, how long they play and which version they are: what only reading a
// list tells. It is kept for each state of a file, so that a thousand lists are not read again
// whenever somebody looks at their names.

#include "accounts/accounts.h"
#include "catalog/playlists.h"
#include "files/file_descriptor.h"
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::catalog {

struct ListFacts {
  std::string version; ///< see playlists/version.h
  uint64_t size_bytes = 0;
  uint32_t entries = 0;
  double duration_seconds = 0; ///< of its entries, as far as it is known
  uint32_t untold = 0; ///< entries that are no streams, and whose length the file does not tell

  friend bool operator==(const ListFacts &, const ListFacts &) = default;
};

/// The facts that the bytes of the list at `path` tell. Throws playlists::UnreadableError for what
/// is no list.
ListFacts FactsOf(std::string_view bytes, const std::string &path);

/// A file of slots, each in the place that the hash of a file's state gives it, with a check of its
/// own: it is read and written without a lock, and what two processes write at once, or a crash
/// tears, is no slot. It does not grow: a new state takes the place of another one.
class FactsStore {
public:
  /// Opens the store at `path`, made where it is missing. One that cannot be opened keeps nothing.
  explicit FactsStore(const std::string &path);

  /// Those that were kept for that state of a file, and for what else they depend on.
  [[nodiscard]] std::optional<ListFacts> Find(const FileState &state,
                                              std::string_view circumstances = {}) const;
  void Keep(const FileState &state, const ListFacts &facts,
            std::string_view circumstances = {}) const;

private:
  files::FileDescriptor file_;
};

/// The facts of lists, one after the other.
class FactsReader {
public:
  /// For one user, whose songs tell how long entries play where the file does not.
  explicit FactsReader(const accounts::Account &user);
  /// Those that were kept, if any.
  [[nodiscard]] std::optional<ListFacts> Known(const Playlist &playlist) const {
    return store_.Find(playlist.file);
  }
  /// Those of a list, kept or read now. Nothing when its file is missing, or when it cannot or may
  /// not be read, which is logged.
  std::optional<ListFacts> Of(const Playlist &playlist);

private:
  ListFacts WithLengths(const Playlist &playlist, ListFacts facts);
  std::optional<ListFacts> Told(const Playlist &playlist);

  const accounts::Account &user_;
  FactsStore store_;
  std::string circumstances_; ///< of what the index tells the user
};

} // namespace vexo::catalog
