// Who one is: sessions and passwords.
#include "web/session.h"
#include "accounts/accounts.h"
#include "accounts/passwords.h"
#include "api/resources.h"
#include "web/login.h"
#include "web/login_throttle.h"
#include "web/request.h"
#include <array>
#include <cerrno>
#include <ctime>
#include <syslog.h>
#include <system_error>

namespace vexo::api {
namespace {

using accounts::Account;

constexpr std::size_t kLargestLogin = 4096; ///< the body, in bytes
constexpr int kLoggedNameBytes = 64;

std::string_view Address() { return web::Variable("REMOTE_ADDR").value_or(""); }

/// The name comes last: whatever it holds, it is taken for nothing else.
void Log(const char *outcome, std::string_view name) {
  const std::string address(Address());
  syslog(LOG_NOTICE, "login %s: address %s, user %.*s", outcome, address.c_str(),
         static_cast<int>(std::min<std::size_t>(name.size(), kLoggedNameBytes)), name.data());
}

/// Two texts of a body.
struct TwoTexts {
  std::string first, second;
};

std::variant<TwoTexts, Problem> ReadTwoTexts(const std::array<std::string_view, 2> &names) {
  std::variant<Json::Value, Problem> body = ReadJsonBody(names, kLargestLogin);
  if (Problem *const problem = std::get_if<Problem>(&body)) {
    return std::move(*problem);
  }
  const Json::Value &object = std::get<Json::Value>(body);
  for (const std::string_view name : names) {
    if (!object[std::string(name)].isString()) {
      return Problem{400, "This member has to be there, as a text.", std::string(name)};
    }
  }
  return TwoTexts{object[std::string(names[0])].asString(),
                  object[std::string(names[1])].asString()};
}

Json::Value DocumentOf(const Account &account, bool by_session) {
  Json::Value document(Json::objectValue);
  document["name"] = account.name;
  document["id"] = account.id;
  document["admin"] = account.admin;
  document["personal_library"] = account.personal_library;
  document["by"] = by_session ? "session" : "web_server";
  return document;
}

/// The account whose password this is, or the answer to who knows none. Every try is counted and
/// logged.
std::variant<Account, Answer> CheckPassword(const std::string &name, const std::string &password,
                                            const Problem &wrong) {
  if (const int64_t wait = web::CountLogin(name, Address(), std::time(nullptr)); wait > 0) {
    Log("throttled", name);
    return ProblemAnswer({429, "Too many wrong passwords. Wait, and try again.", {}},
                         "Retry-After: " + std::to_string(wait) + "\r\n");
  }
  // The account comes first: when the password is changed meanwhile, the session has ended already.
  const std::optional<Account> account = accounts::FindAccount(name);
  if (!accounts::VerifyPassword(name, password) || !account) {
    Log("refused", name);
    return ProblemAnswer(
        wrong, wrong.status == 401 ? "WWW-Authenticate: Session realm=\"playlists\"\r\n" : "");
  }
  web::ForgiveLogin(name, Address());
  Log("granted", name);
  return *account;
}

/// Where the server's user may not write what accounts consist of, only the owner of the machine
/// changes them.
template <typename Change> std::optional<Answer> ChangeAccounts(Change change) {
  try {
    change();
    return std::nullopt;
  } catch (const std::system_error &error) {
    const int code = error.code().value();
    if (code != EACCES && code != EPERM && code != EROFS && code != ELOOP) { // ELOOP: a link
      throw;
    }
    return ProblemAnswer(
        {503, "The server may not change accounts here. Ask the owner of the machine.", {}});
  }
}

/// The header line that begins the user's session anew, when it was one.
std::string SessionGoesOn(const Request &request) {
  const std::optional<Account> account = accounts::FindAccount(request.User().id);
  return request.by_session && account ? web::BeginSession(*account) : "";
}

} // namespace

Answer LogIn(Request & /*request*/) {
  std::variant<TwoTexts, Problem> body = ReadTwoTexts({"name", "password"});
  if (const Problem *const problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto &[name, password] = std::get<TwoTexts>(body);
  std::variant<Account, Answer> checked =
      CheckPassword(name, password, {401, "Name or password is wrong.", {}});
  if (Answer *const answer = std::get_if<Answer>(&checked)) {
    return std::move(*answer);
  }
  const Account &account = std::get<Account>(checked);
  Answer answer = JsonAnswer(DocumentOf(account, true));
  answer.headers += web::BeginSession(account);
  return answer;
}

Answer WhoAmI(Request &request) {
  return JsonAnswer(DocumentOf(request.User(), request.by_session));
}

Answer LogOut(Request &request) {
  const bool everywhere = request.query.Flag("everywhere");
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  if (everywhere && !request.user) {
    return ProblemAnswer({401, "Nobody is logged in.", "everywhere"}, web::Challenge());
  }
  std::optional<Answer> failure;
  if (everywhere) {
    failure = ChangeAccounts([&] { accounts::EndSessions(request.User().name); });
  }
  return failure ? *std::move(failure) : NoContent(web::ForgetSession());
}

Answer ChangePassword(Request &request) {
  std::variant<TwoTexts, Problem> body = ReadTwoTexts({"old", "new"});
  if (const Problem *const problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const TwoTexts &passwords = std::get<TwoTexts>(body);
  if (!accounts::CanBePassword(passwords.second)) {
    return ProblemAnswer({400, "A password has 1 to 512 bytes and no line breaks.", "new"});
  }
  const std::string &name = request.User().name;
  std::variant<Account, Answer> checked =
      CheckPassword(name, passwords.first, {403, "This is not the password.", "old"});
  if (Answer *const answer = std::get_if<Answer>(&checked)) {
    return std::move(*answer);
  }
  std::optional<Answer> failure = ChangeAccounts([&] {
    accounts::SetPassword(name, passwords.second);
    accounts::EndSessions(name);
  });
  return failure ? *std::move(failure) : NoContent(SessionGoesOn(request));
}

} // namespace vexo::api
