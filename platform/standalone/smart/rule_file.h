#pragma once
// The files that hold rules: the shared one, and one in the preference folder of each account.

#include "files/edit_file.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::smart {

inline constexpr std::size_t kLargestRuleFile = std::size_t{16} << 20;

/// The whole file; nothing when it is not there. Throws when it cannot be read or is too large.
std::optional<std::string> ReadRuleFile(const std::string &path);

/// Changes a rule file under its lock, as files::EditTextDurably(); makes it, from nothing, when
/// `make` is set and it is not there. Throws std::system_error, with EACCES for a file that is
/// neither the shared one nor an account's own, and EFBIG where the new content is too large.
void EditRuleFile(const std::string &path, const files::TextEdit &edit, bool make);

/// Whose songs the playlists of a file choose from.
struct Scope {
  int owner = 0;            ///< as in index/media_index.h
  bool with_shared = false; ///< the shared songs besides the owner's
  int user = 0;             ///< whose marks rating and play_count are; 0: nobody's
};

/// Of an account's own file: its personal library, when it has one, and the shared one; of every
/// other: the shared library. The marks are those of who asks (REMOTE_USER), and where nobody does,
/// of whose file it is.
Scope FindScope(const std::string &path);

} // namespace vexo::smart
