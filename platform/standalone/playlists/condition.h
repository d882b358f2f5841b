#pragma once
// What a client demands of the playlist that this process edits: that it still has a version which
// the client has seen (If-Match, RFC 9110, 13.1.1). Each edit asks under its lock, with the content
// that it is about to change in its hands.

#include "files/edit_file.h"
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

struct Condition {
  bool any_version = false;          ///< whichever it has, as long as the playlist is there
  std::vector<std::string> versions; ///< or one of these
};

class VersionError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// From now on whatever this process changes of playlists needs the condition.
void SetCondition(Condition condition);
[[nodiscard]] bool HasCondition() noexcept;

/// Throws VersionError when a playlist with this content, or one that is not there (nothing), must
/// not be changed. What this process has written itself may be.
void RequireVersion(std::optional<std::string_view> content);

/// Whether a playlist was met that must not be changed; and whether one was that may be.
[[nodiscard]] bool HasConditionFailed() noexcept;
[[nodiscard]] bool IsConditionMet() noexcept;

/// The same edit under the condition, which then notes the version that it makes; of a list of a
/// megabyte and more only where there is a condition.
files::Edit Versioned(files::Edit edit);

/// The version that the edited playlist has now; nothing when none was edited, or it has gone.
void NoteVersion(std::string version);
std::optional<std::string> NotedVersion();

/// Forgets all this, as a test does that stands for a process of its own.
void ForgetCondition() noexcept;

} // namespace vexo::playlists
