#include "playlists/seconds.h"
#include <charconv>

namespace vexo::playlists {

float ParseSeconds(std::string_view text) {
  constexpr double kAbsurd = 1e9;
  double seconds = 0;
  std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
  return seconds > 0 && seconds < kAbsurd ? static_cast<float>(seconds) : 0.0F;
}

} // namespace vexo::playlists
