#pragma once
#include "vexo/web.h"
#include <string>

/// Prints the header lines of an archive that suit the client's browser to standard output, each
/// ended by a line feed alone. Without a browser or a name (null) those that suit every one.
void PrintDownloadHeaders(const _tag_vexo_browser_info_ *browser, const char *file_name);
