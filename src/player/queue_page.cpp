#include "player/queue_page.h"
#include <cstring>
#include <string>
#include <utility>

namespace {

/// The object that the text holds; an empty one when it does not hold any.
Json::Value ParseObject(const std::string &text) {
  Json::Value root;
  try {
    Json::Reader reader;
    if (reader.parse(text, root, true) && root.isObject()) {
      return root;
    }
  } catch (const Json::Exception &) {
    // Nested too deep: as good as no JSON at all.
  }
  return Json::Value(Json::objectValue);
}

std::optional<int> QueueTotal(const Json::Value &total) {
  if (total.isNull()) {
    return 0;
  }
  if (!total.isInt() || total.asInt() < 0 || total.asInt() > kQueueEntriesMax) {
    return std::nullopt;
  }
  return total.asInt();
}

} // namespace

std::optional<QueuePage> QueuePageParse(const char *reply, std::size_t size) {
  Json::Value root = ParseObject(std::string(reply, strnlen(reply, size)));
  Json::Value &entries = root["uris"];
  const std::optional<int> total = QueueTotal(root["total"]);
  if (!total.has_value() || !(entries.isNull() || entries.isArray())) {
    return std::nullopt;
  }
  return QueuePage{std::move(entries), *total};
}
