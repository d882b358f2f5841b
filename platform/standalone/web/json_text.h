#pragma once
#include <json/json.h>
#include <string>

namespace vexo::web {

/// A document as text (RFC 8259) in one line: what the JSON library's own writer gives without
/// indentation and with texts in UTF-8, for a fraction of its time, which a page of a list spends
/// there for the most part. Bytes of texts stay as they are.
std::string JsonText(const Json::Value &document);

} // namespace vexo::web
