#include "contract/web/web_man.h"
#include "web/session.h"
#include "web/session_key.h"
#include <ctime>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::web {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

SessionKey KeyOf(unsigned char byte) {
  SessionKey key{};
  key.fill(byte);
  return key;
}

constexpr int64_t kNow = 1'800'000'000;
const SessionKey kKey = KeyOf(7);
const Session kSession{3, kNow - 60, 2};

std::string Cookie(const std::string &value) { return "vexo_session=" + value; }

TEST(Session, IsItsNumbersAndTheirSignature) {
  // HMAC-SHA256 of "session:1.3.1799999940.2." by Python's hmac.
  EXPECT_EQ(SignSession(kSession, kKey),
            "1.3.1799999940.2."
            "5f06ca47cd871e67c126a5856764ca3aeaf6ee5f09e5b02ec29c6392d9c6a504");
}

TEST(Session, IsReadAsItWasSigned) {
  for (const Session &session : {kSession, Session{1, kNow, 0}, Session{INT32_MAX, kNow, INT64_MAX},
                                 Session{1, kNow - kSessionSeconds + 1, 0}}) {
    EXPECT_EQ(ReadSession(SignSession(session, kKey), kKey, kNow), session) << session.issued;
  }
}

TEST(Session, EndsAfterThirtyDays) {
  const std::string value = SignSession({1, kNow, 0}, kKey);
  EXPECT_TRUE(ReadSession(value, kKey, kNow + 30 * 86400 - 1));
  EXPECT_FALSE(ReadSession(value, kKey, kNow + 30 * 86400));
  EXPECT_FALSE(ReadSession(value, kKey, INT64_MAX));
}

TEST(Session, OfTheFutureIsNone) {
  EXPECT_TRUE(ReadSession(SignSession({1, kNow + kClockSkewSeconds, 0}, kKey), kKey, kNow));
  EXPECT_FALSE(ReadSession(SignSession({1, kNow + kClockSkewSeconds + 1, 0}, kKey), kKey, kNow));
  EXPECT_FALSE(ReadSession(SignSession({1, INT64_MAX, 0}, kKey), kKey, kNow));
}

TEST(Session, OfAnotherKeyIsNone) {
  EXPECT_FALSE(ReadSession(SignSession(kSession, KeyOf(8)), kKey, kNow));
}

TEST(Session, ThatWasChangedIsNone) {
  const std::string value = SignSession(kSession, kKey);
  for (std::size_t i = 0; i < value.size(); ++i) {
    for (const char c : {'0', '1', '.', 'a', ' ', '\0', '-'}) {
      std::string changed = value;
      changed[i] = c;
      EXPECT_EQ(ReadSession(changed, kKey, kNow).has_value(), changed == value) << changed;
    }
    EXPECT_FALSE(ReadSession(value.substr(0, i), kKey, kNow)) << i;
    EXPECT_FALSE(ReadSession(value.substr(i + 1), kKey, kNow)) << i;
  }
}

TEST(Session, OfAnyOtherFormIsNone) {
  const std::string signature = SignSession(kSession, kKey).substr(17);
  for (const std::string &text :
       {std::string(), std::string("."), std::string("1..."), "03.1799999940.2." + signature,
        "1.03.1799999940.2." + signature, "1.3.1799999940.2.0." + signature,
        "1.4294967299.1799999940.2." + signature, "1.-3.1799999940.2." + signature,
        "1.3.99999999999999999999.2." + signature, "2.3.1799999940.2." + signature,
        std::string(100000, '1')}) {
    EXPECT_FALSE(ReadSession(text, kKey, kNow)) << text;
  }
}

TEST(Sessions, AreFoundAmongCookies) {
  const std::string own = Cookie(SignSession(kSession, kKey));
  for (const std::string &cookies :
       {own, own + "; a=b", "a=b; " + own, "a=b;" + own + ";c", "; ;" + own + ";;",
        "vexo_session=; " + own, Cookie(SignSession({1, kNow, 0}, KeyOf(9))) + "; " + own,
        "xvexo_session=1; vexo_sessionx=2; vexo_session; " + own}) {
    EXPECT_EQ(FindSession(cookies, kKey, kNow), kSession) << cookies;
  }
}

TEST(Sessions, AreNotFoundInAnythingElse) {
  const std::string value = SignSession(kSession, kKey);
  for (const std::string &cookies :
       {std::string(), std::string(";;;"), "vexo_session" + value, "VEXO_SESSION=" + value,
        "session=" + value, Cookie("\"" + value + "\""), Cookie(" " + value), Cookie(value + "x"),
        "a=" + Cookie(value), std::string(kLongestCookies, ' ') + Cookie(value)}) {
    EXPECT_FALSE(FindSession(cookies, kKey, kNow)) << cookies;
  }
}

class SessionKeyFile : public DeviceRootTest {};

