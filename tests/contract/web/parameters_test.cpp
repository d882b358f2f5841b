#include "web/parameters.h"
#include <gtest/gtest.h>
#include <string>

namespace vexo::web {
namespace {

/// "name=value" for each parameter, or "refused".
using Texts = std::vector<std::string>;

Texts TextsOf(bool decoded, const std::vector<Parameter> &parameters) {
  if (!decoded) {
    return {"refused"};
  }
  Texts texts;
  for (const Parameter &parameter : parameters) {
    EXPECT_EQ(*parameter.name.end(), '\0');
    EXPECT_EQ(*parameter.value.end(), '\0');
    texts.push_back(std::string(parameter.name) + "=" + std::string(parameter.value));
  }
  return texts;
}

Texts UrlDecoded(std::string_view text) {
  const Buffer buffer(text);
  std::vector<Parameter> parameters;
  const bool decoded = DecodeUrlEncoded(buffer, parameters);
  return TextsOf(decoded, parameters);
}

TEST(DecodeUrlEncoded, ReadsPairs) {
  struct Row {
    const char *what, *text;
    Texts texts;
  };
  const Row rows[] = {
      {"nothing", "", {}},
      {"one pair", "action=add", {"action=add"}},
      {"several pairs, in their order", "a=1&b=2&a=3", {"a=1", "b=2", "a=3"}},
      {"a value with an equals sign", "a=b=c", {"a=b=c"}},
      {"no value", "a", {"a="}},
      {"an empty value", "a=", {"a="}},
      {"no name", "=a", {"=a"}},
      {"empty pairs", "&&a=1&&b=2&", {"a=1", "b=2"}},
      {"a semicolon does not separate", "a=1;b=2", {"a=1;b=2"}},
      {"plus is a blank", "a+b=c+d", {"a b=c d"}},
      {"escapes in both letter cases", "%61=%C3%a9%2B", {"a=\u00E9+"}},
      {"an escaped ampersand", "a=1%262", {"a=1&2"}},
      {"an escaped equals sign", "a%3D=1", {"a==1"}},
      {"an escape at the very end", "a=%41", {"a=A"}},
      {"a percent sign at the end", "a=5%", {"a=5%"}},
      {"half an escape at the end", "a=5%4", {"a=5%4"}},
      {"an escape that is none", "a=%zz%4g%G1", {"a=%zz%4g%G1"}},
      {"an escaped percent sign is not decoded again", "a=%2541", {"a=%41"}},
      {"an escape cut by an ampersand", "a=%4&1=b", {"a=%4", "1=b"}},
      {"an escape cut by an equals sign", "%4=1", {"%4=1"}},
      {"bytes that are not UTF-8", "a=%FF%80", {"a=\xFF\x80"}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(UrlDecoded(row.text), row.texts) << row.what;
  }
}

TEST(DecodeUrlEncoded, TakesAsManyParametersAsThereMayBe) {
  std::string text;
  for (std::size_t i = 0; i < kMostParameters; ++i) {
    text += "a=1&";
  }
  EXPECT_EQ(UrlDecoded(text).size(), kMostParameters);
  EXPECT_EQ(UrlDecoded(text + "a=1"), Texts{"refused"});
}

TEST(DecodeUrlEncoded, DecodesMillionsOfBytesWhereTheyLie) {
  std::string text = "a=";
  for (int i = 0; i < 1000000; ++i) {
    text += "%22";
  }
  const Buffer buffer(text);
  std::vector<Parameter> parameters;
  ASSERT_TRUE(DecodeUrlEncoded(buffer, parameters));
  EXPECT_EQ(parameters.front().value, std::string(1000000, '"'));
  EXPECT_EQ(parameters.front().value.data(), buffer.begin() + 2);
}

Texts PartsOf(std::string_view text, std::string_view boundary = "b") {
  const Buffer buffer(text);
  std::vector<Parameter> parameters;
  const bool decoded = DecodeMultipart(buffer, boundary, parameters);
  return TextsOf(decoded, parameters);
}

std::string Part(const std::string &name, const std::string &value) {
  return "--b\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
}

TEST(DecodeMultipart, ReadsParts) {
  EXPECT_EQ(PartsOf(Part("a", "1") + Part("b", "2") + Part("a", "3") + "--b--\r\n"),
            (Texts{"a=1", "b=2", "a=3"}));
}

TEST(DecodeMultipart, AcceptsWhatClientsSend) {
  const std::string header = "Content-Disposition: form-data; name=";
  struct Row {
    const char *what;
    std::string text;
    Texts texts;
  };
  const Row rows[] = {
      {"no part", "--b--", {}},
      {"an empty value", Part("a", "") + "--b--", {"a="}},
      {"no line end behind the last delimiter", Part("a", "1") + "--b--", {"a=1"}},
      {"text before the first part", "preamble\r\n" + Part("a", "1") + "--b--", {"a=1"}},
      {"text behind the last part", Part("a", "1") + "--b--\r\n" + Part("c", "2"), {"a=1"}},
      {"line ends in a value", Part("a", "1\r\n\r\n2\n") + "--b--", {"a=1\r\n\r\n2\n"}},
      {"a value that begins like a delimiter", Part("a", "--b\r") + "--b--", {"a=--b\r"}},
      {"a line that only begins like a delimiter",
       Part("a", "1\r\n--bc\r\n2") + "--b--",
       {"a=1\r\n--bc\r\n2"}},
      {"blanks behind a delimiter", "--b \t\r\n" + header + "a\r\n\r\n1\r\n--b--", {"a=1"}},
      {"a name without quotes", "--b\r\n" + header + "a\r\n\r\n1\r\n--b--", {"a=1"}},
      {"a name before other attributes",
       "--b\r\n" + header + "a; filename=\"x;y\"\r\nContent-Type: text/plain\r\n\r\n1\r\n--b--",
       {"a=1"}},
      {"another header first",
       "--b\r\nContent-Type: "
       "text/plain\r\ncontent-disposition:FORM-DATA;NAME=\"a\"\r\n\r\n1\r\n--b--",
       {"a=1"}},
      {"a quote in a name", "--b\r\n" + header + "\"a\\\"\\\\b\"\r\n\r\n1\r\n--b--", {"a\"\\b=1"}},
      {"a semicolon in a name", Part("a;b=c", "1") + "--b--", {"a;b=c=1"}},
      {"escapes stay as they are", Part("a", "%41+") + "--b--", {"a=%41+"}},
      {"a folded header",
       "--b\r\nContent-Disposition:\r\n form-data;\r\n\tname=\"a\"\r\n\r\n1\r\n--b--",
       {"a=1"}},
      {"a header that is the fold of another",
       "--b\r\nX: y\r\n Content-Disposition: form-data; name=\"x\"\r\n" + header +
           "a\r\n\r\n1\r\n--b--",
       {"a=1"}},
      {"a part without headers", "--b\r\n\r\n1\r\n" + Part("a", "2") + "--b--", {"a=2"}},
      {"a part without a disposition",
       "--b\r\nContent-Type: text/plain\r\n\r\n1\r\n" + Part("a", "2") + "--b--",
       {"a=2"}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(PartsOf(row.text), row.texts) << row.what;
  }
}

TEST(DecodeMultipart, RefusesWhatIsNotWhole) {
  const std::string disposition = "Content-Disposition: form-data; name=\"a\"";
  const std::pair<const char *, std::string> rows[] = {
      {"nothing", ""},
      {"no delimiter", "a=1&b=2"},
      {"no last delimiter", Part("a", "1")},
      {"another boundary", "--c\r\n" + disposition + "\r\n\r\n1\r\n--c--"},
      {"an open last part", Part("a", "1") + "--b\r\n" + disposition + "\r\n\r\n2"},
      {"a last delimiter cut short", Part("a", "1") + "--b-"},
      {"headers without an end", "--b\r\n" + disposition + "\r\n--b--"},
      {"plain line feeds", "--b\n" + disposition + "\n\n1\n--b--"},
      {"a part without a name", "--b\r\nContent-Disposition: form-data\r\n\r\n1\r\n--b--"},
      {"a part of another kind",
       "--b\r\nContent-Disposition: attachment; name=a\r\n\r\n1\r\n--b--"},
      {"an open quote", "--b\r\nContent-Disposition: form-data; name=\"a\r\n\r\n1\r\n--b--"},
      {"headers without measure",
       "--b\r\nX: " + std::string(20000, 'x') + "\r\n" + disposition + "\r\n\r\n1\r\n--b--"},
  };
  for (const auto &[what, text] : rows) {
    EXPECT_EQ(PartsOf(text), Texts{"refused"}) << what;
  }
}

TEST(DecodeMultipart, TakesOddBoundaries) {
  for (const std::string &boundary :
       {std::string("----WebKitFormBoundary7MA4YWxk"), std::string("--"), std::string("-"),
        std::string("a b"), std::string("'()+_,-./:=?"), std::string(70, 'x')}) {
    std::string text = "--";
    text.append(boundary).append("\r\nContent-Disposition: form-data; name=a\r\n\r\n1\r\n--");
    text.append(boundary).append("--\r\n");
    EXPECT_EQ(PartsOf(text, boundary), Texts{"a=1"}) << boundary;
  }
}

TEST(DecodeMultipart, TakesAsManyPartsAsThereMayBe) {
  std::string text;
  for (std::size_t i = 0; i < kMostParameters; ++i) {
    text += Part("a", "1");
  }
  EXPECT_EQ(PartsOf(text + "--b--").size(), kMostParameters);
  EXPECT_EQ(PartsOf(text + Part("a", "1") + "--b--"), Texts{"refused"});
}

TEST(CountElements, CountsWhatStandsInTheArray) {
  const struct {
    const char *what, *text;
    std::size_t count;
  } rows[] = {
      {"one", "[1]", 1},
      {"three", R"(["1", 2 ,{"res":"a"}])", 3},
      {"commas in elements", R"([{"a":1,"b":[1,2,3]},[4,5],6])", 3},
      {"commas in texts", R"(["1,2,3","4"])", 2},
      {"a quote in a text", R"(["1\",2",3])", 2},
      {"a backslash before the end of a text", R"(["1\\",2])", 2},
      {"brackets in texts", R"(["[",",","]"])", 3},
      {"commas in comments", "[1,/*,,*/2,// ,,\n3]", 3},
      {"a comment that is none", "[1/2,3]", 2},
      {"commas behind it", "[1],2,3", 1},
      {"an open text", "[1,\"2,3", 2},
      {"an open text that ends with a backslash", "[1,\"2,\\", 2},
      {"an open comment", "[1,/*2,3", 2},
      {"a comment to the end", "[1,//2,3", 2},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(CountElements(row.text), row.count) << row.what;
  }
}

TEST(AreHarmless, RefusesANulByteAnywhere) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(AreHarmless({{"a", "b\0c"sv}}));
  EXPECT_FALSE(AreHarmless({{"a\0"sv, "b"}}));
  EXPECT_FALSE(AreHarmless({{"a", "b"}, {"c", "\0"sv}}));
  EXPECT_TRUE(AreHarmless({{"a", "b"}, {"", ""}}));
  EXPECT_TRUE(AreHarmless({}));
}

TEST(AreHarmless, RefusesAParentComponentInAName) {
  for (const char *value :
       {"..", "../a", "a/..", "a/../b", "/..", "../", "a/b/../../c", ".../.."}) {
    EXPECT_FALSE(AreHarmless({{"name", value}})) << value;
  }
}

TEST(AreHarmless, RefusesAParentComponentInASecondName) {
  EXPECT_FALSE(AreHarmless({{"name", "good"}, {"name", ".."}}));
}

TEST(AreHarmless, AcceptsDotsThatAreNoComponent) {
  for (const char *value : {".", "...", "a..b", "..a", "a..", "a/..b", "a../b", "./a", "a/.b",
                            "....", "..\\a", "Best of.. vol. 2"}) {
    EXPECT_TRUE(AreHarmless({{"name", value}})) << value;
  }
}

TEST(AreHarmless, RefusesANameWithNothingAtItsEnd) {
  for (const char *value : {"", "/", "a/", "//", "a/b/"}) {
    EXPECT_FALSE(AreHarmless({{"name", value}})) << value;
  }
}

TEST(AreHarmless, AcceptsAnyOtherParameter) {
  EXPECT_TRUE(AreHarmless({{"id", "a/.."}, {"keyword", ".."}, {"filename", ""}, {"id", "a/"}}));
}

} // namespace
} // namespace vexo::web
