// Any bytes as a rule file: the scanner finds blocks that lie one behind the other, the parser
// takes or refuses each, and what it takes means the same when it is printed and read again.

#include "smart/block_scanner.h"
#include "smart/parser.h"
#include "smart/rule_query.h"
#include "support/rule_printer.h"
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vexo::smart;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void CheckPlaylist(std::string_view text) {
  try {
    const SmartPlaylist playlist = ParsePlaylist(text);
    Require(ParsePlaylist(PrintPlaylist(playlist)) == playlist);
    static_cast<void>(MakeQuery(playlist, 1795262400));
  } catch (const SyntaxError &error) {
    Require(error.offset_bytes <= text.size());
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string_view file(reinterpret_cast<const char *>(data), size);
  CheckPlaylist(file);
  BlockScanner scanner(file);
  std::size_t end = 0;
  while (const auto block = scanner.Next()) {
    Require(end <= block->begin && block->begin + 2 <= block->name_end &&
            block->name_end < block->end && block->end <= size);
    end = block->end;
    CheckPlaylist(BlockText(file, *block));
    if (const auto name = BlockName(file, *block)) {
      Require(FindBlock(file, *name)->begin <= block->begin);
    }
  }
  return 0;
}
