#include "catalog/smart_lists.h"
#include "smart/block_scanner.h"
#include "smart/lexer.h"
#include "smart/parser.h"
#include "smart/rule_file.h"
#include "smart/smart_songs.h"
#include "text/numbers.h"
#include <algorithm>

namespace vexo::catalog {
namespace {

/// Stands in for a name where a rule is read alone.
constexpr std::string_view kAnyName = "rule";

RuleError ErrorAt(std::string_view rule, std::size_t offset, std::string what) {
  const std::string place = smart::LineAndColumn(rule, std::min(offset, rule.size()));
  const std::size_t colon = place.find(':');
  const auto number = [](std::string_view digits) {
    return static_cast<std::size_t>(text::ParseInteger(digits).value_or(0));
  };
  return {std::move(what), number(std::string_view(place).substr(0, colon)),
          number(std::string_view(place).substr(colon + 1))};
}

} // namespace

std::string_view RuleText(std::string_view block) {
  smart::Lexer lexer(block);
  lexer.Next(); // the name
  const smart::Token brace = lexer.Next();
  std::string_view rule = block.substr(std::min(brace.end, block.size()));
  rule.remove_prefix(rule.starts_with('\n') ? 1 : 0);
  rule.remove_suffix(rule.ends_with('}') ? 1 : 0);
  rule.remove_suffix(rule.ends_with('\n') ? 1 : 0);
  return rule;
}

std::string BlockOf(std::string_view name, std::string_view rule) {
  return smart::QuoteString(name).append(" {\n").append(rule).append("\n}");
}

std::variant<smart::SmartPlaylist, RuleError> ParseRule(std::string_view rule) {
  const std::string block = BlockOf(kAnyName, rule);
  try {
    return smart::ParsePlaylist(block);
  } catch (const smart::SyntaxError &error) {
    const std::size_t before = block.find('\n') + 1;
    const std::size_t offset = std::max(error.offset_bytes, before) - before;
    return ErrorAt(rule, offset, error.what());
  }
}

std::optional<std::string> ReadBlock(const Playlist &playlist) {
  const std::string rules = smart::ReadRuleFile(playlist.path).value_or("");
  const std::optional<smart::Block> block = smart::FindBlock(rules, playlist.name);
  return block ? std::optional(std::string(smart::BlockText(rules, *block))) : std::nullopt;
}

RuleSongs SongsOfRule(const accounts::Account &user, bool is_personal,
                      const smart::SmartPlaylist &rule, int64_t offset, int64_t limit) {
  const smart::Scope scope = is_personal && user.personal_library
                                 ? smart::Scope{user.id, true, user.id}
                                 : smart::Scope{0, false, user.id};
  RuleSongs found{smart::CountSongs(rule, scope), {}};
  if (limit > 0 && offset < found.totals.songs) {
    found.songs = smart::ChooseSongs(rule, scope, offset, limit);
  }
  return found;
}

} // namespace vexo::catalog
