#pragma once
// PLS, an INI-like format: "[playlist]", then FileN, TitleN and LengthN, N counting from 1, and
// NumberOfEntries. Lines in any order, keys in any letter case.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

struct PlsEntry {
  std::string_view path, title;
  float duration_seconds = 0; ///< 0: not known
};

/// Whether the first line that is not blank is "[playlist]", in any letter case.
bool IsPls(std::string_view content);

/// A PLS file's entries, and edits of them. An edit numbers the entries 1, 2, 3, ... and makes
/// NumberOfEntries right; every other byte stays. What has a number and no path (a title alone) is
/// numbered behind the entries.
class PlsList {
public:
  /// Keeps views of `content`. Lines that cannot be read, or are longer than a path, are passed
  /// over. Throws UnreadableError for more than kMaxEntries.
  explicit PlsList(std::string_view content);

  /// Those that have a path, in the order of their numbers, whatever their order in the file.
  [[nodiscard]] const std::vector<PlsEntry> &entries() const { return entries_; }

  /// The file with `songs` in the place of the entries [first, last).
  [[nodiscard]] std::string Spliced(std::size_t first, std::size_t last,
                                    const std::vector<PlsEntry> &songs) const;

  /// The file without the entries at `positions`, which ascend.
  [[nodiscard]] std::string Reduced(const std::vector<std::size_t> &positions) const;

private:
  enum class Key { kFile, kTitle, kLength, kCount };
  /// A line that an edit may have to change. Offsets count bytes of the content.
  struct Line {
    Key key;
    std::size_t begin, end;               ///< of all of it
    std::size_t digits_begin, digits_end; ///< of its key's number, or of the count
    uint32_t number;                      ///< of its key; 0 in a line that counts the entries
  };
  /// What stands under one number.
  struct Numbered {
    PlsEntry entry;
    std::size_t begin = SIZE_MAX, end = 0; ///< of its lines
  };
  /// Other text in the place of the content's bytes [begin, end).
  struct Replacement {
    std::size_t begin, end;
    std::string text;
  };
  /// The new number of each old one; 0: its lines go.
  using NewNumbers = std::map<uint32_t, uint32_t>;

  void TakeLine(std::size_t begin, std::size_t end, std::string_view text);
  void TakeNumbered(const Line &line, std::string_view value);
  [[nodiscard]] NewNumbers Renumbered(const std::vector<bool> &goes, std::size_t position,
                                      std::size_t added) const;
  [[nodiscard]] std::size_t OffsetOf(std::size_t position) const;
  [[nodiscard]] std::vector<Replacement> Replacements(const NewNumbers &numbers,
                                                      std::size_t count) const;
  [[nodiscard]] std::string Rewritten(const NewNumbers &numbers, std::size_t count,
                                      std::size_t offset, std::string_view added) const;

  std::string_view content_;
  std::vector<Line> lines_; ///< in the file's order
  std::map<uint32_t, Numbered> numbered_;
  std::vector<uint32_t> numbers_; ///< of the entries
  std::vector<PlsEntry> entries_;
};

} // namespace vexo::playlists
