// Any bytes as a playlist in XML: they are read or refused, and what was read is a playlist again
// when it is written, with the same songs.
#include "catalog/xspf.h"
#include "catalog/exported_songs.h"
#include "catalog/import.h"
#include "text/utf8.h"
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vexo::catalog;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// What a document can say again: no text that was cut inside of a character.
bool IsWhole(const ForeignTrack &track) {
  return vexo::text::IsUtf8(track.location) && vexo::text::IsUtf8(track.title) &&
         track.location.size() < kLongestXspfText / 3;
}

void CheckAgain(const ForeignTrack &track) {
  const std::string location = LocationOfUri(track.location);
  if (!IsWhole(track) || location.find('\0') != std::string::npos) {
    return;
  }
  const std::vector<ForeignTrack> again = ParseXspf(
      ToXspf({{.location = track.location, .title = track.title, .artist = {}, .album = {}}}, ""));
  Require(again.size() == 1 && again[0].title == track.title);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  try {
    for (const ForeignTrack &track : ParseXspf(text)) {
      Require(track.title.size() <= kLongestXspfText && track.duration_seconds >= 0);
      CheckAgain(track);
    }
  } catch (const ForeignError &) {
    return 0;
  }
  return 0;
}
