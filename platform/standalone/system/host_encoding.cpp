#include "system/host_encoding.h"
#include "system/config.h"
#include "text/code_page.h"
#include "text/utf8.h"
#include <algorithm>

namespace vexo::system {

namespace {

constexpr int kFallbackCodePage = 1252;

} // namespace

std::optional<std::string> FromHostCodePage(std::string_view bytes) {
  const int page = HostCodePage();
  return text::ToUtf8(page == text::kUtf8CodePage ? kFallbackCodePage : page, bytes);
}

std::string ReadableText(std::string_view bytes) {
  if (text::IsUtf8(bytes)) {
    return std::string(bytes);
  }
  if (auto converted = FromHostCodePage(bytes)) {
    return *std::move(converted);
  }
  std::string ascii(bytes);
  std::replace_if(
      ascii.begin(), ascii.end(), [](char c) { return static_cast<unsigned char>(c) >= 128; }, '?');
  return ascii;
}

} // namespace vexo::system
