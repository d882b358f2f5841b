// Any bytes as a playlist in JSON: they are read or refused, and what was read is told as a text,
// or not at all.
#include "api/jspf.h"
#include "catalog/import.h"
#include "playlists/playlist_text.h"
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vexo;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  try {
    for (const catalog::ForeignTrack &track :
         api::ParseJspf({reinterpret_cast<const char *>(data), size})) {
      Require(track.duration_seconds >= 0);
      Require(track.title.size() + track.artist.size() + track.album.size() <= size);
      Require(catalog::LocationOfUri(track.location).size() <= size);
    }
  } catch (const catalog::ForeignError &) {
    return 0;
  } catch (const playlists::UnreadableError &) {
    return 0;
  }
  return 0;
}
