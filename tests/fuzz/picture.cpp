// A picture, from whatever bytes a tag or a file holds: it becomes covers of the sizes that there
// are, or nothing.
#include "cover/picture.h"
#include "cover/cover.h"
#include <cstdint>
#include <cstdlib>

namespace {

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char *>(data), size);
  constexpr int kSide = 96;
  const std::optional<vexo::cover::Pixels> picture = vexo::cover::DecodePicture(bytes, kSide);
  if (!picture) {
    return 0;
  }
  Require(picture->width > 0 && picture->height > 0);
  Require(picture->rgba.size() ==
          static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height) * 4);
  const vexo::cover::Size within = vexo::cover::Within({picture->width, picture->height}, kSide);
  const vexo::cover::Pixels small = ScaleDown(*picture, within);
  Require(small.width <= kSide && small.height <= kSide);
  Require(!EncodeJpeg(small).empty());
  return 0;
}
