#pragma once
#include <algorithm>
#include <optional>
#include <string_view>

namespace vexo::playlists {

/// What some programs write before UTF-8.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// `line` without what readers pass over before a line's text: blanks, and byte order marks, which
/// files that were joined have inside.
inline std::string_view WithoutBlanksBefore(std::string_view line) {
  while (!line.empty()) {
    if (line.front() == ' ' || line.front() == '\t') {
      line.remove_prefix(1);
    } else if (line.starts_with(kByteOrderMark)) {
      line.remove_prefix(kByteOrderMark.size());
    } else {
      break;
    }
  }
  return line;
}

/// What a line holds for those who read it, `line` being all before its "\n": its text without
/// blanks before it, and without the "\r" of its end.
inline std::string_view TextOfLine(std::string_view line) {
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  return WithoutBlanksBefore(line);
}

/// The lines of a text file, ended by "\n" or "\r\n" or the end of the file; a byte order mark at
/// its beginning is no part of the first line.
class LineReader {
public:
  struct Line {
    std::size_t begin, end; ///< offsets of the whole line, its end included
    std::string_view text;  ///< without blanks before it, and without its end
  };

  explicit LineReader(std::string_view content, std::size_t begin = 0)
      : content_(content), position_(begin) {
    if (begin == 0 && content.starts_with(kByteOrderMark)) {
      position_ = kByteOrderMark.size();
    }
  }

  /// The next line; nothing behind the last one.
  std::optional<Line> Next() {
    if (position_ >= content_.size()) {
      return std::nullopt;
    }
    const std::size_t begin = position_;
    const std::size_t line_end = std::min(content_.find('\n', begin), content_.size());
    position_ = std::min(line_end + 1, content_.size());
    return Line{begin, position_, TextOfLine(content_.substr(begin, line_end - begin))};
  }

private:
  std::string_view content_;
  std::size_t position_;
};

} // namespace vexo::playlists
