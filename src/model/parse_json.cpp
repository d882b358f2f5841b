#include "model/parse_json.h"

bool ParseJson(std::string_view text, Json::Value &value) {
  // Comments are accepted either way. To collect them the parser looks for a line break between
  // each one and the value before it, which is quadratic where many follow one value.
  constexpr bool kCollectComments = false;
  try {
    return Json::Reader().parse(text.data(), text.data() + text.size(), value, kCollectComments);
  } catch (const Json::Exception &) {
    return false; // nested too deep
  }
}
