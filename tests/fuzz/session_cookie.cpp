// The cookies of a request: a session that is found was signed with the key.
#include "web/session.h"
#include <cstdint>
#include <cstdlib>

using vexo::web::FindSession;
using vexo::web::SignSession;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  constexpr int64_t kNow = 1'800'000'000;
  const vexo::web::SessionKey key{};
  const std::string_view cookies(reinterpret_cast<const char *>(data), size);
  const auto session = FindSession(cookies, key, kNow);
  const bool signed_by_us =
      session && cookies.find("vexo_session=" + SignSession(*session, key)) != cookies.npos &&
      session->issued <= kNow + vexo::web::kClockSkewSeconds &&
      kNow - session->issued < vexo::web::kSessionSeconds;
  if (session && !signed_by_us) {
    std::abort();
  }
  return 0;
}
