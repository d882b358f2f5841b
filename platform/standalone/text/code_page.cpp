#include "text/code_page.h"

#include "text/utf8.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <iconv.h>

namespace vexo::text {
namespace {

/// The code pages that iconv knows by another name.
constexpr std::pair<int, const char *> kNames[] = {
    {10000, "MACINTOSH"},   {10007, "MAC-CYRILLIC"}, {20127, "US-ASCII"},   {20866, "KOI8-R"},
    {20932, "EUC-JP"},      {20936, "GB2312"},       {21866, "KOI8-U"},     {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},   {28594, "ISO-8859-4"}, {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},   {28598, "ISO-8859-8"}, {28599, "ISO-8859-9"},
    {28603, "ISO-8859-13"}, {28605, "ISO-8859-15"},  {38598, "ISO-8859-8"}, {51932, "EUC-JP"},
    {51936, "GB2312"},      {51949, "EUC-KR"},       {51950, "EUC-TW"},     {54936, "GB18030"},
};

/// The code pages that iconv calls CP and their number.
constexpr int kNamedByNumber[] = {437,  737,  775,  850,  852,  855,  857,  858,  860, 861, 862,
                                  863,  864,  865,  866,  869,  874,  932,  936,  949, 950, 1250,
                                  1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258, 1361};

std::string IconvName(int code_page) {
  const auto *const named = std::find_if(std::begin(kNames), std::end(kNames),
                                         [&](const auto &row) { return row.first == code_page; });
  if (named != std::end(kNames)) {
    return named->second;
  }
  const bool known = std::find(std::begin(kNamedByNumber), std::end(kNamedByNumber), code_page) !=
                     std::end(kNamedByNumber);
  return known ? "CP" + std::to_string(code_page) : "";
}

class Converter {
public:
  Converter(const std::string &to, const std::string &from)
      : handle_(iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() {
    if (IsOpen()) {
      iconv_close(handle_);
    }
  }
  Converter(const Converter &) = delete;
  Converter &operator=(const Converter &) = delete;

  [[nodiscard]] bool IsOpen() const { return reinterpret_cast<intptr_t>(handle_) != -1; }

  /// Nothing when a character cannot be converted exactly.
  std::optional<std::string> Convert(std::string_view bytes) {
    std::string converted;
    char *in = const_cast<char *>(bytes.data());
    std::size_t left = bytes.size();
    if (!Run(&in, &left, converted) || !Run(nullptr, nullptr, converted)) {
      return std::nullopt;
    }
    return converted;
  }

private:
  /// Converts all input; without input, closes an open shift state.
  bool Run(char **in, std::size_t *left, std::string &converted) {
    std::array<char, 1024> buffer{};
    while (true) {
      char *out = buffer.data();
      std::size_t room = buffer.size();
      const std::size_t inexact = iconv(handle_, in, left, &out, &room);
      const int error = errno;
      converted.append(buffer.data(), buffer.size() - room);
      if (inexact != static_cast<std::size_t>(-1)) {
        return inexact == 0;
      }
      if (error != E2BIG) {
        return false;
      }
    }
  }

  iconv_t handle_;
};

/// How many bytes the character takes that `utf8`, which is UTF-8, begins with.
std::size_t CharacterBytes(std::string_view utf8) {
  const auto is_continuation = [](char byte) { return (byte & 0xC0) == 0x80; };
  const auto *const end = std::find_if_not(utf8.begin() + 1, utf8.end(), is_continuation);
  return static_cast<std::size_t>(end - utf8.begin());
}

/// Character by character: every code page here keeps ASCII and has no shift states.
std::string ConvertEach(Converter &converter, std::string_view utf8) {
  std::string converted;
  while (!utf8.empty()) {
    const std::size_t bytes = CharacterBytes(utf8);
    converted += converter.Convert(utf8.substr(0, bytes)).value_or("_");
    utf8.remove_prefix(bytes);
  }
  return converted;
}

} // namespace

bool IsKnownCodePage(int code_page) {
  return code_page == kUtf8CodePage || !IconvName(code_page).empty();
}

std::optional<std::string> FromUtf8(int code_page, std::string_view utf8) {
  if (!IsKnownCodePage(code_page)) {
    return std::nullopt;
  }
  if (code_page == kUtf8CodePage || !IsUtf8(utf8)) {
    return std::string(utf8);
  }
  Converter converter(IconvName(code_page), "UTF-8");
  if (!converter.IsOpen()) {
    return std::nullopt;
  }
  std::optional<std::string> exact = converter.Convert(utf8);
  return exact ? std::move(exact) : ConvertEach(converter, utf8);
}

std::optional<std::string> ToUtf8(int code_page, std::string_view bytes) {
  if (code_page == kUtf8CodePage) {
    return IsUtf8(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
  }
  Converter converter("UTF-8", IconvName(code_page));
  const bool known = IsKnownCodePage(code_page) && converter.IsOpen();
  return known ? converter.Convert(bytes) : std::nullopt;
}

} // namespace vexo::text
