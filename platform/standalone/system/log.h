#pragma once
// The lines of the system log. Whoever calls syslog() in a program that links this library comes
// here first (the linker's --wrap, see CMakeLists.txt), so that no text of a client can forge a
// line, command a terminal or fill the disk, wherever the line goes:
// - control characters, and bytes that are not UTF-8, are escaped (EscapeLogText());
// - a message longer than kLongestLogMessage is cut;
// - a message that repeats the one before is counted: "last message repeated N times" follows when
//   another comes, at closelog(), and at the program's end;
// - once the bound of BoundLog() is reached, lines are counted only.

#include <cstddef>
#include <string>
#include <string_view>

namespace vexo::system {

/// In bytes, before escapes. Two paths of the longest kind fit.
inline constexpr std::size_t kLongestLogMessage = 8192;

/// `text` without control characters and in UTF-8: bytes of others become \xNN, and a backslash two
/// of them. A file's name can thus neither forge a line nor command a terminal.
std::string EscapeLogText(std::string_view text);

/// From now on this process writes `lines` lines at most.
void BoundLog(unsigned lines) noexcept;

/// Writes what was only counted so far.
void FlushLog() noexcept;

/// Writes one line at error priority: "OPERATION: CAUSE".
void LogFailure(const char *operation, const char *cause) noexcept;

} // namespace vexo::system
