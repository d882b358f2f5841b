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

/// The lines of a header, each whole: one that goes on in the next (obs-fold of RFC 9112, 5.2) is
/// joined by blanks.
std::string Unfolded(std::string_view lines) {
  std::string unfolded(lines);
  for (std::size_t at = 0; (at = unfolded.find("\r\n", at)) != std::string::npos; at += 2) {
    const char next = at + 2 < unfolded.size() ? unfolded[at + 2] : '\0';
    if (next == ' ' || next == '\t') {
      unfolded.replace(at, 2, "  ");
    }
  }
  return unfolded;
}

/// The value of the header Content-Disposition in the lines.
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

/// Appends the parameter of the part [begin, end), which begins with the delimiter's line end;
/// `*end` may be overwritten. A part without a disposition is no field of the form and adds
/// nothing. False for a part that cannot be read.
bool ReadPart(char *begin, char *end, std::vector<Parameter> &parameters) {
  constexpr std::string_view kHeadersEnd = "\r\n\r\n";
  const std::string_view part(begin, static_cast<std::size_t>(end - begin));
  const std::size_t headers_end = part.find(kHeadersEnd);
  if (headers_end > kLongestHeaders) {
    return false;
  }
  const std::string headers = Unfolded(part.substr(0, headers_end));
  const std::optional<std::string_view> disposition = FindDisposition(headers);
  if (!disposition) {
    return true;
  }
  const std::optional<HeaderValue> value = ParseHeaderValue(*disposition);
  if (!value || value->text != "form-data" || !value->Attribute("name") ||
      parameters.size() == kMostParameters) {
    return false;
  }
  *end = '\0';
  parameters.push_back(
      {PlaceName(begin, *value->Attribute("name")), part.substr(headers_end + kHeadersEnd.size())});
  return true;
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
    if (kind == Delimiter::kNone || !ReadPart(part, part_end, parameters)) {
      return false;
    }
  }
  return kind == Delimiter::kLast;
}

} // namespace vexo::web
