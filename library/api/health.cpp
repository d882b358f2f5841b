// Whether this machine can serve: for what stands in front of several, and asks often.
#include "accounts/libraries.h"
#include "api/resources.h"
#include "index/media_index.h"

namespace vexo::api {

Answer Health(Request & /*request*/) {
  (void)index::ProcessIndex().Revision(); // throws when the index cannot be asked
  const std::optional<std::string> library = accounts::SharedLibraryFolder();
  if (!library || !accounts::RealPath(*library)) {
    return ProblemAnswer({503, "The shared library is not there.", {}});
  }
  return NoContent();
}

} // namespace vexo::api
