#include "contract/web/web_man.h"
#include <cstring>
#include <syslog.h>
#include <vector>

namespace {

using ::testing::HasSubstr;

constexpr const char *kUrlEncoded = "application/x-www-form-urlencoded";
constexpr const char *kNothing = "refused a=none b=none";

TEST_F(WebManTest, NamesTheLoginUserAndThePreferenceFolder) {
  const CgiAnswer answer = RunCgi(RequestOf({}), [] {
    WebMan web;
    const bool authorized = web.IsAuthorized();
    printf("%s %s", web.GetLoginUserName().c_str(), web.GetPreferenceDir().c_str());
    return authorized ? 1 : 0;
  });
  EXPECT_EQ(answer.output, "alice " + std::string(vexo::system::kPreferences) + "/alice");
}

TEST_F(WebManTest, NamesNobodyWithoutAUser) {
  const CgiAnswer answer = RunCgi(RequestOf({{"REMOTE_USER", "bob"}}), [] {
    WebMan web;
    web.IsAuthorized();
    return web.GetLoginUserName().empty() && web.GetPreferenceDir().empty() ? 1 : 0;
  });
  EXPECT_EQ(answer.status, 1);
}

TEST_F(WebManTest, LoadsTheQueryString) {
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&b=%C3%A9"}})), "loaded a=1 b=\u00E9");
}

TEST_F(WebManTest, LoadsNothingFromARequestWithoutParameters) {
  EXPECT_EQ(Loaded(RequestOf({})), "loaded a=none b=none");
}

TEST_F(WebManTest, LoadsAUrlEncodedBody) {
  EXPECT_EQ(Loaded(Post(kUrlEncoded, "a=1&b=2")), "loaded a=1 b=2");
  EXPECT_EQ(Loaded(Post("Application/X-WWW-Form-URLEncoded; charset=UTF-8", "a=1&b=2")),
            "loaded a=1 b=2");
}

constexpr const char *kMultipartBody =
    "--x\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n"
    "--x\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n2\r\n--x--\r\n";

TEST_F(WebManTest, LoadsAMultipartBody) {
  EXPECT_EQ(Loaded(Post("multipart/form-data; boundary=x", kMultipartBody)), "loaded a=1 b=2");
  EXPECT_EQ(Loaded(Post("Multipart/Form-Data; charset=UTF-8; Boundary=\"x\"", kMultipartBody)),
            "loaded a=1 b=2");
}

TEST_F(WebManTest, RefusesAMultipartBodyWithoutAUsableBoundary) {
  for (const std::string &type :
       {std::string("multipart/form-data"), std::string("multipart/form-data; boundary="),
        std::string("multipart/form-data; boundary=\"x"),
        std::string("multipart/form-data; boundary"),
        "multipart/form-data; boundary=" + std::string(71, 'x')}) {
    EXPECT_EQ(Loaded(Post(type, kMultipartBody)), kNothing) << type;
  }
}

TEST_F(WebManTest, TakesTheFirstValueOfAName) {
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&a=2"}})), "loaded a=1 b=none");
}

TEST_F(WebManTest, TakesTheBodyBeforeTheQuery) {
  EXPECT_EQ(Loaded(Post(kUrlEncoded, "a=body&a=second", "a=query&b=query")),
            "loaded a=body b=query");
}

TEST_F(WebManTest, TakesAnEmptyValueAsAValue) {
  EXPECT_EQ(Loaded(Post(kUrlEncoded, "a=", "a=query")), "loaded a= b=none");
}

TEST_F(WebManTest, LeavesBodiesOfOtherTypes) {
  EXPECT_EQ(Loaded(Post("application/json", "{\"a\":1}", "b=query")), "loaded a=none b=query");
  EXPECT_EQ(Loaded(Post("", "a=1", "b=query")), "loaded a=none b=query");
}

TEST_F(WebManTest, LeavesTheBodyOfARequestThatIsNoPost) {
  CgiRequest request = Post(kUrlEncoded, "a=1", "b=query");
  request.environment["REQUEST_METHOD"] = "GET";
  EXPECT_EQ(Loaded(request), "loaded a=none b=query");
}

TEST_F(WebManTest, LoadsNothingOfABodyThatWasCutShort) {
  CgiRequest request = Post(kUrlEncoded, "a=1&b=2", "a=query");
  request.environment["CONTENT_LENGTH"] = "8";
  EXPECT_EQ(Loaded(request), kNothing);
}

TEST_F(WebManTest, ReadsNoMoreThanTheLengthSays) {
  CgiRequest request = Post(kUrlEncoded, "a=1&b=2");
  request.environment["CONTENT_LENGTH"] = "3";
  EXPECT_EQ(Loaded(request), "loaded a=1 b=none");
}

TEST_F(WebManTest, LoadsNothingWithALengthThatIsNone) {
  for (const char *length : {"abc", "-1", "7 ", "0x7", "7.0", "67108865", "99999999999999999999"}) {
    CgiRequest request = Post(kUrlEncoded, "a=1&b=2", "a=query");
    request.environment["CONTENT_LENGTH"] = length;
    EXPECT_EQ(Loaded(request), kNothing) << length;
  }
}

TEST_F(WebManTest, LoadsNothingOfABodyInChunksWithoutALength) {
  CgiRequest request = Post(kUrlEncoded, "a=1", "b=query");
  request.environment.erase("CONTENT_LENGTH");
  request.environment["HTTP_TRANSFER_ENCODING"] = "chunked";
  EXPECT_EQ(Loaded(request), kNothing);
}

TEST_F(WebManTest, TakesAPostWithoutALengthAsOneWithoutABody) {
  CgiRequest request = Post(kUrlEncoded, "a=1", "b=query");
  request.environment.erase("CONTENT_LENGTH");
  EXPECT_EQ(Loaded(request), "loaded a=none b=query");
}

TEST_F(WebManTest, LoadsABodyOf64MebibytesAndNotOneByteMore) {
  const std::string largest = "b=" + std::string((64 << 20) - 6, 'x') + "&a=1";
  const auto loaded_a = [](const std::string &body) {
    return RunCgi(Post(kUrlEncoded, body),
                  [] {
                    WebMan web;
                    return web.LoadIn() && std::strcmp(web.In("a", ""), "1") == 0 ? 1 : 0;
                  })
        .status;
  };
  EXPECT_EQ(loaded_a(largest), 1);
  EXPECT_EQ(loaded_a(largest + "1"), 0);
}

TEST_F(WebManTest, LoadsNothingWhenAParameterHoldsANulByte) {
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&b=x%00y"}})), kNothing);
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&c%00=2"}})), kNothing);
  EXPECT_EQ(Loaded(Post(kUrlEncoded, std::string("a=1&b=") + '\0')), kNothing);
  const std::string part = "--x\r\nContent-Disposition: form-data; name=a\r\n\r\n";
  EXPECT_EQ(Loaded(Post("multipart/form-data; boundary=x", part + '\0' + "\r\n--x--")), kNothing);
}

TEST_F(WebManTest, LoadsNothingWhenANameLeadsUpwards) {
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&name=../x"}})), kNothing);
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&name=x%2F%2e%2e%2fy"}})), kNothing);
  EXPECT_EQ(Loaded(Post(kUrlEncoded, "name=good&a=1", "name=..")), kNothing);
}

TEST_F(WebManTest, LoadsNothingWithANameThatIsEmpty) {
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&name="}})), kNothing);
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&name"}})), kNothing);
  EXPECT_EQ(Loaded(RequestOf({{"QUERY_STRING", "a=1&name=folder%2F"}})), kNothing);
}

TEST_F(WebManTest, SaysInTheLogWhyNothingIsLoaded) {
  ::testing::internal::CaptureStderr();
  RunCgi(RequestOf({{"QUERY_STRING", "name="}}), [] {
    openlog("test", LOG_PERROR, LOG_USER);
    return WebMan().LoadIn() ? 1 : 0;
  });
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              HasSubstr("a request is not read: it has a NUL byte, or a name that is empty"));
}

