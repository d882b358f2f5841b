#pragma once
// Pictures as bytes of files that anybody may have made, and as pixels.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::cover {

/// More pixels than any cover has; a picture that says it has more is not decoded.
inline constexpr uint64_t kMostPixels = 50'000'000;

struct Pixels {
  int width = 0, height = 0;
  std::vector<uint8_t> rgba; ///< four bytes a pixel, row by row, without gaps
};

/// The pixels of a JPEG, PNG or WebP (told by how it begins), smaller where that is quicker, but
/// not smaller than `least_side` on its longer side if it is that large. What is transparent is
/// white. Nothing for anything else, and for one that is damaged, cut short or too large.
std::optional<Pixels> DecodePicture(std::string_view bytes, int least_side);

struct Size {
  int width = 0, height = 0;
};
/// `size` with a longer side of `side`, or as it is when it is smaller.
Size Within(const Size &size, int side);

/// The picture in a size that is not larger in any direction. Throws std::bad_alloc.
Pixels ScaleDown(const Pixels &picture, const Size &size);

/// A JPEG of the picture. Throws std::runtime_error.
std::string EncodeJpeg(const Pixels &picture);

} // namespace vexo::cover
