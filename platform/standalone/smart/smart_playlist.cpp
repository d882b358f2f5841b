#include "smart/smart_playlist.h"

#include "smart/block_scanner.h"
#include "smart/parser.h"
#include "smart/rule_file.h"
#include "system/log.h"
#include <stdexcept>

namespace vexo::smart {
namespace {

SmartPlaylist ParseBlock(const std::string &file, std::string_view rules, const Block &block) {
  try {
    return ParsePlaylist(BlockText(rules, block));
  } catch (const SyntaxError &error) {
    throw std::runtime_error(file + ":" + LineAndColumn(rules, block.begin + error.offset_bytes) +
                             ": " + error.what());
  }
}

/// A playlist that is not found may be one whose name or brace is broken.
void LogStrayText(const std::string &file, std::string_view rules) {
  BlockScanner scanner(rules);
  while (scanner.Next()) {
  }
  if (const std::optional<std::size_t> stray = scanner.first_stray()) {
    const std::string place = file + ":" + LineAndColumn(rules, *stray);
    system::LogFailure(place.c_str(), "this belongs to no playlist");
  }
}

} // namespace

std::optional<PlaylistSource> FindPlaylist(const std::string &file, const std::string &name) {
  const std::optional<std::string> rules = ReadRuleFile(file);
  if (!rules) {
    return std::nullopt;
  }
  const std::optional<Block> block = FindBlock(*rules, name);
  if (!block) {
    LogStrayText(file, *rules);
    return std::nullopt;
  }
  return PlaylistSource{ParseBlock(file, *rules, *block), std::string(BlockText(*rules, *block))};
}

} // namespace vexo::smart