TEST_F(SessionKeyFile, IsMadeOnceForItsOwnerAlone) {
  EXPECT_FALSE(FindSessionKey());
  const SessionKey key = MakeSessionKey();
  EXPECT_EQ(FindSessionKey(), key);
  EXPECT_EQ(MakeSessionKey(), key);
  EXPECT_EQ(std::filesystem::status(system::kSessionKey).permissions(),
            std::filesystem::perms(0600));
  EXPECT_EQ(std::filesystem::file_size(system::kSessionKey), 32U);
  std::filesystem::remove(system::kSessionKey);
  EXPECT_NE(MakeSessionKey(), key);
}

TEST_F(SessionKeyFile, IsOneHoweverManyProcessesMakeIt) {
  constexpr int kProcesses = 16;
  for (int i = 0; i < kProcesses; ++i) {
    if (fork() == 0) {
      const SessionKey key = MakeSessionKey();
      WriteBytes(library() + "/" + std::to_string(i),
                 std::string(reinterpret_cast<const char *>(key.data()), key.size()));
      _exit(0);
    }
  }
  std::set<std::string> keys;
  for (int i = 0; i < kProcesses; ++i) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  for (int i = 0; i < kProcesses; ++i) {
    keys.insert(ReadBytes(library() + "/" + std::to_string(i)));
  }
  EXPECT_EQ(keys, std::set<std::string>{ReadBytes(system::kSessionKey)});
}

TEST_F(SessionKeyFile, ThatIsDamagedIsAnErrorAndStays) {
  for (const std::string &damaged : {std::string(), std::string(31, 'a'), std::string(33, 'a')}) {
    WriteBytes(system::kSessionKey, damaged);
    EXPECT_THROW(FindSessionKey(), std::runtime_error);
    EXPECT_THROW(MakeSessionKey(), std::runtime_error);
    EXPECT_EQ(ReadBytes(system::kSessionKey), damaged);
  }
}

/// Requests with a cookie and without the web server's word.
class SessionRequest : public WebManTest {
protected:
  static std::string LineOf(std::map<std::string, std::string> environment) {
    environment.try_emplace("REMOTE_USER", "");
    return RunCgi(RequestOf(environment),
                  [] {
                    printf("%s", BeginSession(*accounts::FindAccount("alice")).c_str());
                    return 0;
                  })
        .output;
  }

  static std::string OwnCookie() {
    const std::string line = LineOf({});
    const std::size_t begin = line.find(' ') + 1;
    return line.substr(begin, line.find(';') - begin);
  }

  static CgiRequest With(const std::string &cookies,
                         std::map<std::string, std::string> environment = {}) {
    environment["HTTP_COOKIE"] = cookies;
    environment.try_emplace("REMOTE_USER", "");
    return RequestOf(environment);
  }
};

TEST_F(SessionRequest, BeginsWithACookieThatOnlyRequestsOfOurPagesCarry) {
  const std::string line = LineOf({});
  EXPECT_THAT(line, StartsWith("Set-Cookie: vexo_session=1.1."));
  EXPECT_THAT(line, EndsWith("; Path=/; Max-Age=2592000; HttpOnly; SameSite=Strict\r\n"));
}

TEST_F(SessionRequest, KeepsTheCookieToTlsWhereTheClientCameByIt) {
  for (const char *name : {"HTTPS", "HTTP_X_FORWARDED_PROTO", "HTTP_ORIGIN"}) {
    const std::map<std::string, std::string> by_tls{{"HTTPS", "on"},
                                                    {"HTTP_X_FORWARDED_PROTO", "https"},
                                                    {"HTTP_ORIGIN", "https://music.local:8080"}};
    const std::map<std::string, std::string> plain{{"HTTPS", "off"},
                                                   {"HTTP_X_FORWARDED_PROTO", "http"},
                                                   {"HTTP_ORIGIN", "http://music.local:8080"}};
    EXPECT_THAT(LineOf({{name, by_tls.at(name)}}), EndsWith("; SameSite=Strict; Secure\r\n"));
    EXPECT_THAT(LineOf({{name, plain.at(name)}}), Not(HasSubstr("Secure")));
  }
}

TEST_F(SessionRequest, IsForgottenByAnEmptyCookie) {
  EXPECT_EQ(ForgetSession(),
            "Set-Cookie: vexo_session=; Path=/; Max-Age=0; HttpOnly; SameSite=Strict\r\n");
}

TEST_F(SessionRequest, IsTheUsersAsTheWebServersWordWouldBe) {
  const CgiAnswer answer = RunCgi(With(OwnCookie()), [] {
    WebMan web;
    const bool authorized = web.IsAuthorized();
    printf("%s %s %s", web.GetLoginUserName().c_str(), web.GetPreferenceDir().c_str(),
           getenv("REMOTE_USER"));
    return authorized ? 1 : 0;
  });
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.output, "alice " + std::string(system::kPreferences) + "/alice alice");
}

