// PLS files of anybody, and edits of them. An edit gives the entries it should, numbered and
// counted, and changes no other byte: inserting a song and removing it again gives the file back.
#include "playlists/pls.h"
#include "playlists/line_reader.h"
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace vexo::playlists;

namespace {

using Paths = std::vector<std::string>;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

Paths PathsOf(const PlsList &list) {
  Paths paths;
  for (const PlsEntry &entry : list.entries()) {
    Require(!entry.path.empty() && entry.path.find('\n') == std::string_view::npos);
    paths.emplace_back(entry.path);
  }
  return paths;
}

/// The file as an edit leaves it: its entries numbered and counted.
std::string Numbered(std::string_view content) {
  const std::string numbered = PlsList(content).Reduced({});
  const PlsList list(numbered);
  Require(PathsOf(list) == PathsOf(PlsList(content)));
  Require(list.Reduced({}) == numbered);
  return numbered;
}

/// A number that is changed and changed back loses its leading zeros.
bool MayHaveLeadingZeros(std::string_view content) {
  for (const std::string_view zero : {"e0", "E0", "h0", "H0"}) {
    if (content.find(zero) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

void CheckInsertion(const std::string &content, std::size_t position) {
  const PlsList list(content);
  Paths expected = PathsOf(list);
  const std::string inserted = list.Spliced(position, position, {{"/new", "New", 1}});
  const PlsList after(inserted);
  expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(position), "/new");
  Require(PathsOf(after) == expected);
  const std::string removed = after.Reduced({position});
  // A head or the end of the last line may have been added.
  const std::string head = "[playlist]\n";
  Require(MayHaveLeadingZeros(content) || removed == content || removed == content + "\n" ||
          removed == head + content ||
          removed == std::string(kByteOrderMark) + head +
                         content.substr(std::min(content.size(), kByteOrderMark.size())));
}

void CheckRemoval(const std::string &content, std::size_t position) {
  const PlsList list(content);
  Paths expected = PathsOf(list);
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(position));
  const std::string removed = list.Reduced({position});
  Require(PathsOf(PlsList(removed)) == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char *>(data), size);
  (void)IsPls(bytes);
  const std::string content = Numbered(bytes);
  const std::size_t length = PlsList(content).entries().size();
  if (length > 0) {
    const std::size_t position = data[size - 1] % length;
    CheckInsertion(content, position);
    CheckRemoval(content, position);
  }
  CheckInsertion(content, length);
  return 0;
}
