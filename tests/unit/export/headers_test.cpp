#include "export/download_headers.h"
#include "export_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DownloadHeadersTest : public ExportTest {
protected:
  static std::string Headers(const _tag_vexo_browser_info_ *browser, const char *name) {
    testing::internal::CaptureStdout();
    PrintDownloadHeaders(browser, name);
    return testing::internal::GetCapturedStdout();
  }
  static std::string HeadersOfVersion6(const std::string &name) {
    const _tag_vexo_browser_info_ browser{1, "6.0"};
    return Headers(&browser, name.c_str());
  }
};

TEST_F(DownloadHeadersTest, EachBrowserGetsItsLinesToTheByte) {
  const struct {
    const char *description;
    _tag_vexo_browser_info_ browser;
    const char *lines;
  } rows[] = {
      {"type 0", {0, ""}, "Accept-Ranges: none\n"},
      {"type 1, version 6",
       {1, "6.0"},
       "Content-Disposition: attachment; filename=\"a b.zip\" \nAccept-Ranges: none\n"},
      {"type 1, a version that begins with 6",
       {1, "66"},
       "Content-Disposition: attachment; filename=\"a b.zip\" \nAccept-Ranges: none\n"},
      {"type 1, version 7",
       {1, "7"},
       "X-Download-Options: noopen\nContent-Disposition: attachment;\nAccept-Ranges: none\n"},
      {"type 1, version 11",
       {1, "11.0"},
       "X-Download-Options: noopen\nContent-Disposition: attachment;\nAccept-Ranges: none\n"},
      {"type 1, no version",
       {1, ""},
       "X-Download-Options: noopen\nContent-Disposition: attachment;\nAccept-Ranges: none\n"},
      {"type 2", {2, "6"}, "Content-Disposition: attachment;\nAccept-Ranges: none\n"},
      {"type 3", {3, "6"}, "Accept-Ranges: none\n"},
      {"a negative type", {-1, "6"}, "Accept-Ranges: none\n"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(Headers(&row.browser, "a b.zip"), row.lines) << row.description;
  }
}

TEST_F(DownloadHeadersTest, WithoutABrowserOrANameOnlyTheLastLineIsPrinted) {
  const _tag_vexo_browser_info_ browser{1, "6.0"};
  EXPECT_EQ(Headers(nullptr, "a.zip"), "Accept-Ranges: none\n");
  EXPECT_EQ(Headers(&browser, nullptr), "Accept-Ranges: none\n");
}

TEST_F(DownloadHeadersTest, TheNameIsInTheCodePageOfTheSystem) {
  host().texts["VLIBCUnicodeStrUTF8ToCP"] = "\xE9.zip";
  EXPECT_EQ(HeadersOfVersion6("\xC3\xA9.zip"),
            "Content-Disposition: attachment; filename=\"\xE9.zip\" \nAccept-Ranges: none\n");
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("VLIBCCodePageGet(2)", "VLIBCUnicodeStrUTF8ToCP(1252, \"\xC3\xA9.zip\", 2048)"));
}

TEST_F(DownloadHeadersTest, ANameThatCannotBeConvertedStaysUtf8) {
  host().texts["VLIBCUnicodeStrUTF8ToCP"] = "half";
  for (const char *failing : {"VLIBCCodePageGet", "VLIBCUnicodeStrUTF8ToCP"}) {
    host().results = {{failing, {-1}}};
    EXPECT_EQ(HeadersOfVersion6("\xC3\xA9.zip"),
              "Content-Disposition: attachment; filename=\"\xC3\xA9.zip\" \nAccept-Ranges: none\n");
  }
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(DownloadHeadersTest, AConversionThatOnlyDidNotFailIsTaken) {
  host().results["VLIBCUnicodeStrUTF8ToCP"] = {-2};
  host().texts["VLIBCUnicodeStrUTF8ToCP"] = "cp.zip";
  EXPECT_EQ(HeadersOfVersion6("a.zip"),
            "Content-Disposition: attachment; filename=\"cp.zip\" \nAccept-Ranges: none\n");
}

TEST_F(DownloadHeadersTest, NoNameBreaksAHeader) {
  const struct {
    const char *description, *name, *printed;
  } rows[] = {
      {"a quote", "a\"b", "a_b"},
      {"a quote and a parameter", "\"; x=\"", "_; x=_"},
      {"a line feed", "a\nSet-Cookie: b", "a_Set-Cookie: b"},
      {"both line ends and a body", "a\r\n\r\n<html>", "a____<html>"},
      {"a backslash before the end", "a\\", "a_"},
      {"other control characters", "\x01\x1F\x7F", "___"},
      {"letters beyond ASCII", "\xE6\x9B\xB2", "\xE6\x9B\xB2"},
      {"a percent sign", "100%s%n", "100%s%n"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(HeadersOfVersion6(row.name),
              std::string("Content-Disposition: attachment; filename=\"") + row.printed +
                  "\" \nAccept-Ranges: none\n")
        << row.description;
  }
}

TEST_F(DownloadHeadersTest, ACodePageThatMakesQuotesAndControlsOfLettersBreaksNoHeader) {
  host().texts["VLIBCUnicodeStrUTF8ToCP"] = "\x1B$B\"\n";
  EXPECT_EQ(HeadersOfVersion6("x"),
            "Content-Disposition: attachment; filename=\"_$B__\" \nAccept-Ranges: none\n");
}

TEST_F(DownloadHeadersTest, TheNameOfTheRequestIsOffered) {
  host().parameters = {{"id_info_list", "[]"}, {"filename", "My songs.zip"}};
  host().browser = {1, "6.0"};
  EXPECT_EQ(Download(), "Content-Disposition: attachment; filename=\"My songs.zip\" \n"
                        "Accept-Ranges: none\n");
  EXPECT_EQ(host().sent.front().name, "My songs.zip");
}

TEST_F(DownloadHeadersTest, AnArchiveIsCalledAudioByDefault) {
  host().parameters["id_info_list"] = "[]";
  EXPECT_EQ(Download(), "Accept-Ranges: none\n");
  EXPECT_EQ(host().sent.front().name, "audio.zip");
}

TEST_F(DownloadHeadersTest, ALongNameIsCutTo4095Bytes) {
  host().parameters = {{"id_info_list", "[]"}, {"filename", std::string(5000, 'n')}};
  Download();
  EXPECT_EQ(host().sent.front().name, std::string(4095, 'n'));
}

} // namespace
