#include "export/download_headers.h"

#include "vexo/core.h"
#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kSystemCodePage = 2;
constexpr std::size_t kNameSize = 2048;

/// The name as a quoted text in a header can hold it: what would end the text or the line is
/// replaced. `more` are further such characters.
std::string Quotable(std::string name, const char *more) {
  std::replace_if(
      name.begin(), name.end(),
      [more](char c) { return (c & 0xE0) == 0 || c == 0x7F || std::strchr(more, c) != nullptr; },
      '_');
  return name;
}

/// The name in the code page of the system; in UTF-8 when that cannot be.
std::string NameForOldBrowser(const char *file_name) {
  std::string name = Quotable(file_name, "\"\\");
  char converted[kNameSize] = {};
  int code_page = 0;
  if (VLIBCCodePageGet(kSystemCodePage, &code_page) == 0 &&
      VLIBCUnicodeStrUTF8ToCP(code_page, name.c_str(), converted, sizeof(converted)) != -1) {
    // A backslash is allowed now: it may be the second byte of a character.
    name = Quotable(converted, "\"");
  }
  return name;
}

void PrintForTypeOne(const char *version, const char *file_name) {
  if (version[0] == '6') {
    std::printf("Content-Disposition: attachment; filename=\"%s\" \n",
                NameForOldBrowser(file_name).c_str());
    return;
  }
  std::fputs("X-Download-Options: noopen\nContent-Disposition: attachment;\n", stdout);
}

} // namespace

void PrintDownloadHeaders(const _tag_vexo_browser_info_ *browser, const char *file_name) {
  if (browser != nullptr && file_name != nullptr) {
    if (browser->type == 1) {
      PrintForTypeOne(browser->version, file_name);
    } else if (browser->type == 2) {
      std::fputs("Content-Disposition: attachment;\n", stdout);
    }
  }
  std::fputs("Accept-Ranges: none\n", stdout);
}
