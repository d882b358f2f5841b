#pragma once
// The form of answers: a header, and one line of JSON.

#include <json/json.h>
#include <string>

namespace vexo::web {

/// Marks `response` as failed, for the reason `section`/`key` at a source line.
void SetError(Json::Value &response, const char *section, const char *key, int line);
/// Records the success flag in `response`.
void SetSuccess(Json::Value &response, bool success);

/// One line of JSON in UTF-8: bytes of texts that are none are replaced.
std::string ToJson(const Json::Value &document);

/// Prints a whole answer: `headers`, each with its line end; the type (null: that of JSON as
/// clients of this program take it); and the document, but for HEAD.
void PrintAnswer(const Json::Value &document, const char *content_type,
                 const std::string &headers = "");

} // namespace vexo::web
