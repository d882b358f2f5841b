#include "api/answer.h"
#include "playlists/version.h"
#include "system/limits.h"
#include "web/answer.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"
#include <algorithm>
#include <array>
#include <unistd.h>
#include <utility>

namespace vexo::api {
namespace {

struct Phrase {
  int status;
  const char *text;
};

// RFC 9110, 15, and RFC 6585.
constexpr std::array kPhrases = {
    Phrase{200, "OK"},
    Phrase{201, "Created"},
    Phrase{202, "Accepted"},
    Phrase{204, "No Content"},
    Phrase{206, "Partial Content"},
    Phrase{302, "Found"},
    Phrase{304, "Not Modified"},
    Phrase{400, "Bad Request"},
    Phrase{401, "Unauthorized"},
    Phrase{403, "Forbidden"},
    Phrase{404, "Not Found"},
    Phrase{405, "Method Not Allowed"},
    Phrase{409, "Conflict"},
    Phrase{412, "Precondition Failed"},
    Phrase{413, "Content Too Large"},
    Phrase{415, "Unsupported Media Type"},
    Phrase{416, "Range Not Satisfiable"},
    Phrase{422, "Unprocessable Content"},
    Phrase{429, "Too Many Requests"},
    Phrase{500, "Internal Server Error"},
    Phrase{501, "Not Implemented"},
    Phrase{502, "Bad Gateway"},
    Phrase{503, "Service Unavailable"},
};

const char *PhraseOf(int status) {
  for (const Phrase &phrase : kPhrases) {
    if (phrase.status == status) {
      return phrase.text;
    }
  }
  return "Unknown";
}

/// The next tag of a list, without blanks and commas before it; empty at the end.
std::string_view TakeTag(std::string_view &list) {
  list.remove_prefix(std::min(list.find_first_not_of(" \t,"), list.size()));
  const std::string_view tag = list.substr(0, list.find(','));
  list.remove_prefix(tag.size());
  return tag.substr(0, tag.find_last_not_of(" \t") + 1);
}

} // namespace

Problem NotFound(std::string detail) { return {404, std::move(detail), {}}; }

Answer JsonAnswer(const Json::Value &document) {
  return {.headers = "Cache-Control: no-store\r\n", .body = web::ToJson(document)};
}

Answer JsonAnswer(const Json::Value &document, const std::string &etag) {
  return {.headers = "Cache-Control: private, no-cache\r\nETag: " + etag + "\r\n",
          .body = web::ToJson(document)};
}

Answer AnswerByContent(const Json::Value &document) {
  const std::string etag = MakeETag(playlists::ContentVersion(web::ToJson(document)));
  std::optional<Answer> answer = NotModified(etag);
  return answer ? *std::move(answer) : JsonAnswer(document, etag);
}

Json::Value ListOf(int64_t total, const Page &page, Json::Value items) {
  Json::Value list(Json::objectValue);
  list["total"] = Json::Int64{total};
  list["offset"] = Json::Int64{page.offset};
  list["items"] = std::move(items);
  return list;
}

Answer ProblemAnswer(const Problem &problem, const std::string &headers) {
  Json::Value document(Json::objectValue);
  document["type"] = "about:blank";
  document["title"] = PhraseOf(problem.status);
  document["status"] = problem.status;
  document["detail"] = problem.detail;
  if (!problem.parameter.empty()) {
    document["parameter"] = problem.parameter;
  }
  if (problem.line != 0) {
    document["line"] = Json::UInt64{problem.line};
    document["column"] = Json::UInt64{problem.column};
  }
  return {.status = problem.status,
          .headers = headers + "Cache-Control: no-store\r\n",
          .content_type = "application/problem+json",
          .body = web::ToJson(document)};
}

Answer NoContent(const std::string &headers) {
  return {.status = 204,
          .headers = headers + "Cache-Control: no-store\r\n",
          .content_type = "",
          .body = ""};
}

Answer SentAnswer() { return {.is_sent = true}; }

std::string MakeETag(std::string_view version) { return '"' + std::string(version) + '"'; }

std::optional<Answer> NotModified(const std::string &etag) {
  constexpr std::string_view kWeak = "W/";
  std::string_view list = web::Variable("HTTP_IF_NONE_MATCH").value_or("");
  for (std::string_view tag = TakeTag(list); !tag.empty(); tag = TakeTag(list)) {
    tag.remove_prefix(tag.starts_with(kWeak) ? kWeak.size() : 0);
    if (tag == etag || tag == "*") {
      return Answer{.status = 304,
                    .headers = "Cache-Control: private, no-cache\r\nETag: " + etag + "\r\n",
                    .content_type = {}};
    }
  }
  return std::nullopt;
}

std::string AnswerHead(const Answer &answer) {
  std::string head =
      "Status: " + std::to_string(answer.status) + " " + PhraseOf(answer.status) + "\r\n";
  head += answer.headers;
  if (!answer.content_type.empty()) {
    head += "Content-Type: " + answer.content_type + "\r\nX-Content-Type-Options: nosniff\r\n";
  }
  return head;
}

Answer SendFileAnswer(const Answer &answer, int file, uint64_t first, uint64_t size) {
  const web::BrokenPipeIgnored ignored;
  system::LiftCpuLimit();
  const std::string length = "Content-Length: " + std::to_string(size) + "\r\n\r\n";
  if (web::WriteAnswer(AnswerHead(answer) + length) && !web::IsHead() &&
      lseek(file, static_cast<off_t>(first), SEEK_SET) >= 0) {
    static_cast<void>(web::SendFileBody(file, size));
  }
  return SentAnswer();
}

void PrintAnswer(const Answer &answer) {
  if (answer.is_sent) {
    return;
  }
  std::string head = AnswerHead(answer);
  if (!answer.content_type.empty()) {
    head += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n";
  }
  web::WriteAnswer(head + "\r\n" + (web::IsHead() ? std::string() : answer.body));
}

} // namespace vexo::api
