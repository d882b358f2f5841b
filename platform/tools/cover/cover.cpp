#include "cover/cover.h"

#include "cover/picture.h"
#include <array>
#include <nettle/base16.h>
#include <nettle/sha2.h>

namespace vexo::cover {
namespace {

constexpr std::array kSides = {640, 320, 96}; // each is made from the one before
constexpr std::size_t kHashBytes = 16;

std::string ContentHash(std::string_view bytes) {
  sha256_ctx hash;
  sha256_init(&hash);
  sha256_update(&hash, bytes.size(), reinterpret_cast<const uint8_t *>(bytes.data()));
  std::array<uint8_t, kHashBytes> digest{};
  sha256_digest(&hash, digest.size(), digest.data());
  std::string text(BASE16_ENCODE_LENGTH(kHashBytes), '\0');
  base16_encode_update(text.data(), digest.size(), digest.data());
  return text;
}

} // namespace

std::optional<std::string> MakeCovers(std::string_view picture) {
  std::optional<Pixels> pixels = DecodePicture(picture, kSides.front());
  if (!pixels) {
    return std::nullopt;
  }
  std::string head = ContentHash(picture), body;
  const Size whole{pixels->width, pixels->height};
  for (const int side : kSides) {
    *pixels = ScaleDown(*pixels, Within(whole, side));
    const std::string jpeg = EncodeJpeg(*pixels);
    head += " " + std::to_string(jpeg.size());
    body += jpeg;
  }
  return head + "\n" + body;
}

} // namespace vexo::cover
