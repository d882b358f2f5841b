#pragma once
// How often a password may be tried. Failures are counted by account, whether there is one of the
// name or not, and by address; beyond some, each makes the next try wait twice as long. The counts
// stand in login_attempts, a file of 128 KiB at most: a name or address has one place in it, found
// by the server's key, so that nobody can choose whose place to share. An hour after the last
// failure they are forgotten.

#include <cstdint>
#include <string_view>

namespace vexo::web {

/// So many failures cost nothing, then come waits of 1, 2, 4, ... up to this many seconds.
struct Patience {
  uint32_t free_failures;
  int64_t longest_wait_seconds;
};
/// A stranger can make the user of an account wait so long, and no longer.
inline constexpr Patience kPatienceWithAccount{5, 60};
/// A household may share an address.
inline constexpr Patience kPatienceWithAddress{20, 900};
inline constexpr int64_t kForgetSeconds = 3600;

/// How many seconds a try has to wait at the time `now`. 0: it may be made now, and is counted as a
/// failure beforehand, so that many at once get no further than one after the other. IPv6 addresses
/// count by their network (the first 64 bits). Throws std::system_error.
int64_t CountLogin(std::string_view name, std::string_view address, int64_t now);

/// The try has succeeded: takes it back from the address, and forgets all failures of the account.
void ForgiveLogin(std::string_view name, std::string_view address);

} // namespace vexo::web
