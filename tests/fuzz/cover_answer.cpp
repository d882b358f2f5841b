// What the program `cover` has written, which may be anything: its parts lie in it.
#include "media/cover_answer.h"
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char *>(data), size);
  const auto covers = vexo::media::ParseCovers(bytes);
  if (!covers) {
    return 0;
  }
  std::size_t sum = 0;
  for (const std::string_view jpeg : covers->jpegs) {
    if (jpeg.empty() || jpeg.data() < bytes.data() ||
        jpeg.data() + jpeg.size() > bytes.data() + bytes.size()) {
      std::abort();
    }
    sum += jpeg.size();
  }
  if (sum >= size || !vexo::media::IsCoverHash(covers->hash)) {
    std::abort();
  }
  return 0;
}
