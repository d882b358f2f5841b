#include "web/login_throttle.h"

#include "accounts/ownership.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include "files/temporary_file.h"
#include "system/shared_state.h"
#include "web/keyed_hash.h"
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace vexo::web {
namespace {

/// As it stands in the file.
struct Failures {
  int64_t last; ///< when, in seconds since 1970
  uint32_t count;
  uint32_t unused;
};
static_assert(sizeof(Failures) == 16);

/// Half of the places are for accounts, half for addresses.
constexpr uint32_t kPlaces = 4096;

/// How often passwords were tried in vain, on any machine.
const std::string &AttemptsPath() {
  static const std::string path = system::SharedStatePath("login_attempts");
  return path;
}

[[noreturn]] void Fail() {
  throw std::system_error(errno, std::generic_category(), AttemptsPath());
}

/// The counts, locked for as long as this lives.
class Counts {
public:
  Counts() : file_(open(AttemptsPath().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)) {
    if (!file_) {
      Fail();
    }
    files::LockExclusively(file_.get(), AttemptsPath());
    accounts::InheritOwner(AttemptsPath());
  }

  [[nodiscard]] Failures Read(uint32_t place) const {
    Failures failures{};
    if (pread(file_.get(), &failures, sizeof failures, Offset(place)) < 0) {
      Fail();
    }
    return failures;
  }

  void Write(uint32_t place, const Failures &failures) const {
    if (pwrite(file_.get(), &failures, sizeof failures, Offset(place)) != sizeof failures) {
      Fail();
    }
  }

private:
  static off_t Offset(uint32_t place) { return off_t{place} * off_t{sizeof(Failures)}; }
  files::FileDescriptor file_;
};

/// The network that an address belongs to, which is as much as one client has.
std::string NetworkOf(std::string_view address) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  constexpr std::array<unsigned char, 12> kMapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
  constexpr std::size_t kNetworkBytes = 8;
  std::string text(address);
  if (inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) {
    return text;
  }
  if (std::equal(kMapped.begin(), kMapped.end(), bytes.begin())) { // an IPv4 address, RFC 4291
    std::array<char, INET_ADDRSTRLEN> plain{};
    return inet_ntop(AF_INET, bytes.data() + kMapped.size(), plain.data(), plain.size());
  }
  return {bytes.begin(), bytes.begin() + kNetworkBytes};
}

uint32_t PlaceOf(const char *purpose, std::string_view text, uint32_t first) {
  const KeyedHash hash = HashWithKey(MakeSessionKey(), purpose, text);
  uint32_t number = 0;
  std::memcpy(&number, hash.data(), sizeof number);
  return first + number % kPlaces;
}

uint32_t AccountPlace(std::string_view name) { return PlaceOf("login account", name, 0); }
uint32_t AddressPlace(std::string_view address) {
  return PlaceOf("login address", NetworkOf(address), kPlaces);
}

bool AreForgotten(const Failures &failures, int64_t now) {
  return failures.last <= now - kForgetSeconds;
}

int64_t WaitOf(const Failures &failures, const Patience &patience, int64_t now) {
  if (failures.count < patience.free_failures || AreForgotten(failures, now)) {
    return 0;
  }
  constexpr uint32_t kMostDoublings = 30;
  const uint32_t doublings = std::min(failures.count - patience.free_failures, kMostDoublings);
  const int64_t wait = std::min(int64_t{1} << doublings, patience.longest_wait_seconds);
  return std::max<int64_t>(failures.last + wait - now, 0);
}

Failures WithOneMore(const Failures &failures, int64_t now) {
  const uint32_t count = AreForgotten(failures, now) ? 0 : failures.count;
  return {now, count == UINT32_MAX ? count : count + 1, 0};
}

/// The failures at a place. Those of the future, as of a clock that was set back since, become
/// failures of now: else the wait would last until that time.
Failures ReadUntil(int64_t now, const Counts &counts, uint32_t place) {
  Failures failures = counts.Read(place);
  if (failures.last > now) {
    failures.last = now;
    counts.Write(place, failures);
  }
  return failures;
}

} // namespace

int64_t CountLogin(std::string_view name, std::string_view address, int64_t now) {
  const uint32_t account = AccountPlace(name), network = AddressPlace(address);
  const Counts counts;
  const Failures of_account = ReadUntil(now, counts, account);
  const Failures of_address = ReadUntil(now, counts, network);
  const int64_t wait = std::max(WaitOf(of_account, kPatienceWithAccount, now),
                                WaitOf(of_address, kPatienceWithAddress, now));
  if (wait == 0) {
    counts.Write(account, WithOneMore(of_account, now));
    counts.Write(network, WithOneMore(of_address, now));
  }
  return wait;
}

void ForgiveLogin(std::string_view name, std::string_view address) {
  const uint32_t account = AccountPlace(name), network = AddressPlace(address);
  const Counts counts;
  counts.Write(account, {});
  Failures of_address = counts.Read(network);
  of_address.count -= of_address.count == 0 ? 0 : 1;
  counts.Write(network, of_address);
}

} // namespace vexo::web