TEST_F(SessionRequest, GoesByTheWebServersWordFirst) {
  accounts::Account bob;
  bob.name = "bob";
  accounts::AddAccount(bob);
  const CgiAnswer answer = RunCgi(With(OwnCookie(), {{"REMOTE_USER", "bob"}}), [] {
    WebMan web;
    web.IsAuthorized();
    printf("%s", web.GetLoginUserName().c_str());
    return 0;
  });
  EXPECT_EQ(answer.output, "bob");
  ExpectRefusal(Authorize(With(OwnCookie(), {{"REMOTE_USER", "nobody"}})), "403");
}

TEST_F(SessionRequest, EndsWhenTheGenerationIsRaised) {
  const std::string cookie = OwnCookie();
  EXPECT_EQ(Authorize(With(cookie)).status, 1);
  accounts::EndSessions("alice");
  ExpectRefusal(Authorize(With(cookie)), "401");
  EXPECT_EQ(Authorize(With(OwnCookie())).status, 1);
}

TEST_F(SessionRequest, EndsWithTheAccountAlsoWhenTheNameIsGivenAgain) {
  const std::string cookie = OwnCookie();
  accounts::RemoveAccount("alice");
  ExpectRefusal(Authorize(With(cookie)), "401");
  WebManTest::SetUp();
  accounts::Account alice = *accounts::FindAccount("alice");
  accounts::RemoveAccount("alice");
  accounts::AddAccount(alice);
  ASSERT_NE(accounts::FindAccount("alice")->id, alice.id);
  ExpectRefusal(Authorize(With(cookie)), "401");
}

TEST_F(SessionRequest, EndsWithTheKey) {
  const std::string cookie = OwnCookie();
  std::filesystem::remove(system::kSessionKey);
  ExpectRefusal(Authorize(With(cookie)), "401");
  EXPECT_FALSE(std::filesystem::exists(system::kSessionKey)) << "a cookie makes no key";
  MakeSessionKey();
  ExpectRefusal(Authorize(With(cookie)), "401");
}

TEST_F(SessionRequest, IsAnErrorOfTheServerWhileTheKeyIsDamaged) {
  const std::string cookie = OwnCookie();
  WriteBytes(system::kSessionKey, "short");
  ExpectRefusal(Authorize(With(cookie)), "500");
  EXPECT_EQ(Authorize(With(cookie, {{"REMOTE_USER", "alice"}})).status, 1);
}

TEST_F(SessionRequest, ChangesSomethingByPostOnly) {
  const auto ask = [](CgiRequest request) {
    return RunCgi(request, [] {
      WebMan web;
      return web.IsAuthorized() && web.LoadIn() && web.In("a", nullptr) != nullptr ? 1 : 0;
    });
  };
  const std::string cookie = OwnCookie();
  for (const char *method : {"GET", "HEAD"}) {
    const CgiAnswer answer =
        ask(With(cookie, {{"REQUEST_METHOD", method}, {"QUERY_STRING", "action=add&a=1"}}));
    EXPECT_EQ(answer.status, 0);
    EXPECT_THAT(answer.Headers(), HasSubstr("Status: 405 "));
    EXPECT_THAT(answer.Headers(), HasSubstr("Allow: POST\r\n"));
    EXPECT_EQ(
        ask(With(cookie, {{"REQUEST_METHOD", method}, {"QUERY_STRING", "action=checkempty&a=1"}}))
            .status,
        1);
  }
  EXPECT_EQ(
      ask(With(cookie, {{"REQUEST_METHOD", "POST"}, {"QUERY_STRING", "action=add&a=1"}})).status,
      1);
  EXPECT_EQ(
      ask(With(cookie, {{"REMOTE_USER", "alice"}, {"QUERY_STRING", "action=add&a=1"}})).status, 1)
      << "who sends a password means it";
}

TEST_F(SessionRequest, OfAnotherSiteIsRefused) {
  ExpectRefusal(Authorize(With(OwnCookie(), {{"HTTP_SEC_FETCH_SITE", "cross-site"}})), "403");
}

TEST_F(SessionRequest, IsToldAnotherWayToLogInWhereAPageAsks) {
  for (const char *mode : {"cors", "same-origin", "no-cors"}) {
    EXPECT_THAT(Authorize(With("", {{"HTTP_SEC_FETCH_MODE", mode}})).Headers(),
                HasSubstr("WWW-Authenticate: Session realm=\"playlists\""));
  }
  EXPECT_THAT(Authorize(With("", {{"HTTP_SEC_FETCH_MODE", "navigate"}})).Headers(),
              HasSubstr("WWW-Authenticate: Basic realm=\"playlists\""));
  EXPECT_THAT(Authorize(With("")).Headers(), HasSubstr("WWW-Authenticate: Basic realm="));
}

} // namespace
} // namespace vexo::web
