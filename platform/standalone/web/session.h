#pragma once
// Sessions: a cookie that says who one is, signed so that nobody else can make one (HMAC-SHA256,
// RFC 2104). Nothing of it is kept here: a session ends by its age, when the account's generation
// is raised, and with the account, whose id is never given away again.
//
// The cookie's value is "1.USER.ISSUED.GENERATION.SIGNATURE": numbers in decimal, the signature in
// hexadecimal digits.

#include "accounts/accounts.h"
#include "web/session_key.h"
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::web {

inline constexpr std::string_view kSessionCookie = "vexo_session";
/// How long a session lasts.
inline constexpr int64_t kSessionSeconds = int64_t{30} * 24 * 60 * 60;
/// By how much the clock of another machine with the same key may be ahead. Only who has the key
/// can begin a session, and it lasts so much longer at most; a machine that takes local time for
/// UTC is half a day wrong.
inline constexpr int64_t kClockSkewSeconds = int64_t{24} * 60 * 60;
/// Cookies of a request that are longer than this are not looked at.
inline constexpr std::size_t kLongestCookies = 8192;

struct Session {
  int user_id = 0;
  int64_t issued = 0;     ///< seconds since 1970
  int64_t generation = 0; ///< of the account when the session began

  bool operator==(const Session &) const = default;
};

std::string SignSession(const Session &session, const SessionKey &key);

/// The session of a cookie's value; nothing when it was not signed with the key, or is too old at
/// the time `now`.
std::optional<Session> ReadSession(std::string_view value, const SessionKey &key, int64_t now);

/// The first session among the cookies of a header field (RFC 6265, 4.2.1): a page of a
/// neighbouring host may have added others of the name.
std::optional<Session> FindSession(std::string_view cookies, const SessionKey &key, int64_t now);

/// The header line that begins a session of the account, now. Makes the key when there is none;
/// throws std::system_error or std::runtime_error when there can be none.
std::string BeginSession(const accounts::Account &account);
/// The header line that makes the client forget its session.
std::string ForgetSession();

/// The account whose session the request's cookies hold, and the session; nothing without one.
/// Throws when key or accounts cannot be read.
struct SessionOfAccount {
  Session session;
  accounts::Account account;
};
std::optional<SessionOfAccount> FindSessionOfRequest();

} // namespace vexo::web
