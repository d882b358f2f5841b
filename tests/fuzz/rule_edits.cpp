// Edits of any bytes as a rule file, by a name of the input's choice: an edit changes its own block
// only. The name is the first line, the file the rest.

#include "smart/rule_edits.h"
#include "smart/block_scanner.h"
#include "text/utf8.h"
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace {

using namespace vexo::smart;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// The names as they are written, but for those of the blocks named `left_out`.
std::vector<std::string> WrittenNames(std::string_view file,
                                      const std::optional<std::string> &left_out = std::nullopt) {
  std::vector<std::string> names;
  BlockScanner scanner(file);
  while (const auto block = scanner.Next()) {
    if (!left_out || BlockName(file, *block) != left_out) {
      names.emplace_back(file.substr(block->begin, block->name_end - block->begin));
    }
  }
  return names;
}

void CheckReplace(std::string_view file, const std::string &name, const std::string &new_block) {
  const auto block = FindBlock(file, name);
  const auto changed = ReplaceBlock(file, name, new_block);
  Require(block.has_value() == changed.has_value());
  if (changed) {
    Require(*changed == std::string(file.substr(0, block->begin)) + new_block +
                            std::string(file.substr(block->end)));
    Require(WrittenNames(*changed).size() == WrittenNames(file).size());
    Require(BlockText(*changed, *FindBlock(*changed, name)) == new_block);
  }
}

void CheckAppend(std::string_view file, const std::string &name, const std::string &new_block) {
  const std::string changed = AppendBlock(file, new_block);
  Require(changed.starts_with(file) && changed.ends_with(new_block + "\n") &&
          changed.size() <= file.size() + new_block.size() + 2);
  Require(WrittenNames(changed).size() == WrittenNames(file).size() + 1);
  if (!FindBlock(file, name)) {
    Require(BlockText(changed, *FindBlock(changed, name)) == new_block);
  }
}

void CheckRemove(std::string_view file, const std::string &name) {
  try {
    const auto changed = RemoveBlocks(file, {name});
    Require(changed.has_value() == FindBlock(file, name).has_value());
    if (!changed) {
      return;
    }
    std::string expected;
    std::size_t kept_until = 0;
    BlockScanner scanner(file);
    while (const auto block = scanner.Next()) {
      if (BlockName(file, *block) == name) {
        expected += file.substr(kept_until, block->begin - kept_until);
        kept_until = block->end;
      }
    }
    Require(*changed == expected + std::string(file.substr(kept_until)));
    Require(WrittenNames(*changed) == WrittenNames(file, name) && !FindBlock(*changed, name));
  } catch (const std::runtime_error &) {
    Require(FindBlock(file, name).has_value());
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char *>(data), size);
  const std::size_t line_end = input.find('\n');
  if (line_end == std::string_view::npos) {
    return 0;
  }
  const std::string name(input.substr(0, line_end));
  const std::string_view file = input.substr(line_end + 1);
  std::string new_block;
  try {
    new_block = RenameBlock("\"x\" { # \"}\n year = 1 }", name);
  } catch (const std::invalid_argument &) {
    Require(name.empty() || name.find('\r') != std::string::npos || !vexo::text::IsUtf8(name));
    return 0;
  }
  CheckReplace(file, name, new_block);
  CheckAppend(file, name, new_block);
  CheckRemove(file, name);
  return 0;
}
