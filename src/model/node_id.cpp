#include "model/node_id.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

const char *IdTail(const char *text, int mode) {
  if (mode != 1 && mode != 2) {
    return text;
  }
  const char *separator = std::strrchr(text, mode == 1 ? '@' : '/');
  return separator == nullptr || separator[1] == '\0' ? text : separator + 1;
}

int LeadingNumber(const char *text) {
  using Limits = std::numeric_limits<int>;
  const long number = std::strtol(text, nullptr, 10);
  return static_cast<int>(std::clamp<long>(number, Limits::min(), Limits::max()));
}

int NumericTail(const char *id) { return LeadingNumber(IdTail(id, 2)); }

bool IsPersonalId(const char *id) { return std::strncmp(id, "musiclib_music_personal", 23) == 0; }

bool IsSmartId(const char *id) {
  const char *slash = std::strchr(id, '/');
  return slash != nullptr && std::strncmp(slash + 1, "smart", 5) == 0;
}
