#include "web/entity_tags.h"

#include "text/text.h"
#include <algorithm>

namespace vexo::web {
namespace {

constexpr std::string_view kTagBlanks = " \t";

/// Takes blanks, and commas as well, off the beginning of `text`.
void SkipBetweenTags(std::string_view &text, std::string_view commas) {
  const std::size_t end = text.find_first_not_of(std::string(kTagBlanks).append(commas));
  text.remove_prefix(std::min(end, text.size()));
}

/// No blank, quote or control stands in a tag.
bool IsTagCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 0x21 || (byte >= 0x23 && byte != 0x7F);
}

/// Takes a tag with its quotes off `text`; nothing when it begins with none.
std::optional<std::string_view> TakeOpaqueTag(std::string_view &text) {
  const std::size_t end = text.starts_with('"') ? text.find('"', 1) : std::string_view::npos;
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view tag = text.substr(1, end - 1);
  text.remove_prefix(end + 1);
  return std::all_of(tag.begin(), tag.end(), IsTagCharacter) ? std::optional(tag) : std::nullopt;
}

} // namespace

std::optional<EntityTags> ParseEntityTags(std::string_view field) {
  EntityTags tags;
  if (text::Trim(field) == "*") {
    tags.any = true;
    return tags;
  }
  for (SkipBetweenTags(field, ","); !field.empty(); SkipBetweenTags(field, ",")) {
    const bool is_weak = field.starts_with("W/");
    field.remove_prefix(is_weak ? 2 : 0);
    const std::optional<std::string_view> tag = TakeOpaqueTag(field);
    SkipBetweenTags(field, "");
    if (!tag || !(field.empty() || field.starts_with(','))) {
      return std::nullopt;
    }
    if (!is_weak) {
      tags.strong.emplace_back(*tag);
    }
  }
  return tags;
}

} // namespace vexo::web
