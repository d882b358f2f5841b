#pragma once
#include <stdexcept>

namespace vexo::playlists {

/// The text or record that a caller of the host must give; throws std::invalid_argument for null.
template <typename T> const T *Required(const T *argument) {
  if (argument == nullptr) {
    throw std::invalid_argument("an argument is missing");
  }
  return argument;
}

} // namespace vexo::playlists
