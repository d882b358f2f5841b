#include "web/refusal.h"

#include "web/answer.h"
#include "web/login.h"
#include "web/output.h"
#include <string>

namespace vexo::web {
namespace {

struct RefusalAnswer {
  std::string headers;
  const char *key;
};

RefusalAnswer AnswerOf(Refusal refusal) {
  switch (refusal) {
  case Refusal::kNoUser:
    // RFC 9110, 15.5.2: the answer names a way to say who one is.
    return {std::string("Status: 401 Unauthorized\r\n") + Challenge(), "no_user"};
  case Refusal::kNoAccount:
    return {"Status: 403 Forbidden\r\n", "no_account"};
  case Refusal::kMethod:
    return {"Status: 405 Method Not Allowed\r\nAllow: GET, HEAD, POST\r\n", "method"};
  case Refusal::kHeadOfChange:
    return {"Status: 405 Method Not Allowed\r\nAllow: GET, POST\r\n", "method"};
  case Refusal::kLinkOfChange:
    return {"Status: 405 Method Not Allowed\r\nAllow: POST\r\n", "method"};
  case Refusal::kVersion:
    return {"Status: 412 Precondition Failed\r\n", "version"};
  case Refusal::kTwoKinds:
    return {"Status: 400 Bad Request\r\n", "if_match_of_two_kinds"};
  case Refusal::kTooManyEntries:
    return {"Status: 413 Content Too Large\r\n", "too_many_entries"};
  case Refusal::kNameWithComma:
    return {"Status: 409 Conflict\r\n", "name_with_comma"};
  case Refusal::kCrossSite:
    return {"Status: 403 Forbidden\r\n", "cross_site"};
  case Refusal::kFailed:
    break;
  }
  return {"Status: 500 Internal Server Error\r\n", "error_system"};
}

} // namespace

void PrintRefusal(Refusal refusal) {
  const RefusalAnswer answer = AnswerOf(refusal);
  Json::Value response;
  SetError(response, "common", answer.key, __LINE__);
  PrintAnswer(response, nullptr, answer.headers);
}

void PrintNothingAsked() noexcept {
  WriteAnswer("Status: 400 Bad Request\r\nContent-Type: text/plain\r\n\r\n");
}

} // namespace vexo::web
