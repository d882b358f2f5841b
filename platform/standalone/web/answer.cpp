#include "web/answer.h"

#include "text/utf8.h"
#include "web/json_text.h"
#include "web/output.h"
#include "web/request.h"

namespace vexo::web {
namespace {

constexpr const char *kJsonType = "text/plain; charset=\"UTF-8\"";

Json::Value &AsObject(Json::Value &response) {
  if (!response.isObject()) {
    response = Json::Value(Json::objectValue);
  }
  return response;
}

} // namespace

std::string ToJson(const Json::Value &document) {
  return text::ToValidUtf8(JsonText(document)) + "\n";
}

void SetError(Json::Value &response, const char *section, const char *key, int line) {
  Json::Value &error = AsObject(response)["error"];
  error = Json::Value(Json::objectValue);
  error["section"] = section;
  error["key"] = key;
  error["line"] = line;
  response["success"] = false;
}

void SetSuccess(Json::Value &response, bool success) { AsObject(response)["success"] = success; }

void PrintAnswer(const Json::Value &document, const char *content_type,
                 const std::string &headers) {
  const std::string type = content_type == nullptr ? kJsonType : content_type;
  WriteAnswer(headers + "Content-Type: " + type +
              "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n" +
              (IsHead() ? std::string() : ToJson(document)));
}

} // namespace vexo::web
