// The web framework: the request, who made it, and the answer.
#include "vexo/web.h"

#include "host/condition.h"
#include "host/guard.h"
#include "host/records.h"
#include "playlists/condition.h"
#include "playlists/write_playlist.h"
#include "system/limits.h"
#include "system/log.h"
#include "text/text.h"
#include "web/admission.h"
#include "web/answer.h"
#include "web/browser.h"
#include "web/cut_short.h"
#include "web/login.h"
#include "web/output.h"
#include "web/refusal.h"
#include "web/request.h"
#include "web/send_file.h"
#include <syslog.h>

using namespace vexo;
using namespace vexo::host;
using accounts::Account;

namespace {

/// A request of a few kilobytes can name thousands of songs that are none, with a line for each.
constexpr unsigned kMostLogLines = 200;

void Refuse(web::Refusal refusal) noexcept {
  Guarded(0, [&] {
    web::PrintRefusal(refusal);
    return 0;
  });
}

/// Whether the action of this process's request changes nothing.
bool only_asks = false;

/// Whether an action that reports success can keep its word: what it wrote is on disk, and what it
/// read was really there. The program takes some reads that fail for "nothing found", which is the
/// answer of an action that only asks, and no ground for a change.
bool HasSucceeded() {
  return playlists::FinishWriting() && (only_asks || !playlists::HasReadFailed());
}

bool ReportsSuccess(const Json::Value &response) {
  return response.isObject() && response.get("success", false) == true;
}

/// Whether the answer is that a playlist has not the version which the client has seen. An action
/// that succeeds without a look at any has changed nothing, and found none of that version.
bool IsRefusedByVersion(const Json::Value &response) {
  return playlists::HasConditionFailed() ||
         (playlists::HasCondition() && !playlists::IsConditionMet() && ReportsSuccess(response));
}

/// Tells the version that the playlist has now. The status is written out because a web server may
/// otherwise hold the new version against the client's If-Match.
std::string VersionHeader(const Json::Value &response) {
  const std::optional<std::string> version = playlists::NotedVersion();
  return version && ReportsSuccess(response) ? "Status: 200 OK\r\nETag: \"" + *version + "\"\r\n"
                                             : "";
}

std::string KeepBlanksApart(const std::string &text) {
  std::string kept;
  kept.reserve(text.size());
  for (const char c : text) {
    if (c == ' ') {
      kept += "&nbsp;";
    } else {
      kept += c;
    }
  }
  return kept;
}

} // namespace

struct WebMan::State {
  web::Parameters parameters;
  web::Login login; ///< once it is known
};

WebMan::WebMan() : state_(std::make_unique<State>()) {}
WebMan::~WebMan() = default;

bool WebMan::IsAuthorized(const char * /*privilege*/, int /*level*/,
                          _tag_cgi_position /*position*/) {
  const std::optional<web::Refusal> refusal = Guarded(web::Refusal::kFailed, [&] {
    const std::optional<web::Login> login = web::LoginOfRequest();
    state_->login = login.value_or(web::Login());
    return web::RefusalOfRequest(login);
  });
  if (refusal) {
    Refuse(*refusal);
  }
  return !refusal;
}

bool WebMan::LoadIn() {
  return Guarded(false, [&] {
    if (!state_->parameters.Load()) {
      return false;
    }
    only_asks = !web::ChangesSomething(In("action", ""));
    std::optional<web::Refusal> refusal = web::RefusalOfAction(state_->parameters, state_->login);
    if (!refusal && !only_asks) {
      refusal = TakeCondition(state_->parameters, state_->login);
    }
    if (refusal) {
      state_->parameters.Clear();
      Refuse(*refusal);
    }
    return !refusal;
  });
}

const char *WebMan::In(const char *name, const char *fallback) const {
  const char *const value = name == nullptr ? nullptr : state_->parameters.Find(name);
  return value == nullptr ? fallback : value;
}

std::string WebMan::GetLoginUserName() const {
  const std::optional<Account> &account = state_->login.account;
  return account ? account->name : std::string();
}

std::string WebMan::GetPreferenceDir() const {
  const std::optional<Account> &account = state_->login.account;
  return account ? account->preference_folder : std::string();
}

int WebMan::GetBrowserInfo(_tag_vexo_browser_info_ *info) const {
  return Guarded(-1, [&] {
    if (info == nullptr) {
      return -1;
    }
    const web::Browser browser =
        web::BrowserFromUserAgent(web::Variable("HTTP_USER_AGENT").value_or(""));
    *info = {};
    info->type = browser.type;
    CopyText(info->version, browser.version);
    return 0;
  });
}

struct ActionHandler::State {
  WebMan request;
};

ActionHandler::ActionHandler() {
  // Made before anything that has work left as the process ends, so that it comes after that.
  static const web::OutputEnd end_of_output;
  // With LOG_PERROR the lines reach the web server's error log as well.
  openlog("audio_playlist", LOG_PID | LOG_PERROR, LOG_USER);
  system::BoundLog(kMostLogLines);
  web::AnswerWhenCutShort();
  Guarded(0, [] {
    system::LimitProcess();
    return 0;
  });
  state_ = std::make_unique<State>();
}

ActionHandler::~ActionHandler() {
  if (!web::IsAnswered()) {
    web::PrintNothingAsked();
  }
  system::FlushLog();
}

WebMan &ActionHandler::Request() { return state_->request; }

void ActionHandler::SetError(Json::Value &response, const char *section, const char *key,
                             int line) {
  Guarded(0, [&] {
    web::SetError(response, section, key, line);
    return 0;
  });
}

void ActionHandler::SetSuccess(Json::Value &response, bool success) {
  Guarded(0, [&] {
    web::SetSuccess(response, success);
    return 0;
  });
}

void ActionHandler::PrintResponse(Json::Value response, const char *contentType) {
  Guarded(0, [&] {
    if (response.isNull()) {
      response = Json::Value(Json::objectValue);
    }
    if (ReportsSuccess(response) && !HasSucceeded()) {
      response.clear();
      SetError(response, "common", "error_system", __LINE__);
    }
    if (IsRefusedByVersion(response)) {
      web::PrintRefusal(web::Refusal::kVersion);
      return 0;
    }
    web::PrintAnswer(response, contentType, VersionHeader(response));
    return 0;
  });
}

std::vector<std::string> WebUtils::StringExplode(const std::string &text,
                                                 const std::string &separator) {
  return Guarded(std::vector<std::string>(), [&] {
    if (separator.empty()) {
      return text.empty() ? std::vector<std::string>() : std::vector<std::string>{text};
    }
    return text::Split(text, separator);
  });
}

std::string WebUtils::EncodeHtml(const std::string &text, bool keepSpaces) {
  return Guarded(std::string(), [&] {
    std::string escaped = text::EscapeHtml(text);
    return keepSpaces ? KeepBlanksApart(escaped) : escaped;
  });
}

int HTTPFileOutputer::Output(const char *path, const char *contentType) {
  return Guarded(-1, [&] {
    const bool is_asked = path != nullptr && contentType != nullptr;
    return is_asked && web::SendFile(path, contentType) ? 0 : -1;
  });
}

int HTTPFileOutputer::Output(FILE *stream, const char *fileName, const char *contentType) {
  return Guarded(-1, [&] {
    if (stream == nullptr || fileName == nullptr || contentType == nullptr) {
      return -1;
    }
    // What a list that could not be read leaves is an empty archive, which looks whole.
    if (playlists::HasReadFailed()) {
      web::PrintServerError();
      return -1;
    }
    return web::SendStream(stream, fileName, contentType) ? 0 : -1;
  });
}
