// A Range field, from whatever bytes a client sends: the stretch lies in the file, whatever its
// size. The first byte chooses the size.
#include "media/byte_range.h"
#include <cstdint>
#include <cstdlib>
#include <string_view>

using Kind = vexo::media::ByteRange::Kind;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  constexpr uint64_t kSizes[] = {0, 1, 100, uint64_t{1} << 40U};
  if (size == 0) {
    return 0;
  }
  const uint64_t file_size = kSizes[data[0] % 4];
  const std::string_view field(reinterpret_cast<const char *>(data) + 1, size - 1);
  const vexo::media::ByteRange range = vexo::media::ParseRange(field, file_size);
  const bool is_part = range.kind == Kind::kPart;
  const bool is_all = range.first == 0 && range.size == file_size;
  const bool fits =
      is_part ? range.size > 0 && range.first < file_size && range.size <= file_size - range.first
              : range.kind == Kind::kUnsatisfiable || is_all;
  if (!fits || vexo::media::ContentRange(range, file_size).empty() !=
                   (range.kind == Kind::kWhole || range.kind == Kind::kIgnored)) {
    std::abort();
  }
  return 0;
}
