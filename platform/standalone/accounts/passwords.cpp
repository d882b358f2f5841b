#include "accounts/passwords.h"

#include "accounts/ownership.h"
#include "files/durable_file.h"
#include "files/edit_file.h"
#include "files/file_io.h"
#include "system/paths.h"
#include "text/text.h"
#include <array>
#include <cerrno>
#include <crypt.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <sys/random.h>
#include <system_error>

namespace vexo::accounts {
namespace {

constexpr unsigned kPasswordFileMode = 0640;

/// The hash of `password` with the method and salt of `setting`, which may be a hash; nothing when
/// it is of no method that is known.
std::optional<std::string> Hash(const std::string &password, const std::string &setting) {
  const auto work = std::make_unique<crypt_data>();
  if (crypt_rn(password.c_str(), setting.c_str(), work.get(), sizeof *work) == nullptr) {
    return std::nullopt;
  }
  return work->output;
}

std::string HashAnew(const std::string &password) {
  constexpr const char *kYescrypt = "$y$";
  std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> salt{};
  std::optional<std::string> hash;
  if (crypt_gensalt_rn(kYescrypt, 0, nullptr, 0, salt.data(), static_cast<int>(salt.size())) !=
      nullptr) {
    hash = Hash(password, salt.data());
  }
  if (!hash) {
    throw std::system_error(errno, std::generic_category(), "hashing a password");
  }
  return *hash;
}

/// The hash in the first line of `name`; nothing when it has none.
std::optional<std::string> FindHash(std::string_view name) {
  const std::string prefix = std::string(name) + ":";
  const std::optional<std::string> text = files::ReadWholeFile(system::kPasswordFile);
  for (const std::string &line : text::Split(text.value_or(""), "\n")) {
    if (line.starts_with(prefix)) {
      return line.substr(prefix.size());
    }
  }
  return std::nullopt;
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

bool CanBePassword(std::string_view password) {
  constexpr std::string_view kForbidden("\0\r\n", 3);
  return !password.empty() && password.size() <= CRYPT_MAX_PASSPHRASE_SIZE &&
         password.find_first_of(kForbidden) == std::string_view::npos;
}

void SetPassword(std::string_view name, const std::string &password) {
  if (!CanBePassword(password)) {
    throw std::invalid_argument("a password has 1 to 512 bytes and no line breaks");
  }
  ReplaceLine(name, std::string(name) + ":" + HashAnew(password) + "\n");
}

void RemovePassword(std::string_view name) { ReplaceLine(name, ""); }

bool VerifyPassword(std::string_view name, const std::string &password) {
  if (!CanBePassword(password)) {
    return false;
  }
  const std::optional<std::string> expected = FindHash(name);
  const std::optional<std::string> hash = expected ? Hash(password, *expected) : std::nullopt;
  if (!hash) {
    HashAnew(password); // takes as long, and opens nothing
    return false;
  }
  return text::EqualInConstantTime(*hash, *expected);
}

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
