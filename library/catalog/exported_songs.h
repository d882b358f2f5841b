#pragma once
// Playlists as other programs read them. Where a song lies on this machine is nobody's business: a
// file is named by its path inside its library, so that the playlist plays when it is put into that
// folder; what lies in no library that the user sees, by its name alone. A stream is named by its
// address.

#include "accounts/accounts.h"
#include "catalog/libraries.h"
#include "catalog/list_entries.h"
#include "index/media_index.h"
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

struct ExportedSong {
  std::string location; ///< a relative path, or an address
  bool is_stream = false;
  std::string title, artist, album; ///< empty: not known
  int track = 0;                    ///< 0: not known
  double duration_seconds = 0;      ///< 0: not known
};

/// Names songs for export.
class Exporter {
public:
  explicit Exporter(const accounts::Account &user);

  [[nodiscard]] ExportedSong Of(const index::Song &song) const;
  /// What the file says of an entry that is no song of the index.
  [[nodiscard]] ExportedSong Of(const ListEntry &entry) const;

private:
  [[nodiscard]] std::string LocationOf(std::string_view path) const;
  std::vector<std::string> folders_; ///< of the libraries, as they are named and resolved
};

/// Extended M3U, in UTF-8. A path with a line break, which no M3U can hold, is left out.
std::string ToM3u(const std::vector<ExportedSong> &songs);
/// PLS, in UTF-8. The same holds.
std::string ToPls(const std::vector<ExportedSong> &songs);
/// XSPF, version 1.
std::string ToXspf(const std::vector<ExportedSong> &songs, std::string_view title);

/// A location as a URI or a relative reference (RFC 3986).
std::string UriOf(const ExportedSong &song);

} // namespace vexo::catalog
