#include "web/parameters.h"

#include "web/header_value.h"
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

namespace vexo::web {
namespace {

/// A text that is being read from its start on, and changed where it lies.
struct Cursor {
  char *begin, *end;

  [[nodiscard]] std::string_view rest() const {
    return {begin, static_cast<std::size_t>(end - begin)};
  }
  bool Skip(std::string_view text) {
    if (!rest().starts_with(text)) {
      return false;
    }
    begin += text.size();
    return true;
  }
};

/// The headers of a part; a form's have a hundred bytes or two.
constexpr std::size_t kLongestHeaders = 16384;

enum class Delimiter { kNone, kNext, kLast };

/// What follows "--" and the boundary tells a delimiter from a line that only begins like one.
Delimiter ReadDelimiterEnd(Cursor &cursor) {
  if (cursor.rest().starts_with("--")) {
    return Delimiter::kLast;
  }
  Cursor line = cursor;
  while (line.Skip(" ") || line.Skip("\t")) {
  }
  if (!line.rest().starts_with("\r\n")) {
    return Delimiter::kNone;
  }
  cursor = line; // stays before the line's end, with which the next delimiter may begin
  return Delimiter::kNext;
}

/// Reads up to the next delimiter: `*content_end` is where the text before it ends, `cursor` stands
/// behind it.
Delimiter FindDelimiter(Cursor &cursor, const std::string &delimiter, char **content_end) {
  while (true) {
    void *const found =
        memmem(cursor.begin, cursor.rest().size(), delimiter.data(), delimiter.size());
    if (found == nullptr) {
      return Delimiter::kNone;
    }
    *content_end = static_cast<char *>(found);
    cursor.begin = *content_end + delimiter.size();
    const Delimiter kind = ReadDelimiterEnd(cursor);
    if (kind != Delimiter::kNone) {
      return kind;
    }
  }
}

/// The value of the header Content-Disposition in the lines [begin, end).
std::optional<std::string_view> FindDisposition(std::string_view lines) {
  constexpr std::string_view kHeader = "content-disposition:";
  while (!lines.empty()) {
    const std::string_view line = lines.substr(0, lines.find("\r\n"));
    if (EqualsIgnoringCase(line.substr(0, kHeader.size()), kHeader)) {
      return line.substr(kHeader.size());
    }
    lines.remove_prefix(std::min(line.size() + 2, lines.size()));
  }
  return std::nullopt;
}

/// Copies a name over the headers it came from, which nobody needs any more.
std::string_view PlaceName(char *where, const std::string &name) {
  std::memcpy(where, name.data(), name.size());
  where[name.size()] = '\0';
  return {where, name.size()};
}

/// The parameter of the part [begin, end), which begins with the delimiter's line end; `*end` may
/// be overwritten.
std::optional<Parameter> ReadPart(char *begin, char *end) {
  constexpr std::string_view kHeadersEnd = "\r\n\r\n";
  const std::string_view part(begin, static_cast<std::size_t>(end - begin));
  const std::size_t headers_end = part.find(kHeadersEnd);
  if (headers_end > kLongestHeaders) {
    return std::nullopt;
  }
  const std::optional<std::string_view> disposition = FindDisposition(part.substr(0, headers_end));
  const std::optional<HeaderValue> value =
      disposition ? ParseHeaderValue(*disposition) : std::nullopt;
  if (!value || value->text != "form-data" || !value->Attribute("name")) {
    return std::nullopt;
  }
  *end = '\0';
  return Parameter{PlaceName(begin, *value->Attribute("name")),
                   part.substr(headers_end + kHeadersEnd.size())};
}

} // namespace

bool DecodeMultipart(const Buffer &buffer, std::string_view boundary,
                     std::vector<Parameter> &parameters) {
  const std::string delimiter = "\r\n--" + std::string(boundary);
  Cursor cursor{buffer.begin(), buffer.end()};
  char *part = nullptr;
  Delimiter kind = cursor.Skip(std::string_view(delimiter).substr(2)) ? ReadDelimiterEnd(cursor)
                                                                      : Delimiter::kNone;
  if (kind == Delimiter::kNone) {
    kind = FindDelimiter(cursor, delimiter, &part);
  }
  while (kind == Delimiter::kNext) {
    part = cursor.begin;
    char *part_end = nullptr;
    kind = FindDelimiter(cursor, delimiter, &part_end);
    const std::optional<Parameter> parameter =
        kind == Delimiter::kNone ? std::nullopt : ReadPart(part, part_end);
    if (!parameter || parameters.size() == kMostParameters) {
      return false;
    }
    parameters.push_back(*parameter);
  }
  return kind == Delimiter::kLast;
}

} // namespace vexo::web
