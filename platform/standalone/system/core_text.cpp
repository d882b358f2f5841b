// The text helpers of vexo/core.h.
#include "system/boundary.h"
#include "system/config.h"
#include "text/code_page.h"
#include "text/string_list.h"
#include "text/text.h"
#include "vexo/core.h"
#include <cstring>
#include <new>

using vexo::system::Guarded;

PSZLIST VLIBCSzListAlloc(int size) {
  if (size < 0) {
    return nullptr;
  }
  return new (std::nothrow) VLIBCSzList;
}

void VLIBCSzListFree(PSZLIST list) { delete list; }

int VLIBCStrSep(const char *text, const char *separator, PSZLIST *list) {
  return Guarded("VLIBCStrSep", -1, [&] {
    if (text == nullptr || separator == nullptr || *separator == '\0' || list == nullptr ||
        *list == nullptr) {
      return -1;
    }
    std::vector<std::string> pieces = vexo::text::Split(text, separator);
    std::vector<std::string> &texts = (*list)->texts;
    texts.insert(texts.end(), pieces.begin(), pieces.end());
    return static_cast<int>(pieces.size());
  });
}

int VLIBCStrTrimSpace(char *text, int mode) {
  if (text == nullptr || mode != 0) {
    return -1;
  }
  const std::string_view trimmed = vexo::text::Trim(text);
  std::memmove(text, trimmed.data(), trimmed.size());
  text[trimmed.size()] = '\0';
  return 0;
}

int VLIBCCodePageGet(int which, int *codePage) {
  constexpr int kHostTexts = 2;
  return Guarded("VLIBCCodePageGet", -1, [&] {
    if (which != kHostTexts || codePage == nullptr) {
      return -1;
    }
    *codePage = vexo::system::HostCodePage();
    return 0;
  });
}

int VLIBCUnicodeStrUTF8ToCP(int codePage, const char *utf8, char *buffer, int size) {
  return Guarded("VLIBCUnicodeStrUTF8ToCP", -1, [&] {
    if (utf8 == nullptr || buffer == nullptr) {
      return -1;
    }
    const std::optional<std::string> bytes = vexo::text::FromUtf8(codePage, utf8);
    if (!bytes || !vexo::system::CopyOut(bytes->c_str(), buffer, size)) {
      return -1;
    }
    return static_cast<int>(bytes->size());
  });
}
