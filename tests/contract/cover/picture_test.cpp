// Pictures as they are decoded, scaled and written.
#include "cover/cover.h"
#include "cover/picture.h"
#include <gtest/gtest.h>
#include <memory>
#include <png.h>
#include <turbojpeg.h>
#include <webp/encode.h>

namespace vexo::cover {
namespace {

using Colour = std::array<uint8_t, 4>;
constexpr Colour kRed = {220, 20, 20, 255};

Pixels Plain(int width, int height, const Colour &colour = kRed) {
  Pixels picture{width, height, {}};
  for (int pixel = 0; pixel < width * height; ++pixel) {
    picture.rgba.insert(picture.rgba.end(), colour.begin(), colour.end());
  }
  return picture;
}

std::string Png(const Pixels &picture) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(picture.width);
  png.height = static_cast<png_uint_32>(picture.height);
  png.format = PNG_FORMAT_RGBA;
  png_alloc_size_t size = 0;
  png_image_write_to_memory(&png, nullptr, &size, 0, picture.rgba.data(), 0, nullptr);
  std::string bytes(size, '\0');
  EXPECT_TRUE(
      png_image_write_to_memory(&png, bytes.data(), &size, 0, picture.rgba.data(), 0, nullptr));
  bytes.resize(size);
  return bytes;
}

std::string Webp(const Pixels &picture) {
  uint8_t *bytes = nullptr;
  const std::size_t size = WebPEncodeLosslessRGBA(picture.rgba.data(), picture.width,
                                                  picture.height, 4 * picture.width, &bytes);
  const std::unique_ptr<uint8_t, decltype(&WebPFree)> owned(bytes, &WebPFree);
  return {reinterpret_cast<const char *>(bytes), size};
}

/// A JPEG of inks, whose pixels are cyan, magenta, yellow and black.
std::string PrintersJpeg(const Pixels &inks) {
  const std::unique_ptr<void, decltype(&tjDestroy)> encoder(tjInitCompress(), &tjDestroy);
  unsigned char *bytes = nullptr;
  unsigned long size = 0;
  tjCompress2(encoder.get(), inks.rgba.data(), inks.width, 0, inks.height, TJPF_CMYK, &bytes, &size,
              TJSAMP_444, 95, 0);
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(bytes, &tjFree);
  return {reinterpret_cast<const char *>(bytes), size};
}

void ExpectPlain(const std::optional<Pixels> &picture, int width, int height,
                 const Colour &colour) {
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, width);
  EXPECT_EQ(picture->height, height);
  ASSERT_EQ(picture->rgba.size(), static_cast<std::size_t>(width * height * 4));
  for (std::size_t i = 0; i < picture->rgba.size(); ++i) {
    ASSERT_NEAR(picture->rgba[i], colour[i % 4], 4) << i;
  }
}

TEST(Picture, OfEachKindIsDecoded) {
  const Pixels picture = Plain(31, 17);
  for (const std::string &bytes : {Png(picture), Webp(picture), EncodeJpeg(picture)}) {
    ExpectPlain(DecodePicture(bytes, 640), 31, 17, kRed);
  }
}

TEST(Picture, ThatIsTransparentLiesOnWhite) {
  const Pixels half = Plain(8, 8, {0, 0, 0, 128}), clear = Plain(8, 8, {9, 9, 9, 0});
  for (const std::string &bytes : {Png(half), Webp(half)}) {
    ExpectPlain(DecodePicture(bytes, 640), 8, 8, {127, 127, 127, 255});
  }
  ExpectPlain(DecodePicture(Png(clear), 640), 8, 8, {255, 255, 255, 255});
}

TEST(Picture, ForPrintersHasItsColours) {
  const std::string bytes = PrintersJpeg(Plain(16, 16, {200, 100, 50, 255}));
  ExpectPlain(DecodePicture(bytes, 640), 16, 16, {200, 100, 50, 255});
}

TEST(Picture, OfJpegIsMadeSmallerByItsDecoder) {
  const std::optional<Pixels> picture = DecodePicture(EncodeJpeg(Plain(3000, 2000)), 640);
  ASSERT_TRUE(picture);
  EXPECT_LT(picture->width, 3000);
  EXPECT_GE(picture->width, 2 * 640);
  ExpectPlain(picture, picture->width, picture->height, kRed);
}

TEST(Picture, ThatIsDamagedIsNone) {
  const Pixels large = Plain(100, 100);
  for (const std::string &whole : {Png(large), Webp(large), EncodeJpeg(large)}) {
    for (std::size_t size = 0; size < whole.size() - 12; size += 7) {
      EXPECT_FALSE(DecodePicture(whole.substr(0, size), 640)) << size << " of " << whole.size();
    }
  }
  for (const char *bytes : {"", "text", "GIF89a", "BM", "<svg/>"}) {
    EXPECT_FALSE(DecodePicture(bytes, 640)) << bytes;
  }
}

TEST(Picture, OfTooManyPixelsIsNone) {
  std::string wide = EncodeJpeg(Plain(16, 16));
  const std::size_t at = wide.find("\xFF\xC0");
  ASSERT_NE(at, std::string::npos);
  wide.replace(at + 5, 4, "\xFF\xFF\xFF\xFF", 4);
  EXPECT_FALSE(DecodePicture(wide, 640));
}

TEST(Size, KeepsItsProportionsAndIsNeverEnlarged) {
  struct Row {
    Size size;
    int side;
    Size within;
  };
  for (const Row &row : {Row{{900, 600}, 320, {320, 213}}, Row{{600, 900}, 96, {64, 96}},
                         Row{{10, 20}, 96, {10, 20}}, Row{{96, 96}, 96, {96, 96}},
                         Row{{50'000'000, 1}, 640, {640, 1}}}) {
    const Size within = Within(row.size, row.side);
    EXPECT_EQ(within.width, row.within.width);
    EXPECT_EQ(within.height, row.within.height);
  }
}

TEST(ScaledPicture, IsTheMeanOfWhatItWas) {
  Pixels stripes = Plain(200, 200);
  for (std::size_t i = 0; i < stripes.rgba.size(); i += 8) {
    std::fill_n(stripes.rgba.begin() + static_cast<std::ptrdiff_t>(i), 3, uint8_t{0});
  }
  ExpectPlain(ScaleDown(stripes, {50, 25}), 50, 25, {110, 10, 10, 255});
}

TEST(Covers, HaveAHeadThatNamesThem) {
  const std::string picture = Png(Plain(1000, 500));
  const std::optional<std::string> covers = MakeCovers(picture);
  ASSERT_TRUE(covers);
  std::istringstream head(*covers);
  std::string hash;
  std::size_t sizes[3] = {};
  head >> hash >> sizes[0] >> sizes[1] >> sizes[2];
  EXPECT_EQ(hash.size(), 32U);
  std::string_view rest = std::string_view(*covers).substr(covers->find('\n') + 1);
  const Size wanted[] = {{640, 320}, {320, 160}, {96, 48}};
  for (int i = 0; i < 3; ++i) {
    ExpectPlain(DecodePicture(rest.substr(0, sizes[i]), 640), wanted[i].width, wanted[i].height,
                kRed);
    rest.remove_prefix(sizes[i]);
  }
  EXPECT_EQ(rest, "");
  EXPECT_EQ(MakeCovers(picture), covers);
  EXPECT_NE(MakeCovers(Png(Plain(1000, 501)))->substr(0, 32), hash);
  EXPECT_EQ(MakeCovers("text"), std::nullopt);
}

} // namespace
} // namespace vexo::cover
