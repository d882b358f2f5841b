#include "playlistctl/doctor/findings.h"

#include <exception>

namespace vexo::tools {

void Findings::Found(const std::string &what, const std::function<void()> &mend) {
  if (!repair_) {
    output_.Line(what);
  }
  if (!repair_ || !Mend(what, mend)) {
    ++open_;
  }
}

void Findings::Warn(const std::string &what, const std::function<void()> &mend) {
  if (repair_) {
    Mend(what, mend);
  } else {
    output_.Line("note: " + what);
  }
}

bool Findings::Mend(const std::string &what, const std::function<void()> &mend) {
  try {
    mend();
    output_.Line("mended: " + what);
    return true;
  } catch (const std::exception &error) {
    output_.Line("not mended: " + what + ": " + error.what());
    return false;
  }
}

} // namespace vexo::tools
