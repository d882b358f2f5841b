#include "player/queue_page.h"

#include "model/parse_json.h"
#include <cstring>
#include <utility>

namespace {

/// The object that the text holds; an empty one when it does not hold any.
Json::Value ParseObject(std::string_view text) {
  Json::Value root;
  if (!ParseJson(text, root) || !root.isObject()) {
    root = Json::Value(Json::objectValue);
  }
  return root;
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
  Json::Value root = ParseObject({reply, strnlen(reply, size)});
  Json::Value &entries = root["uris"];
  const std::optional<int> total = QueueTotal(root["total"]);
  if (!total.has_value() || !(entries.isNull() || entries.isArray())) {
    return std::nullopt;
  }
  return QueuePage{std::move(entries), *total};
}
