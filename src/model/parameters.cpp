#include "model/parameters.h"

#include "model/answer.h"
#include "model/log_line.h"
#include <cstring>

bool RequireParameters(const WebMan &request, std::span<const char *const> names,
                       Json::Value &response) {
  for (const char *name : names) {
    if (name != nullptr && request.In(name, nullptr) == nullptr) {
      return LOG_AND_FAIL(response, "Bad parameter.");
    }
  }
  return true;
}

bool WantsOverwrite(const WebMan &request) {
  return std::strcmp(request.In("overwrite", "false"), "true") == 0;
}
