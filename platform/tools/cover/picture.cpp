#include "cover/picture.h"

#include <algorithm>
#include <memory>
#include <new>
#include <png.h>
#include <span>
#include <stdexcept>
#include <turbojpeg.h>
#include <webp/decode.h>
#include <webp/encode.h>

namespace vexo::cover {
namespace {

constexpr int kPixelBytes = 4;
constexpr int kQuality = 85; // of 100

const uint8_t *Begin(std::string_view bytes) {
  return reinterpret_cast<const uint8_t *>(bytes.data());
}

bool IsPossible(int width, int height) {
  return width > 0 && height > 0 &&
         static_cast<uint64_t>(width) * static_cast<uint64_t>(height) <= kMostPixels;
}

Pixels BlankOf(int width, int height) {
  const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return {width, height, std::vector<uint8_t>(size * kPixelBytes)};
}

/// One part of a colour in `alpha` of 255 parts before white.
uint8_t OverWhite(unsigned value, unsigned alpha) {
  constexpr unsigned kFull = 255;
  return static_cast<uint8_t>((value * alpha + kFull * (kFull - alpha) + kFull / 2) / kFull);
}

void PutOnWhite(Pixels &picture) {
  for (std::size_t i = 0; i < picture.rgba.size(); i += kPixelBytes) {
    uint8_t *const pixel = &picture.rgba[i];
    for (int part = 0; part < 3; ++part) {
      pixel[part] = OverWhite(pixel[part], pixel[3]);
    }
    pixel[3] = UINT8_MAX;
  }
}

using TurboJpeg = std::unique_ptr<void, decltype(&tjDestroy)>;

struct JpegHeader {
  int width = 0, height = 0, subsampling = 0, colours = 0;
};

/// The smallest size that the decoder can make by itself with twice `least_side`, so that what is
/// left to do is done well.
void ShrinkForDecoder(JpegHeader &header, int least_side) {
  int count = 0;
  const tjscalingfactor *const all = tjGetScalingFactors(&count);
  const JpegHeader whole = header;
  for (const tjscalingfactor &factor : std::span(all, static_cast<std::size_t>(count))) {
    const int width = TJSCALED(whole.width, factor), height = TJSCALED(whole.height, factor);
    if (std::max(width, height) >= 2 * least_side && width <= header.width) {
      header.width = width;
      header.height = height;
    }
  }
}

/// Inks of a JPEG made for printing are stored inverted.
void InksToColours(Pixels &picture) {
  for (std::size_t i = 0; i < picture.rgba.size(); i += kPixelBytes) {
    uint8_t *const pixel = &picture.rgba[i];
    for (int part = 0; part < 3; ++part) {
      pixel[part] = static_cast<uint8_t>(pixel[part] * pixel[3] / UINT8_MAX);
    }
    pixel[3] = UINT8_MAX;
  }
}

/// A JPEG is forgiven everything but that bytes are missing.
bool IsWhole(const TurboJpeg &decoder, int result) {
  return result == 0 || (tjGetErrorCode(decoder.get()) == TJERR_WARNING &&
                         std::string_view(tjGetErrorStr2(decoder.get())).find("Premature end") ==
                             std::string_view::npos);
}

std::optional<Pixels> DecodeJpeg(std::string_view bytes, int least_side) {
  const TurboJpeg decoder(tjInitDecompress(), &tjDestroy);
  JpegHeader header;
  if (!decoder ||
      tjDecompressHeader3(decoder.get(), Begin(bytes), bytes.size(), &header.width, &header.height,
                          &header.subsampling, &header.colours) != 0 ||
      !IsPossible(header.width, header.height)) {
    return std::nullopt;
  }
  ShrinkForDecoder(header, least_side);
  const bool inks = header.colours == TJCS_CMYK || header.colours == TJCS_YCCK;
  Pixels picture = BlankOf(header.width, header.height);
  const int result =
      tjDecompress2(decoder.get(), Begin(bytes), bytes.size(), picture.rgba.data(), header.width, 0,
                    header.height, inks ? TJPF_CMYK : TJPF_RGBA, TJFLAG_LIMITSCANS);
  if (!IsWhole(decoder, result)) {
    return std::nullopt;
  }
  if (inks) {
    InksToColours(picture);
  }
  return picture;
}

struct PngImage : png_image {
  PngImage() : png_image() { version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(this); }
  PngImage(const PngImage &) = delete;
  PngImage &operator=(const PngImage &) = delete;
};

std::optional<Pixels> DecodePng(std::string_view bytes) {
  PngImage png;
  if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0 ||
      png.width > kMostPixels || png.height > kMostPixels ||
      !IsPossible(static_cast<int>(png.width), static_cast<int>(png.height))) {
    return std::nullopt;
  }
  png.format = PNG_FORMAT_RGBA;
  Pixels picture = BlankOf(static_cast<int>(png.width), static_cast<int>(png.height));
  if (png_image_finish_read(&png, nullptr, picture.rgba.data(), 0, nullptr) == 0) {
    return std::nullopt;
  }
  PutOnWhite(picture);
  return picture;
}

std::optional<Pixels> DecodeWebp(std::string_view bytes) {
  int width = 0, height = 0;
  if (WebPGetInfo(Begin(bytes), bytes.size(), &width, &height) == 0 || !IsPossible(width, height)) {
    return std::nullopt;
  }
  Pixels picture = BlankOf(width, height);
  if (WebPDecodeRGBAInto(Begin(bytes), bytes.size(), picture.rgba.data(), picture.rgba.size(),
                         width * kPixelBytes) == nullptr) {
    return std::nullopt;
  }
  PutOnWhite(picture);
  return picture;
}

struct ScaledPicture : WebPPicture {
  ScaledPicture() : WebPPicture() {
    if (WebPPictureInit(this) == 0) {
      throw std::runtime_error("libwebp is another one than this was built with");
    }
    use_argb = 1;
  }
  ~ScaledPicture() { WebPPictureFree(this); }
  ScaledPicture(const ScaledPicture &) = delete;
  ScaledPicture &operator=(const ScaledPicture &) = delete;
};

int Shrunk(int length, int side, int longest) {
  return static_cast<int>(std::max<int64_t>(1, (int64_t{length} * side + longest / 2) / longest));
}

Pixels PixelsOf(const WebPPicture &scaled) {
  Pixels pixels = BlankOf(scaled.width, scaled.height);
  uint8_t *out = pixels.rgba.data();
  for (int row = 0; row < scaled.height; ++row) {
    const uint32_t *const argb = scaled.argb + std::ptrdiff_t{row} * scaled.argb_stride;
    for (int column = 0; column < scaled.width; ++column) {
      for (const unsigned shift : {16U, 8U, 0U, 24U}) {
        *out++ = static_cast<uint8_t>(argb[column] >> shift);
      }
    }
  }
  return pixels;
}

} // namespace

