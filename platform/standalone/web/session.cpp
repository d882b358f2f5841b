#include "web/session.h"

#include "system/log.h"
#include "text/numbers.h"
#include "text/text.h"
#include "web/header_value.h"
#include "web/keyed_hash.h"
#include "web/request.h"
#include <algorithm>
#include <ctime>
#include <limits>

namespace vexo::web {
namespace {

constexpr std::string_view kVersion = "1.";
constexpr std::size_t kSignatureDigits = 2 * std::tuple_size_v<KeyedHash>;

std::string SignatureOf(std::string_view text, const SessionKey &key) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string signature;
  for (const uint8_t byte : HashWithKey(key, "session", text)) {
    signature += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return signature;
}

/// Takes a number that ends with '.' off `text`: nothing for another text.
std::optional<int64_t> TakeNumber(std::string_view &text) {
  const std::size_t dot = text.find('.');
  if (dot == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<int64_t> number = text::ParseInteger(text.substr(0, dot));
  text.remove_prefix(dot + 1);
  return number && *number >= 0 ? number : std::nullopt;
}

/// What the value says, whoever wrote it.
std::optional<Session> ParseSession(std::string_view value) {
  if (!value.starts_with(kVersion)) {
    return std::nullopt;
  }
  value.remove_prefix(kVersion.size());
  const std::optional<int64_t> user = TakeNumber(value);
  const std::optional<int64_t> issued = user ? TakeNumber(value) : std::nullopt;
  const std::optional<int64_t> generation = issued ? TakeNumber(value) : std::nullopt;
  if (!generation || *user > std::numeric_limits<int>::max() || value.size() != kSignatureDigits) {
    return std::nullopt;
  }
  return Session{static_cast<int>(*user), *issued, *generation};
}

bool IsOfThisTime(const Session &session, int64_t now) {
  if (session.issued - kClockSkewSeconds > now) {
    const std::string what = "it began " + std::to_string(session.issued - now) +
                             " seconds in the future: a clock is wrong, here or where its user "
                             "logged in";
    system::LogFailure("session", what.c_str());
    return false;
  }
  return now - session.issued < kSessionSeconds;
}

/// Takes the first cookie off `cookies`; its value when it has the name of ours.
std::optional<std::string_view> TakeCookie(std::string_view &cookies) {
  const std::size_t end = std::min(cookies.find(';'), cookies.size());
  const std::string_view pair = text::Trim(cookies.substr(0, end));
  cookies.remove_prefix(std::min(end + 1, cookies.size()));
  const std::size_t equals = pair.find('=');
  if (equals == std::string_view::npos || pair.substr(0, equals) != kSessionCookie) {
    return std::nullopt;
  }
  return pair.substr(equals + 1);
}

/// Whether the client came by TLS, as the web server, a proxy before it or the browser tells. Who
/// lies harms nobody else.
bool CameByTls() {
  const std::string_view origin = Variable("HTTP_ORIGIN").value_or("");
  constexpr std::string_view kScheme = "https://";
  return EqualsIgnoringCase(Variable("HTTPS").value_or(""), "on") ||
         EqualsIgnoringCase(Variable("HTTP_X_FORWARDED_PROTO").value_or(""), "https") ||
         EqualsIgnoringCase(origin.substr(0, kScheme.size()), kScheme);
}

std::string CookieLine(const std::string &value, int64_t seconds) {
  return "Set-Cookie: " + std::string(kSessionCookie) + "=" + value +
         "; Path=/; Max-Age=" + std::to_string(seconds) + "; HttpOnly; SameSite=Strict" +
         (CameByTls() ? "; Secure" : "") + "\r\n";
}

int64_t Now() { return std::time(nullptr); }

} // namespace

std::string SignSession(const Session &session, const SessionKey &key) {
  const std::string text = std::string(kVersion) + std::to_string(session.user_id) + "." +
                           std::to_string(session.issued) + "." +
                           std::to_string(session.generation) + ".";
  return text + SignatureOf(text, key);
}

std::optional<Session> ReadSession(std::string_view value, const SessionKey &key, int64_t now) {
  const std::optional<Session> session = ParseSession(value);
  // Numbers that are written in another way than ours are none of ours.
  if (!session || !text::EqualInConstantTime(SignSession(*session, key), value) ||
      !IsOfThisTime(*session, now)) {
    return std::nullopt;
  }
  return session;
}

std::optional<Session> FindSession(std::string_view cookies, const SessionKey &key, int64_t now) {
  if (cookies.size() > kLongestCookies) {
    return std::nullopt;
  }
  while (!cookies.empty()) {
    const std::optional<std::string_view> value = TakeCookie(cookies);
    if (std::optional<Session> session = value ? ReadSession(*value, key, now) : std::nullopt) {
      return session;
    }
  }
  return std::nullopt;
}

std::string BeginSession(const accounts::Account &account) {
  const Session session{account.id, Now(), account.generation};
  return CookieLine(SignSession(session, MakeSessionKey()), kSessionSeconds);
}

std::string ForgetSession() { return CookieLine("", 0); }

std::optional<SessionOfAccount> FindSessionOfRequest() {
  const std::string_view cookies = Variable("HTTP_COOKIE").value_or("");
  if (cookies.find(kSessionCookie) == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<SessionKey> key = FindSessionKey();
  const std::optional<Session> session = key ? FindSession(cookies, *key, Now()) : std::nullopt;
  std::optional<accounts::Account> account =
      session ? accounts::FindAccount(session->user_id) : std::nullopt;
  if (!account || account->generation != session->generation) {
    return std::nullopt;
  }
  return SessionOfAccount{*session, std::move(*account)};
}

} // namespace vexo::web
