// The path and the query of a request to the API, and the path of a file on its way to the web
// server, from whatever bytes there are: what is taken out of a path makes it again.
#include "api/query.h"
#include "api/router.h"
#include "media/x_sendfile.h"
#include "web/parameters.h"
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vexo;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// `pattern` with `variables`, which hold no braces, in the place of its own.
std::string Fill(std::string pattern, const std::vector<std::string> &variables) {
  for (const std::string &variable : variables) {
    const std::size_t begin = pattern.find('{');
    Require(begin != std::string::npos && !variable.empty());
    pattern.replace(begin, pattern.find('}') + 1 - begin, variable);
  }
  return pattern;
}

void CheckRoute(const api::Route &route, const std::string &path, std::string_view text) {
  std::vector<std::string> variables;
  if (path.find('{') == std::string::npos && api::MatchesPath(route.path, path, variables)) {
    Require(Fill(std::string(route.path), variables) == path);
  }
  api::Query query(text, route.parameters);
  const api::Page page = api::ReadPage(query);
  Require(page.offset >= 0 && page.limit >= 0 && page.limit <= api::kMostItems);
}

/// The header line has this path only, and ends where it ends.
void CheckSendfile(const std::string &path) {
  constexpr std::string_view kName = "X-Sendfile: ", kEnd = "\r\n";
  const std::optional<std::string> line = media::XSendfileHeader(path);
  if (!line) {
    return;
  }
  Require(line->starts_with(kName) && line->ends_with(kEnd));
  const std::string value = line->substr(kName.size(), line->size() - kName.size() - kEnd.size());
  Require(value.find_first_of("\r\n ?#") == std::string::npos);
  const web::Buffer buffer("path=" + value);
  std::vector<web::Parameter> parameters;
  Require(web::DecodeUrlEncoded(buffer, parameters) && parameters.size() == 1);
  Require(parameters.front().value == path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  setenv("VEXO_X_SENDFILE", "on", 1);
  const std::string input(reinterpret_cast<const char *>(data), size);
  const std::size_t mark = std::min(input.find('?'), input.size());
  const std::string path = "/" + input.substr(0, mark);
  const std::string query = input.substr(std::min(mark + 1, input.size()));
  for (const api::Route &route : api::Routes()) {
    CheckRoute(route, path, query);
  }
  CheckSendfile(path);
  return 0;
}
