// WebMan of vexo/web.h: one CGI request.
#include "accounts/accounts.h"
#include "host/guard.h"
#include "vexo/web.h"
#include "web/admission.h"
#include "web/browser.h"
#include "web/envelope.h"
#include "web/request.h"

using vexo::accounts::Account;
using vexo::host::Guarded;
namespace web = vexo::web;

namespace {

std::optional<Account> LoginAccount() {
  const std::optional<std::string_view> user = web::Variable("REMOTE_USER");
  return user ? vexo::accounts::FindAccount(*user) : std::nullopt;
}

} // namespace

struct WebMan::State {
  web::Parameters parameters;
  std::optional<Account> account; ///< of the login user, once it is known
};

WebMan::WebMan() : state_(std::make_unique<State>()) {}
WebMan::~WebMan() = default;

bool WebMan::IsAuthorized(const char * /*privilege*/, int /*level*/,
                          _tag_cgi_position /*position*/) {
  if (const std::optional<web::Refusal> refusal = web::RefusalOfRequest()) {
    web::PrintRefusal(*refusal);
    return false;
  }
  const bool read = Guarded(false, [&] {
    state_->account = LoginAccount();
    return true;
  });
  if (!state_->account) {
    web::PrintRefusal(read ? web::Refusal::kNoAccount : web::Refusal::kNoAccounts);
    return false;
  }
  return true;
}

bool WebMan::LoadIn() {
  return Guarded(false, [&] {
    if (!state_->parameters.Load()) {
      return false;
    }
    const std::optional<web::Refusal> refusal =
        web::RefusalOfAction(state_->parameters, state_->account);
    if (refusal) {
      state_->parameters.Clear();
      web::PrintRefusal(*refusal);
    }
    return !refusal;
  });
}

const char *WebMan::In(const char *name, const char *fallback) const {
  const char *const value = name == nullptr ? nullptr : state_->parameters.Find(name);
  return value == nullptr ? fallback : value;
}

std::string WebMan::GetLoginUserName() const {
  return state_->account ? state_->account->name : std::string();
}

std::string WebMan::GetPreferenceDir() const {
  return state_->account ? state_->account->preference_folder : std::string();
}

int WebMan::GetBrowserInfo(_tag_vexo_browser_info_ *info) const {
  return Guarded(-1, [&] {
    if (info == nullptr) {
      return -1;
    }
    web::BrowserFromUserAgent(web::Variable("HTTP_USER_AGENT").value_or(""), info);
    return 0;
  });
}
