#include "smart/block_scanner.h"

#include <algorithm>

namespace vexo::smart {
namespace {

/// A byte order mark is no part of a rule; editors that write it put it at the very beginning.
std::size_t ByteOrderMarkLength(std::string_view file) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return file.substr(0, kMark.size()) == kMark ? kMark.size() : 0;
}

} // namespace

BlockScanner::BlockScanner(std::string_view file) : lexer_(file, ByteOrderMarkLength(file)) {
  token_ = lexer_.Next();
}

bool BlockScanner::AtPlaylist() const {
  if (token_.kind != TokenKind::kString) {
    return false;
  }
  Lexer ahead = lexer_;
  return ahead.Next().kind == TokenKind::kOpenBrace;
}

Block BlockScanner::CutBlock() {
  Block block{token_.begin, token_.end, 0};
  token_ = lexer_.Next(); // the open brace
  do {
    block.end = token_.end;
    token_ = lexer_.Next();
    if (token_.kind == TokenKind::kCloseBrace) {
      block.end = token_.end;
      token_ = lexer_.Next();
      return block;
    }
  } while (token_.kind != TokenKind::kEnd && !(token_.starts_line && AtPlaylist()));
  return block;
}

std::optional<Block> BlockScanner::Next() {
  for (; token_.kind != TokenKind::kEnd; token_ = lexer_.Next()) {
    if (AtPlaylist()) {
      return CutBlock();
    }
    first_stray_ = first_stray_.value_or(token_.begin);
  }
  return std::nullopt;
}

std::optional<std::string> BlockName(std::string_view file, const Block &block) {
  return StringValue(file.substr(block.begin, block.name_end - block.begin));
}

std::optional<Block> FindBlock(std::string_view file, std::string_view name) {
  // What a name's quoted form may be longer by: every character of it escaped.
  const std::size_t longest = 2 * name.size() + 2;
  BlockScanner scanner(file);
  while (std::optional<Block> block = scanner.Next()) {
    if (block->name_end - block->begin <= longest && BlockName(file, *block) == name) {
      return block;
    }
  }
  return std::nullopt;
}

std::string LineAndColumn(std::string_view file, std::size_t offset) {
  const std::string_view before = file.substr(0, offset);
  const std::size_t line_begin = before.rfind('\n') + 1; // npos + 1 is 0
  const auto is_character = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  return std::to_string(1 + std::ranges::count(before, '\n')) + ":" +
         std::to_string(1 + std::ranges::count_if(before.substr(line_begin), is_character));
}

} // namespace vexo::smart
