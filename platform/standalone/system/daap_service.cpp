#include "system/daap_service.h"

#include "system/config.h"
#include "system/run_program.h"
#include "text/text.h"
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexo::system {
namespace {

void RunCommand(const std::string &command) {
  std::vector<std::string> words = text::Split(command, " ");
  const std::string program = words.front();
  words.erase(words.begin());
  if (!program.starts_with('/')) {
    throw std::runtime_error("the restart command must begin with an absolute path: " + command);
  }
  const int status = RunProgram(program, words).value_or(-1);
  if (status != 0) {
    throw std::runtime_error(command + ": exit status " + std::to_string(status));
  }
}

} // namespace

void RestartDaapService() {
  const std::optional<std::string> command = Setting("daap", "restart");
  if (command && !text::Trim(*command).empty()) {
    RunCommand(std::string(text::Trim(*command)));
  }
}

} // namespace vexo::system
