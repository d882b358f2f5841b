#include "playlistctl/doctor_command.h"

#include "doctor/doctor.h"
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>
#include <iostream>
#include <memory>

namespace vexo::tools {
namespace {

void Examine(const DoctorOptions &options) {
  StreamOutput output(std::cout, 0);
  if (ExamineHost(options, output) > 0) {
    throw CLI::RuntimeError(1);
  }
  output.Line("all is well");
}

} // namespace

void AddDoctorCommand(CLI::App &program) {
  const auto options = std::make_shared<DoctorOptions>();
  CLI::App *const command = program.add_subcommand(
      "doctor", "Compares files and index, and finds what crashes have left");
  command->add_flag("--repair", options->repair, "Mend what is found");
  command->callback([options] { Examine(*options); });
}

} // namespace vexo::tools
