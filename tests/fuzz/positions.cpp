// The positions of a list, as clients send them: ascending, each once, and in the list, or none.
#include "text/numbers.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  constexpr std::size_t kLength = 1000;
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  try {
    const auto positions = vexo::text::ParsePositions(text, kLength);
    if (positions.empty() || positions.back() >= kLength ||
        !std::is_sorted(positions.begin(), positions.end(), std::less_equal<>())) {
      std::abort();
    }
  } catch (const std::invalid_argument &) {
    return 0;
  }
  return 0;
}
