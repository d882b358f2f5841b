// The ids of a list, as clients send them: positive, in the text's order, and no more than it has.
#include "host/arguments.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  const auto ids = vexo::host::ParseIds(text);
  const auto commas = static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
  if (ids.size() > commas + 1 ||
      std::any_of(ids.begin(), ids.end(), [](int32_t id) { return id <= 0; })) {
    std::abort();
  }
  return 0;
}
