#include "accounts/accounts_file.h"

#include "text/numbers.h"
#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <stdexcept>

namespace vexo::accounts {
namespace {

constexpr std::string_view kFormat = "vexo-accounts-1";

bool IsNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

[[noreturn]] void FailAt(std::size_t line, const char *what) {
  throw std::runtime_error("accounts file, line " + std::to_string(line) + ": " + what);
}

/// Cuts `text` at its first `separator` and gives the part before it; `text` keeps the rest.
std::string_view TakeUntil(std::string_view &text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

int ParseId(std::string_view text, std::size_t line) {
  const std::optional<int64_t> id = text::ParseInteger(text);
  if (!id || *id < 1 || *id > std::numeric_limits<int>::max()) {
    FailAt(line, "not an id");
  }
  return static_cast<int>(*id);
}

bool ParseSwitch(std::string_view text, std::size_t line) {
  if (text != "on" && text != "off") {
    FailAt(line, "neither on nor off");
  }
  return text == "on";
}

std::string ParseFolder(std::string_view text, std::size_t line) {
  if (!text.starts_with('/')) {
    FailAt(line, "not an absolute folder");
  }
  return std::string(text);
}

int64_t ParseGeneration(std::string_view text, std::size_t line) {
  const std::optional<int64_t> generation = text::ParseInteger(text);
  if (!generation || *generation < 0 || *generation == std::numeric_limits<int64_t>::max()) {
    FailAt(line, "not a generation");
  }
  return *generation;
}

void ParseNamedField(std::string_view field, std::size_t line, Account &account) {
  if (field.find('=') == std::string_view::npos) {
    FailAt(line, "a field without a name");
  }
  std::string_view value = field;
  const std::string_view name = TakeUntil(value, '=');
  if (name == "admin") {
    account.admin = ParseSwitch(value, line);
  } else if (name == "generation") {
    account.generation = ParseGeneration(value, line);
  } else {
    account.unknown_fields.append("\t").append(field);
  }
}

Account ParseAccount(std::string_view fields, std::size_t line) {
  if (std::count(fields.begin(), fields.end(), '\t') < 4) {
    FailAt(line, "not five fields");
  }
  Account account;
  account.id = ParseId(TakeUntil(fields, '\t'), line);
  account.name = TakeUntil(fields, '\t');
  if (!IsAccountName(account.name)) {
    FailAt(line, "not an account name");
  }
  account.personal_library = ParseSwitch(TakeUntil(fields, '\t'), line);
  account.personal_folder = ParseFolder(TakeUntil(fields, '\t'), line);
  account.preference_folder = ParseFolder(TakeUntil(fields, '\t'), line);
  while (!fields.empty()) {
    ParseNamedField(TakeUntil(fields, '\t'), line, account);
  }
  return account;
}

/// Fields that are as by default are left out, so that older versions read the file.
std::string FormatAccount(const Account &account) {
  return std::to_string(account.id) + '\t' + account.name + '\t' +
         (account.personal_library ? "on" : "off") + '\t' + account.personal_folder + '\t' +
         account.preference_folder + (account.admin ? "\tadmin=on" : "") +
         (account.generation > 0 ? "\tgeneration=" + std::to_string(account.generation) : "") +
         account.unknown_fields + '\n';
}

int ParseHeader(std::string_view header) {
  if (TakeUntil(header, '\t') != kFormat) {
    FailAt(1, "not of a format that is known");
  }
  return ParseId(header, 1);
}

} // namespace

bool IsAccountName(std::string_view name) {
  constexpr std::size_t kLongestName = 64;
  return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
         std::all_of(name.begin(), name.end(), IsNameCharacter);
}

AccountsFile ParseAccounts(std::string_view text) {
  AccountsFile file;
  file.next_id = ParseHeader(TakeUntil(text, '\n'));
  for (std::size_t line = 2; !text.empty(); ++line) {
    const std::string_view fields = TakeUntil(text, '\n');
    if (fields.empty() || fields.front() == '#') {
      continue;
    }
    file.accounts.push_back(ParseAccount(fields, line));
    if (file.accounts.back().id >= file.next_id) {
      FailAt(line, "an id that was not given away yet");
    }
  }
  return file;
}

std::string FormatAccounts(const AccountsFile &file) {
  std::string text = std::string(kFormat) + '\t' + std::to_string(file.next_id) + '\n';
  for (const Account &account : file.accounts) {
    text += FormatAccount(account);
  }
  return text;
}

} // namespace vexo::accounts
