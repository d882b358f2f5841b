#pragma once
// PLS, an INI-like format: "[playlist]", then FileN, TitleN and LengthN, N counting from 1.

#include <cstdint>
#include <string_view>
#include <vector>

namespace vexo::playlists {

struct PlsEntry {
  std::string_view path, title;
  float duration_seconds = 0; ///< 0: not known
};

/// Whether the first line that is not blank is "[playlist]", in any letter case.
bool IsPls(std::string_view content);

/// The entries that have a path, in the order of their numbers, whatever their order in the file.
/// Lines that cannot be read are passed over. Throws std::length_error for more than kMaxEntries.
std::vector<PlsEntry> ParsePls(std::string_view content);

} // namespace vexo::playlists
