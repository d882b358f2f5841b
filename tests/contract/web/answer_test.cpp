#include "contract/web/cgi_process.h"
#include "text/utf8.h"
#include "vexo/web.h"
#include "web/output.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char *kType = "text/plain; charset=\"UTF-8\"";

/// The body that PrintResponse() prints.
std::string Printed(const Json::Value &response) {
  return RunCgi({},
                [&] {
                  ActionHandler::PrintResponse(response, kType);
                  return 0;
                })
      .Body();
}

Json::Value Parsed(const std::string &text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

TEST(Answer, SaysSuccess) {
  Json::Value response;
  ActionHandler::SetSuccess(response, true);
  EXPECT_EQ(Printed(response), "{\"success\":true}\n");
}

TEST(Answer, SaysWhyAnActionFailed) {
  Json::Value response;
  ActionHandler::SetError(response, "playlist", "playlist_name_exist", 42);
  EXPECT_EQ(Printed(response), "{\"error\":{\"key\":\"playlist_name_exist\",\"line\":42,"
                               "\"section\":\"playlist\"},\"success\":false}\n");
}

TEST(Answer, KeepsTheDataBesideSuccessAndError) {
  Json::Value response;
  response["isEmpty"] = true;
  ActionHandler::SetError(response, "common", "error_system", 1);
  ActionHandler::SetSuccess(response, false);
  const Json::Value printed = Parsed(Printed(response));
  EXPECT_TRUE(printed["isEmpty"].asBool());
  EXPECT_EQ(printed["error"]["key"].asString(), "error_system");
  EXPECT_TRUE(printed["success"].isBool());
  EXPECT_FALSE(printed["success"].asBool());
}

TEST(Answer, TakesTheLastSuccessAndTheLastError) {
  Json::Value response;
  ActionHandler::SetError(response, "a", "b", 1);
  ActionHandler::SetError(response, "c", "d", 2);
  ActionHandler::SetSuccess(response, true);
  const Json::Value printed = Parsed(Printed(response));
  EXPECT_EQ(printed["error"]["section"].asString(), "c");
  EXPECT_TRUE(printed["success"].asBool());
}

TEST(Answer, OfAnEmptyResponseIsAnEmptyObject) {
  EXPECT_EQ(Printed(Json::Value()), "{}\n");
  EXPECT_EQ(Printed(Json::Value(Json::objectValue)), "{}\n");
}

TEST(Answer, IsMadeAnObjectWhateverTheResponseWas) {
  Json::Value response = "a text";
  ActionHandler::SetSuccess(response, true);
  EXPECT_EQ(Printed(response), "{\"success\":true}\n");
}

TEST(Answer, OutlivesNullTexts) {
  Json::Value response;
  ActionHandler::SetError(response, nullptr, nullptr, 1);
  EXPECT_FALSE(response["success"].asBool());
}

TEST(Answer, HasTheGivenContentType) {
  const CgiAnswer answer = RunCgi({}, [] {
    ActionHandler::PrintResponse(Json::Value(), kType);
    return 0;
  });
  EXPECT_THAT(answer.output, StartsWith("Content-Type: text/plain; charset=\"UTF-8\"\r\n"));
  EXPECT_THAT(answer.Headers(), HasSubstr("X-Content-Type-Options: nosniff"));
  EXPECT_THAT(answer.Headers(), HasSubstr("Cache-Control: no-store"));
}

TEST(Answer, HasNoBodyForHead) {
  const CgiAnswer answer = RunCgi({{{"REQUEST_METHOD", "HEAD"}}, ""}, [] {
    ActionHandler::PrintResponse(Json::Value(), kType);
    return 0;
  });
  EXPECT_THAT(answer.output, StartsWith("Content-Type: text/plain; charset=\"UTF-8\"\r\n"));
  EXPECT_EQ(answer.Body(), "");
}

TEST(Answer, IsUtf8JsonWhateverBytesItsTextsHold) {
  for (const std::string &text :
       {std::string("plain"), std::string("caf\u00E9 \U0001F600"), std::string("\xFF\xFE"),
        std::string("cut \xC3"), std::string("lead before a quote \xC3\""),
        std::string("\xED\xA0\x80"), std::string("quote \" backslash \\ slash /"),
        std::string("\x01\x1F\x7F\b\f\n\r\t"), std::string("nul \0 inside", 12),
        std::string("\u2028</script>")}) {
    Json::Value response;
    response["text"] = text;
    response[text] = 1;
    const std::string printed = Printed(response);
    EXPECT_TRUE(vexo::text::IsUtf8(printed)) << printed;
    const Json::Value parsed = Parsed(printed);
    if (vexo::text::IsUtf8(text)) {
      EXPECT_EQ(parsed["text"].asString(), text);
    }
  }
}

TEST(Answer, KeepsNumbersAsTheyAre) {
  Json::Value response;
  response["largest"] = Json::UInt64{18446744073709551615U};
  response["least"] = Json::Int64{INT64_MIN};
  response["half"] = 0.5;
  EXPECT_EQ(Printed(response),
            "{\"half\":0.5,\"largest\":18446744073709551615,\"least\":-9223372036854775808}\n");
}

class Handler : public ActionHandler {
public:
  explicit Handler(std::function<void()> action) : action_(std::move(action)) {}
  int Process() override {
    action_();
    return Request().In("action", nullptr) == nullptr ? 0 : 1;
  }

private:
  std::function<void()> action_;
};

CgiAnswer RunHandler(const std::function<void()> &action) {
  return RunCgi({}, [&] { return Handler(action).Process(); });
}

TEST(Handler, ThatPrintsNothingLeavesABadRequestWithAnEmptyBody) {
  const CgiAnswer answer = RunHandler([] {});
  EXPECT_EQ(answer.status, 0);
  EXPECT_THAT(answer.output, StartsWith("Status: 400"));
  EXPECT_THAT(answer.output, ::testing::EndsWith("\r\n\r\n"));
  EXPECT_EQ(answer.Body(), "");
}

TEST(Handler, ThatPrintedAResponseLeavesItAlone) {
  const CgiAnswer answer =
      RunHandler([] { ActionHandler::PrintResponse(Json::Value(), "text/plain"); });
  EXPECT_THAT(answer.output, StartsWith("Content-Type: text/plain\r\n"));
  EXPECT_EQ(answer.Body(), "{}\n");
}

TEST(Handler, ThatPrintedByItselfIsLeftAlone) {
  const CgiAnswer answer = RunHandler([] { printf("Content-Type: text/x\r\n\r\nbody"); });
  EXPECT_EQ(answer.output, "Content-Type: text/x\r\n\r\nbody");
}

TEST(Handler, ThatAnsweredAnotherWayIsLeftAlone) {
  EXPECT_EQ(RunHandler([] { vexo::web::MarkAnswered(); }).output, "");
}

TEST(Handler, PrintsItsResponseBehindWhatWasPrintedBefore) {
  const CgiAnswer answer = RunHandler([] {
    printf("X-First: 1\r\n");
    ActionHandler::PrintResponse(Json::Value(), "text/plain");
  });
  EXPECT_THAT(answer.output, StartsWith("X-First: 1\r\nContent-Type: text/plain\r\n"));
}

TEST(Handler, SendsLinesOfTheSystemLogToTheErrorLogToo) {
  ::testing::internal::CaptureStderr();
  RunHandler([] { syslog(LOG_ERR, "%s:%d the message", "audio_playlist.cpp", 7); });
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              HasSubstr("audio_playlist.cpp:7 the message"));
}

} // namespace
