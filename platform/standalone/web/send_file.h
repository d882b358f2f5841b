#pragma once
// Files and streams as whole answers, with the headers that belong to them. False: nothing was
// sent, or not all, and nothing more will be.

#include <cstdio>

namespace vexo::web {

/// Sends a song as an attachment of its own name. Only what the login user may have is sent.
[[nodiscard]] bool SendFile(const char *path, const char *content_type);

/// Sends what `stream` yields until its end, as an attachment called `file_name`.
[[nodiscard]] bool SendStream(FILE *stream, const char *file_name, const char *content_type);

/// Begins an answer that says that the server failed: status 500. The program prints its body.
void PrintServerError();

} // namespace vexo::web
