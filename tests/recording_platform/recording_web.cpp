#include "recording_platform/recording_host.h"
#include "vexo/users.h"
#include <array>

using recording::Show;
using recording::TheHost;

struct WebMan::State {};
struct ActionHandler::State {
  WebMan request;
};

WebMan::WebMan() = default;
WebMan::~WebMan() = default;

bool WebMan::IsAuthorized(const char *privilege, int level, _tag_cgi_position position) {
  TheHost().Record("IsAuthorized", {Show(privilege), Show(level), Show(position)});
  return TheHost().authorized;
}

bool WebMan::LoadIn() {
  TheHost().Record("LoadIn", {});
  return TheHost().Result("LoadIn", 1) != 0;
}

const char *WebMan::In(const char *name, const char *fallback) const {
  TheHost().Record("In", {Show(name), Show(fallback)});
  const auto found = TheHost().parameters.find(name);
  return found == TheHost().parameters.end() ? fallback : found->second.c_str();
}

std::string WebMan::GetLoginUserName() const {
  TheHost().Record("GetLoginUserName", {});
  return TheHost().user;
}

std::string WebMan::GetPreferenceDir() const {
  TheHost().Record("GetPreferenceDir", {});
  return TheHost().preference_folder;
}

int WebMan::GetBrowserInfo(_tag_vexo_browser_info_ *info) const {
  TheHost().Record("GetBrowserInfo", {});
  const int result = TheHost().Result("GetBrowserInfo", 0);
  if (result >= 0) {
    *info = TheHost().browser;
  }
  return result;
}

ActionHandler::ActionHandler() : state_(std::make_unique<State>()) {
  TheHost().Record("ActionHandler", {});
}
ActionHandler::~ActionHandler() { TheHost().Record("~ActionHandler", {}); }

WebMan &ActionHandler::Request() { return state_->request; }

void ActionHandler::SetError(Json::Value &response, const char *section, const char *key,
                             int line) {
  TheHost().Record("SetError", {Show(section), Show(key)});
  TheHost().error_line = line;
  response["error"]["section"] = section;
  response["error"]["key"] = key;
}

void ActionHandler::SetSuccess(Json::Value &response, bool success) {
  TheHost().Record("SetSuccess", {success ? "true" : "false"});
  response["success"] = success;
}

void ActionHandler::PrintResponse(Json::Value response, const char *content_type) {
  TheHost().Record("PrintResponse", {});
  TheHost().answers.push_back({std::move(response), content_type});
}

std::vector<std::string> WebUtils::StringExplode(const std::string &text,
                                                 const std::string &separator) {
  TheHost().Record("StringExplode", {Show(text.c_str()), Show(separator.c_str())});
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    if (end > begin) {
      pieces.push_back(text.substr(begin, end - begin));
    }
    begin = end + separator.size();
  }
  return pieces;
}

std::string WebUtils::EncodeHtml(const std::string &text, bool keep_spaces) {
  TheHost().Record("EncodeHtml", {Show(text.c_str()), keep_spaces ? "true" : "false"});
  std::string escaped;
  for (const char c : text) {
    escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  }
  return escaped;
}

int HTTPFileOutputer::Output(const char *path, const char *content_type) {
  TheHost().Record("Output", {Show(path), Show(content_type)});
  TheHost().sent.push_back({path, content_type, ""});
  return TheHost().Result("Output", 0);
}

int HTTPFileOutputer::Output(FILE *stream, const char *file_name, const char *content_type) {
  TheHost().Record("Output", {"stream", Show(file_name), Show(content_type)});
  std::string bytes;
  std::array<char, 4096> block{};
  for (std::size_t got = 0; (got = std::fread(block.data(), 1, block.size(), stream)) > 0;) {
    bytes.append(block.data(), got);
  }
  TheHost().sent.push_back({file_name, content_type, bytes});
  return TheHost().Result("Output", 0);
}

int GetUserIdFromName(const char *user_name) {
  TheHost().Record("GetUserIdFromName", {Show(user_name)});
  return TheHost().user_id;
}

int IsPersonalLibEnabled(const char *user_name) {
  TheHost().Record("IsPersonalLibEnabled", {Show(user_name)});
  return TheHost().personal_library ? 1 : 0;
}

int AudioUsers::GetUserPermission(const char *user_name) {
  TheHost().Record("GetUserPermission", {Show(user_name)});
  return TheHost().Result("GetUserPermission", 0);
}
