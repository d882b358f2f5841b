#pragma once
// The text of a playlist file, whichever program wrote it: UTF-8 or bytes of a code page, which are
// told apart line by line by those who read them, or UTF-16 with a byte order mark (RFC 2781).

#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vexo::playlists {

/// The most entries that a playlist file may have. A file with more is neither read nor edited, and
/// no edit makes one.
inline constexpr std::size_t kMaxEntries = 100'000;

/// The longest path that a record holds.
inline constexpr std::size_t kMaxPathBytes = 4095;

/// The content of a file is no playlist: bytes that are no text, or too many entries.
class UnreadableError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Whether bytes begin as UTF-16 does, with its byte order mark.
bool HasUtf16Mark(std::string_view bytes);

/// UTF-16 with a byte order mark as UTF-8 without one; nothing for other bytes. Throws
/// UnreadableError for what begins as UTF-16 and is not.
std::optional<std::string> FromUtf16(std::string_view bytes);

/// Whether a line that holds a carriage return in its middle is the name of a file that is there.
using IsFileName = std::function<bool(std::string_view line)>;

/// `text` with a line feed in the place of every carriage return that ends a line by itself;
/// nothing when there is none. Carriage returns before line feeds stay, and so do those in the
/// lines that `is_file_name` knows.
std::optional<std::string> WithLineFeeds(std::string_view text, const IsFileName &is_file_name);

/// Whether a line's text is longer than any path: such a line is noise, for nothing it says can be
/// meant. A file's address may have three bytes for one of its path.
bool IsTooLongForPath(std::string_view text);

/// Throws UnreadableError for a text with NUL bytes in it. Gives whether it has carriage returns,
/// which is learnt block by block, while it is near: a long list is larger than what the processor
/// keeps.
[[nodiscard]] bool RequireText(std::string_view text);

/// Throws UnreadableError for more than kMaxEntries.
void RequireRoom(std::size_t entries);

} // namespace vexo::playlists
