#pragma once
// The arguments of the functions in platform/include/vexo/, checked and converted.

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace vexo::host {

/// A pointer that the caller must give; throws std::invalid_argument for null.
template <typename T> const T *Required(const T *argument) {
  if (argument == nullptr) {
    throw std::invalid_argument("an argument is missing");
  }
  return argument;
}

/// The owner of the library that a caller names: 0 for "shared", `user_id` for "personal". Throws
/// std::invalid_argument for any other name, and for a personal library of no user.
int LibraryOwner(const char *library, int user_id);

/// The ids of a comma-separated text, in its order; what is no id is left out, as an id that is not
/// there.
std::vector<int32_t> ParseIds(std::string_view text);

/// Copies `text` and its terminator into `buffer` of `size` bytes; false, and nothing copied, when
/// it does not fit.
bool CopyOut(const char *text, char *buffer, int size) noexcept;

} // namespace vexo::host
