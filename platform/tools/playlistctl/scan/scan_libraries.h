#pragma once
#include <string>

namespace vexo::tools {

/// Brings the index up to date with the files of the libraries, and reports to the standard error.
/// `name` is "shared", a user's (the personal library), or empty: all. `forget_all`: also forget
/// the songs of a library that is empty. False: a library could not be read whole. Throws while
/// another scan is at work.
bool ScanLibraries(const std::string &name, bool forget_all);

} // namespace vexo::tools
