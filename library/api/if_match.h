#pragma once
#include <string>

namespace vexo::api {

/// Whether this process's request may change what has that version: it carries no If-Match
/// (RFC 9110, 13.1.1), or one with the version, or "*". One that cannot be read matches nothing.
bool MeetsIfMatch(const std::string &version);

} // namespace vexo::api
