#pragma once
#include <json/json.h>
#include <string_view>

/// Whether `text` is JSON, with comments allowed; `value` then holds it. Takes time linear in the
/// length of the text. False also where it is nested deeper than the parser goes (1,000).
[[nodiscard]] bool ParseJson(std::string_view text, Json::Value &value);
