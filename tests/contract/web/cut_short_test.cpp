#include "contract/web/cgi_process.h"
#include "support/device_root.h"
#include "vexo/web.h"
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/resource.h>

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char *kCutShortAnswer =
    "{\"error\":{\"key\":\"error_system\",\"line\":0,\"section\":\"common\"},\"success\":false}\n";

class EndlessHandler : public ActionHandler {
public:
  explicit EndlessHandler(std::function<void()> action) : action_(std::move(action)) {}
  /// No exception leaves it, as none has anybody to take it above the program's main().
  int Process() noexcept override {
    action_();
    return 1;
  }

private:
  std::function<void()> action_;
};

struct Ended {
  CgiAnswer answer;
  std::string log;
};

class CutShort : public DeviceRootTest {
protected:
  static Ended Run(const std::function<void()> &action) {
    WriteBytes(vexo::system::kConfigFile, "[limits]\ncpu_seconds = 1\n");
    ::testing::internal::CaptureStderr();
    const CgiAnswer answer = RunCgi({}, [&] { return EndlessHandler(action).Process(); });
    return {answer, ::testing::internal::GetCapturedStderr()};
  }
};

[[noreturn]] void UseCpuForEver() {
  for (;;) {
    static_cast<void>(std::clock());
  }
}

void ExpectAnswer(const Ended &ended) {
  EXPECT_EQ(ended.answer.status, 1);
  EXPECT_THAT(ended.answer.Headers(), StartsWith("Status: 500 Internal Server Error\r\n"));
  EXPECT_EQ(ended.answer.Body(), kCutShortAnswer);
}

TEST_F(CutShort, ARequestThatUsesUpItsTimeIsAnswered) {
  const Ended ended = Run([] {
    printf("the beginning of a header that is not sent");
    UseCpuForEver();
  });
  ExpectAnswer(ended);
  EXPECT_THAT(ended.log, HasSubstr("cpu_seconds in [limits]"));
}

TEST_F(CutShort, NothingFollowsAnAnswerThatHasBegun) {
  const Ended ended = Run([] {
    ActionHandler::PrintResponse(Json::Value(), "text/plain");
    raise(SIGXCPU);
  });
  EXPECT_EQ(ended.answer.Body(), "{}\n");
  EXPECT_THAT(ended.log, HasSubstr("cpu_seconds in [limits]"));
}

TEST_F(CutShort, ARequestWithoutMemoryIsAnswered) {
  const Ended ended = Run([] { throw std::bad_alloc(); });
  ExpectAnswer(ended);
  EXPECT_THAT(ended.log, HasSubstr("memory_mib in [limits]"));
}

TEST_F(CutShort, ARequestThatEndsByAnExceptionIsAnswered) {
  const Ended ended = Run([] { throw std::runtime_error("the cause\nforged"); });
  ExpectAnswer(ended);
  EXPECT_THAT(ended.log, HasSubstr("ended by an exception: the cause\\x0aforged\n"));
  ExpectAnswer(Run([] { throw 5; }));
  ExpectAnswer(Run([] { std::terminate(); }));
}

TEST_F(CutShort, ABodyMayTakeAsLongAsItTakes) {
  const Ended ended = Run([] {
    FILE *stream = popen("printf body", "r");
    HTTPFileOutputer::Output(stream, "a", "text/plain");
    pclose(stream);
    rlimit limit{};
    getrlimit(RLIMIT_CPU, &limit);
    printf(limit.rlim_cur == RLIM_INFINITY ? " without end" : " cut short");
  });
  EXPECT_THAT(ended.answer.output, ::testing::EndsWith("\n\nbody without end"));
}

} // namespace
