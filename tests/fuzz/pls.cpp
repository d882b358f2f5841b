// PLS files of anybody.
#include "playlists/pls.h"
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string_view content(reinterpret_cast<const char *>(data), size);
  (void)vexo::playlists::IsPls(content);
  for (const vexo::playlists::PlsEntry &entry : vexo::playlists::ParsePls(content)) {
    if (entry.path.empty() || entry.path.find('\n') != std::string_view::npos) {
      std::abort();
    }
  }
  return 0;
}