TEST_F(WebManTest, FindsTwentyThousandIdsWhole) {
  std::string ids;
  for (int i = 0; i < 20000; ++i) {
    ids += "%22" + std::to_string(i) + "%22%2C";
  }
  const CgiAnswer answer = RunCgi(Post(kUrlEncoded, "id_info_list=" + ids), [] {
    WebMan web;
    web.LoadIn();
    printf("%zu", std::strlen(web.In("id_info_list", "")));
    return 0;
  });
  EXPECT_EQ(answer.output, "148890");
}

std::string Repeated(const char *text, int count) {
  std::string repeated;
  for (int i = 0; i < count; ++i) {
    repeated += text;
  }
  return repeated;
}

TEST_F(WebManTest, TakesAHundredThousandEntriesAndNotOneMore) {
  const std::string most = Repeated("7,", 99'999);
  for (const char *name : {"seq_list", "playlists", "smartPlaylists"}) {
    const std::string list = std::string("a=1&") + name + "=" + most;
    EXPECT_EQ(Load(Post(kUrlEncoded, list + "7")).status, 1) << name;
    ExpectRefusal(Load(Post(kUrlEncoded, list + "7,7")), "413");
  }
  EXPECT_EQ(Load(Post(kUrlEncoded, "a=1&id_info_list=[" + most + "7]")).status, 1);
  ExpectRefusal(Load(Post(kUrlEncoded, "a=1&id_info_list=[" + most + "7,7]")), "413");
}

TEST_F(WebManTest, GivesTheFallbackForWhatWasNotSent) {
  const CgiAnswer answer = RunCgi(RequestOf({{"QUERY_STRING", "a=1"}}), [] {
    WebMan web;
    const bool before = web.In("a", nullptr) == nullptr;
    web.LoadIn();
    return before && web.In("b", nullptr) == nullptr && web.In(nullptr, nullptr) == nullptr ? 1 : 0;
  });
  EXPECT_EQ(answer.status, 1);
}

TEST_F(WebManTest, KeepsItsTextsAsLongAsItLives) {
  const CgiAnswer answer = RunCgi(Post(kUrlEncoded, "a=1", "b=2"), [] {
    WebMan web;
    web.LoadIn();
    const char *const first = web.In("a", nullptr);
    const char *const second = web.In("b", nullptr);
    web.GetLoginUserName();
    return first == web.In("a", nullptr) && second == web.In("b", nullptr) ? 1 : 0;
  });
  EXPECT_EQ(answer.status, 1);
}

TEST_F(WebManTest, TakesABrowserWithoutANameForOneOfToday) {
  const CgiAnswer answer = RunCgi(RequestOf({}), [] {
    _tag_vexo_browser_info_ info{7, "x"};
    return WebMan().GetBrowserInfo(&info) == 0 && info.type == 0 && info.version[0] == '\0' &&
                   WebMan().GetBrowserInfo(nullptr) < 0
               ? 1
               : 0;
  });
  EXPECT_EQ(answer.status, 1);
}

TEST_F(WebManTest, CutsAVersionThatIsLongerThanItsField) {
  const CgiRequest request =
      RequestOf({{"HTTP_USER_AGENT", "MSIE 1111111111.2222222222.3333333333.4444444444"}});
  const CgiAnswer answer = RunCgi(request, [] {
    _tag_vexo_browser_info_ info{};
    return WebMan().GetBrowserInfo(&info) == 0 &&
                   std::string_view(info.version) == "1111111111.2222222222.333333333"
               ? 1
               : 0;
  });
  EXPECT_EQ(answer.status, 1);
}

} // namespace
