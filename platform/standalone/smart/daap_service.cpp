// iTunesServiceCheckAndReStart of vexo/itunes.h: the command of `[daap] restart=`.

#include "system/boundary.h"
#include "system/config.h"
#include "system/run_program.h"
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
  const int status = system::RunProgram(program, words);
  if (status != 0) {
    throw std::runtime_error(command + ": exit status " + std::to_string(status));
  }
}

} // namespace

int iTunesServiceCheckAndReStart() {
  return system::Guarded("iTunesServiceCheckAndReStart", -1, [] {
    const std::optional<std::string> command = system::Setting("daap", "restart");
    if (command && !text::Trim(*command).empty()) {
      RunCommand(std::string(text::Trim(*command)));
    }
    return 0;
  });
}
