#include "media/picture_beside.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace vexo::media {
namespace {

constexpr std::array<std::string_view, 3> kStems = {"cover", "folder", "front"};
constexpr std::array<std::string_view, 4> kExtensions = {".jpg", ".jpeg", ".png", ".webp"};
constexpr std::size_t kNoRank = kStems.size() * kExtensions.size();

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

/// The lower the better; kNoRank for the name of anything else.
std::size_t RankOf(std::string_view name) {
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(), LowerAscii);
  for (std::size_t rank = 0; rank < kNoRank; ++rank) {
    const std::string_view stem = kStems[rank / kExtensions.size()];
    const std::string_view extension = kExtensions[rank % kExtensions.size()];
    if (lower.size() == stem.size() + extension.size() && lower.starts_with(stem) &&
        lower.ends_with(extension)) {
      return rank;
    }
  }
  return kNoRank;
}

} // namespace

std::optional<std::string> PictureBeside(const std::string &folder) {
  std::size_t best = kNoRank;
  std::string found;
  std::error_code ended;
  for (std::filesystem::directory_iterator entry(folder, ended), end; !ended && entry != end;
       entry.increment(ended)) {
    std::string name = entry->path().filename();
    const std::size_t rank = RankOf(name);
    if (rank < best || (rank == best && rank != kNoRank && name < found)) {
      best = rank;
      found = std::move(name);
    }
  }
  return best == kNoRank ? std::nullopt : std::optional(found);
}

} // namespace vexo::media