std::optional<Pixels> DecodePicture(std::string_view bytes, int least_side) {
  if (bytes.starts_with("\xFF\xD8\xFF")) {
    return DecodeJpeg(bytes, least_side);
  }
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) {
    return DecodePng(bytes);
  }
  constexpr std::size_t kFormType = 8;
  if (bytes.starts_with("RIFF") && bytes.size() > kFormType &&
      bytes.substr(kFormType).starts_with("WEBP")) {
    return DecodeWebp(bytes);
  }
  return std::nullopt;
}

Size Within(const Size &size, int side) {
  const int longest = std::max(size.width, size.height);
  return longest <= side
             ? size
             : Size{Shrunk(size.width, side, longest), Shrunk(size.height, side, longest)};
}

Pixels ScaleDown(const Pixels &picture, const Size &size) {
  if (size.width == picture.width && size.height == picture.height) {
    return picture;
  }
  ScaledPicture scaled;
  scaled.width = picture.width;
  scaled.height = picture.height;
  if (WebPPictureImportRGBA(&scaled, picture.rgba.data(), picture.width * kPixelBytes) == 0 ||
      WebPPictureRescale(&scaled, size.width, size.height) == 0) {
    throw std::bad_alloc();
  }
  return PixelsOf(scaled);
}

std::string EncodeJpeg(const Pixels &picture) {
  const TurboJpeg encoder(tjInitCompress(), &tjDestroy);
  unsigned char *bytes = nullptr;
  unsigned long size = 0;
  const int result =
      encoder ? tjCompress2(encoder.get(), picture.rgba.data(), picture.width, 0, picture.height,
                            TJPF_RGBA, &bytes, &size, TJSAMP_420, kQuality, TJFLAG_ACCURATEDCT)
              : -1;
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(bytes, &tjFree);
  if (result != 0) {
    throw std::runtime_error(tjGetErrorStr2(encoder.get()));
  }
  return {reinterpret_cast<const char *>(bytes), size};
}

} // namespace vexo::cover
