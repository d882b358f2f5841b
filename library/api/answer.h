#pragma once
// What a resource answers.

#include "api/problem.h"
#include "api/query.h"
#include <json/json.h>
#include <string>
#include <string_view>

namespace vexo::api {

struct Answer {
  int status = 200;
  std::string headers{}; ///< further ones, each with its line end
  std::string content_type = "application/json";
  std::string body{};
  bool is_sent = false; ///< the handler has sent it by itself
};

/// A document that nobody may keep.
Answer JsonAnswer(const Json::Value &document);
/// A document that the client may keep, and asks for again with `etag` (with its quotes).
Answer JsonAnswer(const Json::Value &document, const std::string &etag);
/// The same with an ETag of what it holds, or 304: for what has no version of its own.
Answer AnswerByContent(const Json::Value &document);
/// A page of a list: `total` counts all of it.
Json::Value ListOf(int64_t total, const Page &page, Json::Value items);
/// A problem's document (RFC 9457), with further headers.
Answer ProblemAnswer(const Problem &problem, const std::string &headers = "");
/// Done, and there is nothing to say.
Answer NoContent(const std::string &headers = "");
/// The handler has sent the answer.
Answer SentAnswer();

/// An entity tag of a text that tells versions apart: its bytes in quotes.
std::string MakeETag(std::string_view version);
/// 304 when the client has the version `etag` already (If-None-Match, RFC 9110, 13.1.2); nothing
/// when it has not.
std::optional<Answer> NotModified(const std::string &etag);

/// The fields that stand before a body which the handler sends by itself: status, type and
/// `headers`, without the length and the empty line.
std::string AnswerHead(const Answer &answer);

/// Sends the answer with `size` bytes of an open file, from `first` on, as its body: none for a
/// HEAD. Whether the client got all of it is not told.
Answer SendFileAnswer(const Answer &answer, int file, uint64_t first, uint64_t size);

/// Sends the answer: without its body when the request was a HEAD.
void PrintAnswer(const Answer &answer);

} // namespace vexo::api
