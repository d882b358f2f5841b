#include "accounts/passwords.h"

#include "accounts/ownership.h"
#include "files/durable_file.h"
#include "files/edit_file.h"
#include "system/paths.h"
#include "text/text.h"
#include <array>
#include <cerrno>
#include <crypt.h>
#include <memory>
#include <stdexcept>
#include <sys/random.h>
#include <system_error>

namespace vexo::accounts {
namespace {

constexpr unsigned kPasswordFileMode = 0640;

std::string HashPassword(const std::string &password) {
  constexpr const char *kYescrypt = "$y$";
  std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> salt{};
  const auto work = std::make_unique<crypt_data>();
  if (crypt_gensalt_rn(kYescrypt, 0, nullptr, 0, salt.data(), static_cast<int>(salt.size())) ==
          nullptr ||
      crypt_rn(password.c_str(), salt.data(), work.get(), sizeof *work) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "hashing a password");
  }
  return work->output;
}

void CheckPassword(const std::string &password) {
  constexpr std::string_view kForbidden("\0\r\n", 3);
  if (password.empty() || password.size() > CRYPT_MAX_PASSPHRASE_SIZE ||
      password.find_first_of(kForbidden) != std::string::npos) {
    throw std::invalid_argument("a password has 1 to 512 bytes and no line breaks");
  }
}

void MakePasswordFileIfMissing() {
  if (files::CreateDurably(system::kPasswordFile, "", kPasswordFileMode)) {
    InheritOwner(system::kPasswordFile);
  }
}

/// The lines of `text` but that of `name`.
std::string WithoutName(std::string_view text, std::string_view name) {
  const std::string prefix = std::string(name) + ":";
  std::string kept;
  for (const std::string &line : text::Split(text, "\n")) {
    if (!line.starts_with(prefix)) {
      kept += line + "\n";
    }
  }
  return kept;
}

/// Puts `line` in the place of the lines of `name`.
void ReplaceLine(std::string_view name, const std::string &line) {
  MakePasswordFileIfMissing();
  if (!files::EditTextDurably(system::kPasswordFile, [&](std::string_view text) {
        return WithoutName(text, name) + line;
      })) {
    throw std::runtime_error(std::string("there is no file ") + system::kPasswordFile);
  }
}

} // namespace

void SetPassword(std::string_view name, const std::string &password) {
  CheckPassword(password);
  ReplaceLine(name, std::string(name) + ":" + HashPassword(password) + "\n");
}

void RemovePassword(std::string_view name) { ReplaceLine(name, ""); }

std::string GeneratePassword() {
  constexpr std::string_view kLetters = "abcdefghijkmnpqrstuvwxyz23456789";
  static_assert(kLetters.size() == 32, "five bits a letter");
  std::array<unsigned char, 20> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw std::system_error(errno, std::generic_category(), "getrandom");
  }
  std::string password;
  for (const unsigned char byte : random) {
    password += kLetters[byte % kLetters.size()];
  }
  return password;
}

} // namespace vexo::accounts
