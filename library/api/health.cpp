// Whether this machine can serve: for what stands in front of several, and asks often.
#include "accounts/libraries.h"
#include "api/resources.h"
#include "index/media_index.h"

#include <chrono>

namespace vexo::api {

Answer Health(Request & /*request*/) {
  // Anybody may ask, and who waits for the answer soon takes silence for one.
  constexpr std::chrono::seconds kPatience{3};
  // Throws when the index cannot be asked.
  (void)index::OpenIndexAt(index::MediaIndexUrl(), kPatience)->Revision();
  const std::optional<std::string> library = accounts::SharedLibraryFolder();
  if (!library || !accounts::RealPath(*library)) {
    return ProblemAnswer({503, "The shared library is not there.", {}});
  }
  return NoContent();
}

} // namespace vexo::api
