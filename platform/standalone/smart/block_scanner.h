#pragma once
// Where the playlists of a rule file stand, whether or not their rules can be read. A block that is
// broken ends at its "}"; one that lacks it, before the next line that begins a playlist. So what
// is wrong in one playlist never reaches another.

#include "smart/lexer.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::smart {

/// Byte offsets of one playlist, from the quote that its name begins with to behind its "}" (or
/// behind the last token when it has none).
struct Block {
  std::size_t begin = 0;
  std::size_t name_end = 0; ///< behind the quote that ends the name
  std::size_t end = 0;
};

/// Gives the blocks of a file in order, in one pass and without memory of its own.
class BlockScanner {
public:
  /// `file` must outlive the scanner.
  explicit BlockScanner(std::string_view file);
  std::optional<Block> Next();

  /// The offset of the first token seen so far that belongs to no playlist.
  [[nodiscard]] std::optional<std::size_t> first_stray() const { return first_stray_; }

private:
  [[nodiscard]] bool AtPlaylist() const;
  Block CutBlock();

  Lexer lexer_;
  Token token_;
  std::optional<std::size_t> first_stray_;
};

/// The name of a block; nothing when it is no proper string.
std::optional<std::string> BlockName(std::string_view file, const Block &block);

/// The first block of that name.
std::optional<Block> FindBlock(std::string_view file, std::string_view name);

/// The whole text of a block.
inline std::string_view BlockText(std::string_view file, const Block &block) {
  return file.substr(block.begin, block.end - block.begin);
}

/// "LINE:COLUMN" of an offset, both from 1, columns in characters.
std::string LineAndColumn(std::string_view file, std::size_t offset);

} // namespace vexo::smart
