#include "playlists/pls.h"
#include "playlists/line_reader.h"
#include "playlists/playlist_text.h"
#include "text/numbers.h"
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <strings.h>
#include <utility>

namespace vexo::playlists {

namespace {

constexpr std::string_view kHead = "[playlist]";
constexpr std::string_view kCountKey = "NumberOfEntries";

bool EqualIgnoringCase(std::string_view text, std::string_view word) {
  return text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
}

std::string_view WithoutBlanksBehind(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

/// The number that the whole text is; 0 for any other text.
uint32_t NumberOf(std::string_view digits) {
  uint32_t number = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() && stop == digits.data() + digits.size() ? number : 0;
}

/// The digits behind `word` in a key such as "File12"; nothing when it is another key.
std::optional<std::string_view> DigitsOfKey(std::string_view key, std::string_view word) {
  if (!EqualIgnoringCase(key.substr(0, word.size()), word) ||
      NumberOf(key.substr(word.size())) == 0) {
    return std::nullopt;
  }
  return key.substr(word.size());
}

/// Ends the last line of a text that is to be continued, and gives an empty one its head.
void PrepareForLine(std::string &text) {
  if (text.empty() || text == kByteOrderMark) {
    text.append(kHead).append("\n");
  } else if (!text.ends_with('\n')) {
    text.append("\n");
  }
}

/// With the line that counts the entries, for a text that has none.
std::string WithCount(std::string text, std::size_t count) {
  PrepareForLine(text);
  return text.append(kCountKey).append("=").append(std::to_string(count)).append("\n");
}

void AppendLine(std::string &text, std::string_view key, std::size_t number,
                std::string_view value) {
  text.append(key).append(std::to_string(number)).append("=").append(value).append("\n");
}

/// The lines of entries that are numbered from `number` on.
std::string EntryLines(const std::vector<PlsEntry> &songs, std::size_t number) {
  std::string text;
  for (const PlsEntry &song : songs) {
    AppendLine(text, "File", number, song.path);
    if (!song.title.empty()) {
      AppendLine(text, "Title", number, song.title);
    }
    const long seconds = std::lround(song.duration_seconds);
    if (!song.title.empty() || seconds > 0) {
      AppendLine(text, "Length", number, std::to_string(seconds > 0 ? seconds : -1));
    }
    ++number;
  }
  return text;
}

} // namespace

bool IsPls(std::string_view content) {
  LineReader lines(content);
  while (const auto line = lines.Next()) {
    if (!line->text.empty()) {
      return EqualIgnoringCase(WithoutBlanksBehind(line->text), kHead);
    }
  }
  return false;
}

PlsList::PlsList(std::string_view content) : content_(content) {
  LineReader lines(content);
  while (const auto line = lines.Next()) {
    TakeLine(line->begin, line->end, line->text);
  }
  for (const auto &[number, numbered] : numbered_) {
    if (!numbered.entry.path.empty()) {
      numbers_.push_back(number);
      entries_.push_back(numbered.entry);
    }
  }
}

void PlsList::TakeLine(std::size_t begin, std::size_t end, std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    return;
  }
  const std::string_view key = WithoutBlanksBehind(text.substr(0, equals));
  const std::string_view value = WithoutBlanksBefore(text.substr(equals + 1));
  const auto line_with = [&](Key kind, std::string_view digits) {
    const auto digits_begin = static_cast<std::size_t>(digits.data() - content_.data());
    return Line{kind, begin, end, digits_begin, digits_begin + digits.size(), 0};
  };
  if (EqualIgnoringCase(key, kCountKey)) {
    lines_.push_back(line_with(Key::kCount, WithoutBlanksBehind(value)));
  } else if (const auto file = DigitsOfKey(key, "file")) {
    TakeNumbered(line_with(Key::kFile, *file), value);
  } else if (const auto title = DigitsOfKey(key, "title")) {
    TakeNumbered(line_with(Key::kTitle, *title), value);
  } else if (const auto length = DigitsOfKey(key, "length")) {
    TakeNumbered(line_with(Key::kLength, *length), value);
  }
}

void PlsList::TakeNumbered(const Line &line, std::string_view value) {
  lines_.push_back(line);
  uint32_t &number = lines_.back().number;
  number = NumberOf(content_.substr(line.digits_begin, line.digits_end - line.digits_begin));
  Numbered &numbered = numbered_[number];
  RequireRoom(numbered_.size());
  numbered.begin = std::min(numbered.begin, line.begin);
  numbered.end = std::max(numbered.end, line.end);
  if (IsTooLongForPath(value)) {
    return;
  }
  if (line.key == Key::kFile) {
    numbered.entry.path = value;
  } else if (line.key == Key::kTitle) {
    numbered.entry.title = value;
  } else {
    numbered.entry.duration_seconds = text::ParseSeconds(value);
  }
}

PlsList::NewNumbers PlsList::Renumbered(const std::vector<bool> &goes, std::size_t position,
                                        std::size_t added) const {
  NewNumbers numbers;
  uint32_t next = 1;
  for (std::size_t i = 0; i < numbers_.size(); ++i) {
    next += i == position ? static_cast<uint32_t>(added) : 0;
    numbers[numbers_[i]] = goes[i] ? 0 : next++;
  }
  next += position == numbers_.size() ? static_cast<uint32_t>(added) : 0;
  for (const auto &[number, numbered] : numbered_) {
    if (numbered.entry.path.empty()) {
      numbers[number] = next++;
    }
  }
  RequireRoom(next - 1);
  return numbers;
}

/// Where the lines of a new entry belong: behind those of the one before it.
std::size_t PlsList::OffsetOf(std::size_t position) const {
  if (position > 0) {
    return numbered_.at(numbers_[position - 1]).end;
  }
  if (!numbers_.empty()) {
    return numbered_.at(numbers_.front()).begin;
  }
  LineReader lines(content_);
  while (const auto line = lines.Next()) {
    if (EqualIgnoringCase(WithoutBlanksBehind(line->text), kHead)) {
      return line->end;
    }
  }
  return content_.size();
}

/// The digits of a line that are to be others, or the whole line when it goes.
std::vector<PlsList::Replacement> PlsList::Replacements(const NewNumbers &numbers,
                                                        std::size_t count) const {
  std::vector<Replacement> replacements;
  for (const Line &line : lines_) {
    const auto digits = content_.substr(line.digits_begin, line.digits_end - line.digits_begin);
    const std::size_t now = line.key == Key::kCount ? count : numbers.at(line.number);
    if (line.key != Key::kCount && now == 0) {
      replacements.push_back({line.begin, line.end, ""});
    } else if (line.key == Key::kCount ? digits != std::to_string(count) : now != line.number) {
      replacements.push_back({line.digits_begin, line.digits_end, std::to_string(now)});
    }
  }
  return replacements;
}

std::string PlsList::Rewritten(const NewNumbers &numbers, std::size_t count, std::size_t offset,
                               std::string_view added) const {
  std::string text;
  text.reserve(content_.size() + added.size());
  std::size_t position = 0;
  const auto copy_to = [&](std::size_t end) {
    text.append(content_.substr(position, end - position));
    position = end;
  };
  const auto add = [&] {
    if (!added.empty()) {
      copy_to(offset);
      PrepareForLine(text);
      text.append(std::exchange(added, {}));
    }
  };
  for (const Replacement &replacement : Replacements(numbers, count)) {
    if (replacement.begin >= offset) {
      add();
    }
    copy_to(replacement.begin);
    text.append(replacement.text);
    position = replacement.end;
  }
  add();
  copy_to(content_.size());
  const bool is_counted = std::any_of(lines_.begin(), lines_.end(),
                                      [](const Line &line) { return line.key == Key::kCount; });
  return is_counted ? text : WithCount(std::move(text), count);
}

std::string PlsList::Spliced(std::size_t first, std::size_t last,
                             const std::vector<PlsEntry> &songs) const {
  std::vector<bool> goes(entries_.size());
  std::fill(goes.begin() + static_cast<std::ptrdiff_t>(first),
            goes.begin() + static_cast<std::ptrdiff_t>(last), true);
  return Rewritten(Renumbered(goes, first, songs.size()),
                   entries_.size() - (last - first) + songs.size(), OffsetOf(first),
                   EntryLines(songs, first + 1));
}

std::string PlsList::Reduced(const std::vector<std::size_t> &positions) const {
  std::vector<bool> goes(entries_.size());
  for (const std::size_t position : positions) {
    goes[position] = true;
  }
  return Rewritten(Renumbered(goes, 0, 0), entries_.size() - positions.size(), 0, {});
}

} // namespace vexo::playlists
