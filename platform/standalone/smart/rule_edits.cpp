#include "smart/rule_edits.h"

#include "smart/block_scanner.h"
#include "text/utf8.h"
#include <stdexcept>
#include <unordered_set>

namespace vexo::smart {
namespace {

using Names = std::unordered_set<std::string>;

/// The next block of a name that is not in `passed_over`; what the file calls it, quotes included.
std::optional<std::string_view> NextOther(BlockScanner &scanner, std::string_view file,
                                          const Names &passed_over) {
  while (const std::optional<Block> block = scanner.Next()) {
    const std::optional<std::string> name = BlockName(file, *block);
    if (!name || !passed_over.contains(*name)) {
      return file.substr(block->begin, block->name_end - block->begin);
    }
  }
  return std::nullopt;
}

void RequireSamePlaylists(std::string_view before, const Names &removed, std::string_view after) {
  BlockScanner old_blocks(before);
  BlockScanner new_blocks(after);
  std::optional<std::string_view> old_name;
  do {
    old_name = NextOther(old_blocks, before, removed);
    if (NextOther(new_blocks, after, {}) != old_name) {
      throw std::runtime_error("what stands around the playlists is too damaged to remove them");
    }
  } while (old_name);
}

} // namespace

std::string AppendBlock(std::string_view file, std::string_view block) {
  std::string changed;
  changed.reserve(file.size() + block.size() + 2);
  changed = file;
  if (!changed.empty() && changed.back() != '\n') {
    changed += '\n';
  }
  return changed.append(block).append("\n");
}

std::optional<std::string> ReplaceBlock(std::string_view file, std::string_view name,
                                        std::string_view block) {
  const std::optional<Block> old_block = FindBlock(file, name);
  if (!old_block) {
    return std::nullopt;
  }
  std::string changed;
  changed.reserve(file.size() + block.size());
  return changed.append(file.substr(0, old_block->begin))
      .append(block)
      .append(file.substr(old_block->end));
}

std::optional<std::string> RemoveBlocks(std::string_view file,
                                        const std::vector<std::string> &names) {
  const Names removed(names.begin(), names.end());
  std::string changed;
  std::size_t kept_until = 0;
  BlockScanner scanner(file);
  while (const std::optional<Block> block = scanner.Next()) {
    const std::optional<std::string> name = BlockName(file, *block);
    if (name && removed.contains(*name)) {
      changed.append(file.substr(kept_until, block->begin - kept_until));
      kept_until = block->end;
    }
  }
  if (kept_until == 0) {
    return std::nullopt;
  }
  changed.append(file.substr(kept_until));
  RequireSamePlaylists(file, removed, changed);
  return changed;
}

std::string RenameBlock(std::string_view block, std::string_view new_name) {
  if (new_name.empty() || !text::IsUtf8(new_name) ||
      new_name.find_first_of("\r\n") != std::string_view::npos) {
    throw std::invalid_argument("a smart playlist cannot have this name");
  }
  BlockScanner scanner(block);
  const std::optional<Block> found = scanner.Next();
  if (!found) {
    throw std::invalid_argument("not a smart playlist");
  }
  return QuoteString(new_name).append(block.substr(found->name_end));
}

} // namespace vexo::smart
