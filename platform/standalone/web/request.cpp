#include "web/request.h"

#include "system/log.h"
#include "text/numbers.h"
#include "web/header_value.h"
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace vexo::web {
namespace {

constexpr int64_t kLargestBody = int64_t{64} << 20U;
constexpr std::size_t kLongestBoundary = 70; // RFC 2046, 5.1.1

bool DecodeForm(const Buffer &body, const HeaderValue &type, std::vector<Parameter> &parameters) {
  if (type.text == "application/x-www-form-urlencoded") {
    return DecodeUrlEncoded(body, parameters);
  }
  const std::string *const boundary = type.Attribute("boundary");
  return boundary != nullptr && !boundary->empty() && boundary->size() <= kLongestBoundary &&
         DecodeMultipart(body, *boundary, parameters);
}

} // namespace

std::optional<std::string_view> Variable(const char *name) {
  const char *const value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string_view>(value);
}

std::optional<std::size_t> BodyLength() {
  const std::string_view text = Variable("CONTENT_LENGTH").value_or("");
  if (text.empty()) {
    return Variable("HTTP_TRANSFER_ENCODING") ? std::nullopt : std::optional<std::size_t>(0);
  }
  const std::optional<int64_t> length = text::ParseInteger(text);
  if (!length || *length < 0 || *length > kLargestBody) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(*length);
}

bool ReadInput(const Buffer &buffer) {
  char *position = buffer.begin();
  while (position < buffer.end()) {
    const ssize_t got =
        read(STDIN_FILENO, position, static_cast<std::size_t>(buffer.end() - position));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0) {
      return false;
    }
    position += got;
  }
  return true;
}

bool IsHead() { return Variable("REQUEST_METHOD") == "HEAD"; }

bool Parameters::Load() {
  Clear();
  const char *refused = nullptr;
  if (!LoadBody()) {
    refused = "its body is too large, cut short or not of its type, or has too many parameters";
  } else if (!LoadQuery()) {
    refused = "its query has too many parameters";
  } else if (!AreHarmless(parameters_)) {
    refused = "it has a NUL byte, or a name that is empty or leads upwards";
  }
  if (refused == nullptr) {
    return true;
  }
  system::LogFailure("a request is not read", refused);
  Clear();
  return false;
}

bool Parameters::LoadBody() {
  if (Variable("REQUEST_METHOD") != "POST") {
    return true;
  }
  const std::optional<HeaderValue> type = ParseHeaderValue(Variable("CONTENT_TYPE").value_or(""));
  if (!type) {
    return false;
  }
  if (type->text != "application/x-www-form-urlencoded" && type->text != "multipart/form-data") {
    return true;
  }
  const std::optional<std::size_t> length = BodyLength();
  if (!length) {
    return false;
  }
  body_ = Buffer(*length);
  return ReadInput(body_) && DecodeForm(body_, *type, parameters_);
}

bool Parameters::LoadQuery() {
  query_ = Buffer(Variable("QUERY_STRING").value_or(""));
  return DecodeUrlEncoded(query_, parameters_);
}

const char *Parameters::Find(std::string_view name) const {
  const auto found =
      std::find_if(parameters_.begin(), parameters_.end(),
                   [&](const Parameter &parameter) { return parameter.name == name; });
  return found == parameters_.end() ? nullptr : found->value.data();
}

} // namespace vexo::web
