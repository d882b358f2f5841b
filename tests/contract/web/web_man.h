#pragma once
// A request to WebMan, whose user is alice unless it says otherwise.

#include "accounts/accounts.h"
#include "contract/web/cgi_process.h"
#include "support/device_root.h"
#include "vexo/web.h"
#include <gmock/gmock.h>
#include <json/json.h>
#include <map>
#include <string>

class WebManTest : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    vexo::accounts::Account account;
    account.name = "alice";
    vexo::accounts::AddAccount(account);
  }

  static CgiRequest RequestOf(std::map<std::string, std::string> environment) {
    environment.try_emplace("REMOTE_USER", "alice");
    environment.try_emplace("HTTP_HOST", "music.local:8080");
    environment.try_emplace("REQUEST_METHOD", "GET");
    return {environment, ""};
  }

  static CgiRequest Post(const std::string &type, const std::string &body,
                         const std::string &query = "") {
    CgiRequest request = RequestOf({{"REQUEST_METHOD", "POST"},
                                    {"CONTENT_TYPE", type},
                                    {"CONTENT_LENGTH", std::to_string(body.size())},
                                    {"QUERY_STRING", query}});
    request.body = body;
    return request;
  }

  /// The exit status is 1 when the request is authorized.
  static CgiAnswer Authorize(const CgiRequest &request) {
    return RunCgi(request, [] { return WebMan().IsAuthorized() ? 1 : 0; });
  }

  /// Loads the request; the exit status is 1 when "a" is then there.
  static CgiAnswer Load(const CgiRequest &request) {
    return RunCgi(request, [] {
      WebMan web;
      const bool loaded = web.LoadIn();
      return loaded && web.In("a", nullptr) != nullptr ? 1 : 0;
    });
  }

  /// What In() finds under "a" and "b" once the request is loaded: "loaded a=... b=...".
  static std::string Loaded(const CgiRequest &request) {
    return RunCgi(request,
                  [] {
                    WebMan web;
                    const bool loaded = web.LoadIn();
                    printf("%s a=%s b=%s", loaded ? "loaded" : "refused", web.In("a", "none"),
                           web.In("b", "none"));
                    return 0;
                  })
        .output;
  }
};

inline void ExpectRefusal(const CgiAnswer &answer, const std::string &status) {
  EXPECT_EQ(answer.status, 0);
  EXPECT_THAT(answer.Headers(), ::testing::HasSubstr("Status: " + status + " "));
  EXPECT_THAT(answer.Body(), ::testing::MatchesRegex("\\{[^\n]*\\}\n"));
  Json::Value body;
  EXPECT_TRUE(Json::Reader().parse(answer.Body(), body));
  EXPECT_FALSE(body["success"].asBool());
}
