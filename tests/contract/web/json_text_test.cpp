// Documents as texts: what the JSON library itself writes.
#include "web/json_text.h"
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace vexo::web {
namespace {

std::string OfTheLibrary(const Json::Value &document) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  builder["precision"] = 15;
  return Json::writeString(builder, document);
}

Json::Value Document() {
  Json::Value document(Json::objectValue);
  document["null"] = Json::Value();
  document["flags"].append(true);
  document["flags"].append(false);
  for (const int64_t number :
       {int64_t{0}, int64_t{-1}, int64_t{2'000'000'000'000}, std::numeric_limits<int64_t>::min()}) {
    document["integers"].append(Json::Int64{number});
  }
  document["integers"].append(Json::UInt64{std::numeric_limits<uint64_t>::max()});
  for (const double number : {0.0, -0.0, 0.85, 1.0, 3.0, 1e300, 1.0 / 3, -2.5e-9, 123456789.125}) {
    document["numbers"].append(number);
  }
  document["empty"].append(Json::Value(Json::objectValue));
  document["empty"].append(Json::Value(Json::arrayValue));
  document["empty"].append("");
  document["b"]["a"]["\"name\"\n"] = 1;
  std::string every;
  for (int byte = 0; byte < 256; ++byte) {
    every += static_cast<char>(byte);
  }
  document["texts"].append(every.substr(0, 128));
  document["texts"].append("\xC3\x85ke \xE6\xBD\xAE\xE9\xA2\xA8 \xF0\x9F\x90\x8C </script>");
  return document;
}

TEST(JsonText, IsWhatTheLibraryWrites) {
  const Json::Value document = Document();
  EXPECT_EQ(JsonText(document), OfTheLibrary(document));
  for (const Json::Value &part : document) {
    EXPECT_EQ(JsonText(part), OfTheLibrary(part));
  }
}

TEST(JsonText, LeavesBytesThatAreNoUtf8) {
  EXPECT_EQ(JsonText(Json::Value("a\xFF\x80z")), "\"a\xFF\x80z\"");
}

} // namespace
} // namespace vexo::web
