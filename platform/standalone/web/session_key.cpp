#include "web/session_key.h"

#include "accounts/ownership.h"
#include "files/durable_file.h"
#include "files/file_io.h"
#include "system/paths.h"
#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <sys/random.h>
#include <system_error>

namespace vexo::web {
namespace {

std::string RandomBytes(std::size_t count) {
  std::string bytes(count, '\0');
  if (getrandom(bytes.data(), count, 0) != static_cast<ssize_t>(count)) {
    throw std::system_error(errno, std::generic_category(), "getrandom");
  }
  return bytes;
}

} // namespace

std::optional<SessionKey> FindSessionKey() {
  SessionKey key{};
  const std::optional<std::string> bytes = files::ReadWholeFile(system::kSessionKey);
  if (!bytes) {
    return std::nullopt;
  }
  if (bytes->size() != key.size()) {
    throw std::runtime_error(std::string("no key of 32 bytes: ") + system::kSessionKey);
  }
  std::copy(bytes->begin(), bytes->end(), key.begin());
  return key;
}

SessionKey MakeSessionKey() {
  constexpr unsigned kOwnOnly = 0600;
  if (const std::optional<SessionKey> key = FindSessionKey()) {
    return *key;
  }
  if (files::CreateDurably(system::kSessionKey, RandomBytes(SessionKey().size()), kOwnOnly)) {
    accounts::InheritOwner(system::kSessionKey);
  }
  return FindSessionKey().value();
}

} // namespace vexo::web
