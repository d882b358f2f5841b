// A request, from whatever bytes a client sends. The first byte says how they are
// read.
#include "text/utf8.h"
#include "web/admission.h"
#include "web/entity_tags.h"
#include "web/header_value.h"
#include "web/parameters.h"
#include "web/same_site.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using vexo::web::Buffer;
using vexo::web::Parameter;

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void RequireInside(const Buffer &buffer, std::string_view text) {
  Require(text.data() >= buffer.begin() && text.data() + text.size() <= buffer.end());
  Require(text.data()[text.size()] == '\0');
}

void CheckParameters(const Buffer &buffer, const std::vector<Parameter> &parameters) {
  Require(parameters.size() <= vexo::web::kMostParameters);
  for (const Parameter &parameter : parameters) {
    RequireInside(buffer, parameter.name);
    RequireInside(buffer, parameter.value);
  }
  if (vexo::web::AreHarmless(parameters)) {
    for (const Parameter &parameter : parameters) {
      Require(parameter.value.find('\0') == std::string_view::npos);
      Require(parameter.name != "name" || parameter.value != "..");
    }
  }
}

void ReadUrlEncoded(std::string_view bytes) {
  const Buffer buffer(bytes);
  std::vector<Parameter> parameters;
  if (DecodeUrlEncoded(buffer, parameters)) {
    CheckParameters(buffer, parameters);
  }
}

/// The first line is the content type, the rest the body.
void ReadMultipart(std::string_view bytes) {
  const std::size_t line = std::min(bytes.find('\n'), bytes.size());
  const auto type = vexo::web::ParseHeaderValue(bytes.substr(0, line));
  const std::string *const boundary = type ? type->Attribute("boundary") : nullptr;
  if (boundary == nullptr || boundary->empty()) {
    return;
  }
  const Buffer buffer(bytes.substr(std::min(line + 1, bytes.size())));
  std::vector<Parameter> parameters;
  if (DecodeMultipart(buffer, *boundary, parameters)) {
    CheckParameters(buffer, parameters);
  }
}

/// An origin in the first line, a host behind it.
void ReadOrigin(std::string_view bytes) {
  const std::size_t line = std::min(bytes.find('\n'), bytes.size());
  const std::string_view host = bytes.substr(std::min(line + 1, bytes.size()));
  if (vexo::web::IsOriginOfHost(bytes.substr(0, line), host)) {
    Require(line > host.find_last_not_of(":0123456789") + 1);
  }
}

vexo::accounts::Account Anna() {
  vexo::accounts::Account account;
  account.name = "anna";
  account.personal_library = true;
  return account;
}

/// A request of lines: method, query, and what a browser tells of where it comes from; "cookie"
/// behind them makes it one of a session. An empty line leaves the variable out.
void AdmitRequest(std::string_view bytes) {
  for (const char *name : {"REQUEST_METHOD", "QUERY_STRING", "HTTP_HOST", "HTTP_SEC_FETCH_SITE",
                           "HTTP_ORIGIN", "HTTP_REFERER"}) {
    const std::string line(bytes.substr(0, bytes.find('\n')));
    bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
    unsetenv(name);
    if (!line.empty()) {
      setenv(name, line.c_str(), 1);
    }
  }
  unsetenv("CONTENT_TYPE");
  vexo::web::Parameters parameters;
  const vexo::web::Login login{Anna(), bytes.starts_with("cookie")};
  if (vexo::web::RefusalOfRequest(login) || !parameters.Load() ||
      vexo::web::RefusalOfAction(parameters, login)) {
    return;
  }
  const std::string method(vexo::web::Variable("REQUEST_METHOD").value_or("GET"));
  Require(method == "GET" || method == "HEAD" || method == "POST");
  const char *const action = parameters.Find("action");
  if (action != nullptr && vexo::web::ChangesSomething(action)) {
    Require(method != "HEAD" && !vexo::web::IsCrossOriginRequest());
    Require(method == "POST" || !login.by_session);
  }
}

/// A list of entity tags; those that are found stand in it with their quotes.
void ReadEntityTags(std::string_view bytes) {
  const auto tags = vexo::web::ParseEntityTags(bytes);
  if (!tags) {
    return;
  }
  Require(!tags->any || tags->strong.empty());
  for (const std::string &tag : tags->strong) {
    Require(bytes.find('"' + tag + '"') != std::string_view::npos);
    Require(tag.find('"') == std::string::npos);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string_view bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
  switch (data[0] % 8) {
  case 0:
    ReadUrlEncoded(bytes);
    break;
  case 1:
    ReadMultipart(bytes);
    break;
  case 2:
    ReadOrigin(bytes);
    break;
  case 4:
    AdmitRequest(bytes);
    break;
  case 5:
    ReadEntityTags(bytes);
    break;
  default:
    Require(vexo::text::IsUtf8(vexo::text::ToValidUtf8(std::string(bytes))));
    break;
  }
  return 0;
}
