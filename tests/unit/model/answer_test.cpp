#include "model/answer.h"

#include "model/parameters.h"
#include "recording_platform/host_test.h"
#include <array>

namespace {

using ::testing::ElementsAre;

class AnswerTest : public recording::HostTest {
protected:
  WebMan request_;
  Json::Value response_;
};

TEST_F(AnswerTest, NamesSectionAndKeyOfEachError) {
  EXPECT_FALSE(SystemError(response_));
  EXPECT_FALSE(NameTooLong(response_));
  EXPECT_FALSE(NameExists(response_));
  EXPECT_THAT(host().Effects(), ElementsAre("SetError(\"common\", \"error_system\")",
                                            "SetError(\"playlist\", \"playlist_name_too_long\")",
                                            "SetError(\"playlist\", \"playlist_name_exist\")"));
}

TEST_F(AnswerTest, TellsTheLineOfTheCaller) {
  SystemError(response_);
  EXPECT_EQ(host().error_line, __LINE__ - 1);
}

TEST_F(AnswerTest, IsPlainTextInUtf8) {
  response_["a"] = 1;
  PrintAnswer(response_);
  EXPECT_EQ(host().AnswerText(), R"({"a":1})");
  EXPECT_EQ(host().answers[0].content_type, "text/plain; charset=\"UTF-8\"");
}

TEST_F(AnswerTest, RefusesARequestWithoutARequiredParameter) {
  host().parameters = {{"name", ""}};
  EXPECT_TRUE(RequireParameters(request_, std::array{"name"}, response_));
  EXPECT_TRUE(RequireParameters(request_, std::array<const char *, 2>{"name"}, response_));
  EXPECT_TRUE(response_.isNull());
  EXPECT_FALSE(RequireParameters(request_, std::array{"name", "id"}, response_));
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
}

TEST_F(AnswerTest, OverwritesOnlyForTheExactWord) {
  EXPECT_FALSE(WantsOverwrite(request_));
  for (const char *word : {"TRUE", "1", "yes", "true ", "", "false"}) {
    host().parameters["overwrite"] = word;
    EXPECT_FALSE(WantsOverwrite(request_)) << word;
  }
  host().parameters["overwrite"] = "true";
  EXPECT_TRUE(WantsOverwrite(request_));
}

} // namespace
