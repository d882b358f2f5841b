// iTunesServiceCheckAndReStart of vexo/itunes.h: the command of `[daap] restart=`.

#include "services/boundary.h"
#include "services/config.h"
#include "services/run_program.h"
#include "text/text.h"
#include "vexo/itunes.h"
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace vexo;

void RunCommand(const std::string &command) {
  std::vector<std::string> words = text::Split(command, " ");
  const std::string program = words.front();
  words.erase(words.begin());
  if (!program.starts_with('/')) {
    throw std::runtime_error("the restart command must begin with an absolute path: " + command);
  }
  const int status = services::RunProgram(program, words);
  if (status != 0) {
    throw std::runtime_error(command + ": exit status " + std::to_string(status));
  }
}

} // namespace

int iTunesServiceCheckAndReStart() {
  return services::Guarded("iTunesServiceCheckAndReStart", -1, [] {
    const std::optional<std::string> command = services::Setting("daap", "restart");
    if (command && !text::Trim(*command).empty()) {
      RunCommand(std::string(text::Trim(*command)));
    }
    return 0;
  });
}
