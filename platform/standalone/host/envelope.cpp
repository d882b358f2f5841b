// ActionHandler of vexo/web.h: the form of answers.
#include "web/envelope.h"

#include "host/guard.h"
#include "system/limits.h"
#include "system/log.h"
#include "text/utf8.h"
#include "vexo/web.h"
#include "web/cut_short.h"
#include "web/output.h"
#include "web/request.h"
#include <syslog.h>

using vexo::host::Guarded;
namespace web = vexo::web;

namespace {

/// A request of a few kilobytes can name thousands of songs that are none, with a line for each.
constexpr unsigned kMostLogLines = 200;
constexpr const char *kJsonType = "text/plain; charset=\"UTF-8\"";

/// One line of JSON. Texts are written as they are, so bytes that are no UTF-8 are replaced after.
std::string ToJson(const Json::Value &document) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return vexo::text::ToValidUtf8(Json::writeString(builder, document)) + "\n";
}

void Print(const std::string &headers, const Json::Value &document) {
  web::WriteAnswer(headers + "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n" +
                   (web::IsHead() ? std::string() : ToJson(document)));
}

Json::Value &AsObject(Json::Value &response) {
  if (!response.isObject()) {
    response = Json::Value(Json::objectValue);
  }
  return response;
}

struct RefusalAnswer {
  const char *headers, *key;
};

RefusalAnswer AnswerOf(web::Refusal refusal) {
  switch (refusal) {
  case web::Refusal::kNoUser:
    // RFC 9110, 15.5.2: the answer names a way to say who one is.
    return {"Status: 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"playlists\"\r\n",
            "no_user"};
  case web::Refusal::kNoAccount:
    return {"Status: 403 Forbidden\r\n", "no_account"};
  case web::Refusal::kMethod:
    return {"Status: 405 Method Not Allowed\r\nAllow: GET, HEAD, POST\r\n", "method"};
  case web::Refusal::kHeadOfChange:
    return {"Status: 405 Method Not Allowed\r\nAllow: GET, POST\r\n", "method"};
  case web::Refusal::kTooManyEntries:
    return {"Status: 413 Content Too Large\r\n", "too_many_entries"};
  case web::Refusal::kNameWithComma:
    return {"Status: 409 Conflict\r\n", "name_with_comma"};
  case web::Refusal::kCrossSite:
    return {"Status: 403 Forbidden\r\n", "cross_site"};
  case web::Refusal::kNoAccounts:
    break;
  }
  return {"Status: 500 Internal Server Error\r\n", "error_system"};
}

} // namespace

namespace vexo::web {

void PrintRefusal(Refusal refusal) noexcept {
  Guarded(0, [&] {
    const RefusalAnswer answer = AnswerOf(refusal);
    Json::Value response;
    ActionHandler::SetError(response, "common", answer.key, __LINE__);
    Print(std::string(answer.headers) + "Content-Type: " + kJsonType + "\r\n", response);
    return 0;
  });
}

void PrintNothingAsked() noexcept {
  WriteAnswer("Status: 400 Bad Request\r\nContent-Type: text/plain\r\n\r\n");
}

} // namespace vexo::web

struct ActionHandler::State {
  WebMan request;
};

ActionHandler::ActionHandler() {
  // With LOG_PERROR the lines reach the web server's error log as well.
  openlog("audio_playlist", LOG_PID | LOG_PERROR, LOG_USER);
  vexo::system::BoundLog(kMostLogLines);
  web::AnswerWhenCutShort();
  Guarded(0, [] {
    vexo::system::LimitProcess();
    return 0;
  });
  state_ = std::make_unique<State>();
}

ActionHandler::~ActionHandler() {
  if (!web::IsAnswered()) {
    web::PrintNothingAsked();
  }
  vexo::system::FlushLog();
}

WebMan &ActionHandler::Request() { return state_->request; }

void ActionHandler::SetError(Json::Value &response, const char *section, const char *key,
                             int line) {
  Guarded(0, [&] {
    Json::Value &error = AsObject(response)["error"];
    error = Json::Value(Json::objectValue);
    error["section"] = section;
    error["key"] = key;
    error["line"] = line;
    response["success"] = false;
    return 0;
  });
}

void ActionHandler::SetSuccess(Json::Value &response, bool success) {
  Guarded(0, [&] {
    AsObject(response)["success"] = success;
    return 0;
  });
}

void ActionHandler::PrintResponse(Json::Value response, const char *contentType) {
  Guarded(0, [&] {
    if (response.isNull()) {
      response = Json::Value(Json::objectValue);
    }
    Print(std::string("Content-Type: ") + (contentType == nullptr ? kJsonType : contentType) +
              "\r\n",
          response);
    return 0;
  });
}
