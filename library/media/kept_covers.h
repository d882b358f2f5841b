#pragma once
// Covers that were made, kept as files below a folder: OWNER-HASH-SIZE.jpg in one of 256 folders by
// the hash. All of them may be lost.

#include "files/file_descriptor.h"
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::media {

/// The sizes of covers, in pixels of the longer side, as the program `cover` makes them.
inline constexpr std::array kCoverSizes = {640, 320, 96};

/// Whose library a picture was found in, and the hash of its content in 32 hexadecimal digits.
struct CoverName {
  int owner = 0;
  std::string hash;
};

/// Whether a text of a client's is of the form of such a hash.
bool IsCoverHash(std::string_view text);

/// Opens a cover; none when it is not kept.
files::FileDescriptor OpenCover(const std::string &folder, const CoverName &name, int size);

/// Keeps a cover, and removes the oldest where all of them take more than `most_bytes`. False, and
/// errno says why, when it cannot be kept.
[[nodiscard]] bool KeepCover(const std::string &folder, const CoverName &name, int size,
                             std::string_view jpeg, uint64_t most_bytes);

} // namespace vexo::media
