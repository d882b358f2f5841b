#include "media/cover_answer.h"

#include "text/numbers.h"
#include <algorithm>

namespace vexo::media {
namespace {

/// What stands before the first blank; `line` loses both.
std::string_view TakeWord(std::string_view &line) {
  const std::string_view word = line.substr(0, line.find(' '));
  line.remove_prefix(std::min(word.size() + 1, line.size()));
  return word;
}

} // namespace

std::optional<MadeCovers> ParseCovers(std::string_view bytes) {
  std::string_view line = bytes.substr(0, bytes.find('\n'));
  bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
  MadeCovers covers{std::string(TakeWord(line)), {}};
  for (std::string_view &jpeg : covers.jpegs) {
    const std::optional<int64_t> size = text::ParseInteger(TakeWord(line));
    if (!size || *size <= 0 || static_cast<std::size_t>(*size) > kLargestCover ||
        static_cast<std::size_t>(*size) > bytes.size()) {
      return std::nullopt;
    }
    jpeg = bytes.substr(0, static_cast<std::size_t>(*size));
    bytes.remove_prefix(jpeg.size());
  }
  return line.empty() && bytes.empty() && IsCoverHash(covers.hash) ? std::optional(covers)
                                                                   : std::nullopt;
}

} // namespace vexo::media
