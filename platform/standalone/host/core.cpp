// The host's core utilities.
#include "vexo/core.h"

#include "host/arguments.h"
#include "host/core.h"
#include "host/guard.h"
#include "system/admin_log.h"
#include "system/config.h"
#include "system/run_program.h"
#include "text/code_page.h"
#include "text/text.h"
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

using namespace vexo;
using namespace vexo::host;

PSZLIST VLIBCSzListAlloc(int size) {
  if (size < 0) {
    return nullptr;
  }
  return new (std::nothrow) VLIBCSzList;
}

void VLIBCSzListFree(PSZLIST list) { delete list; }

int VLIBCStrSep(const char *text, const char *separator, PSZLIST *list) {
  return Guarded(-1, [&] {
    if (text == nullptr || separator == nullptr || *separator == '\0' || list == nullptr ||
        *list == nullptr) {
      return -1;
    }
    std::vector<std::string> pieces = text::Split(text, separator);
    std::vector<std::string> &texts = (*list)->texts;
    texts.insert(texts.end(), pieces.begin(), pieces.end());
    return static_cast<int>(pieces.size());
  });
}

int VLIBCStrTrimSpace(char *text, int mode) {
  if (text == nullptr || mode != 0) {
    return -1;
  }
  const std::string_view trimmed = text::Trim(text);
  std::memmove(text, trimmed.data(), trimmed.size());
  text[trimmed.size()] = '\0';
  return 0;
}

int VLIBCCodePageGet(int which, int *codePage) {
  constexpr int kHostTexts = 2;
  return Guarded(-1, [&] {
    if (which != kHostTexts || codePage == nullptr) {
      return -1;
    }
    *codePage = system::HostCodePage();
    return 0;
  });
}

int VLIBCUnicodeStrUTF8ToCP(int codePage, const char *utf8, char *buffer, int size) {
  return Guarded(-1, [&] {
    if (utf8 == nullptr || buffer == nullptr) {
      return -1;
    }
    const std::optional<std::string> bytes = text::FromUtf8(codePage, utf8);
    if (!bytes || !CopyOut(bytes->c_str(), buffer, size)) {
      return -1;
    }
    return static_cast<int>(bytes->size());
  });
}

int VLIBCExec(const char *path, const char *arg1, const char *arg2, const char *arg3,
              const char *arg4) {
  return Guarded(-1, [&] {
    std::vector<std::string> arguments;
    for (const char *argument : {arg1, arg2, arg3, arg4}) {
      if (argument == nullptr) {
        break;
      }
      arguments.emplace_back(argument);
    }
    return path == nullptr ? -1 : system::RunProgram(path, arguments).value_or(-1);
  });
}

int VEXOLogSet1(int /*kind*/, int /*level*/, unsigned event, const char *text, const char *a,
                const char *b, const char *c) {
  return Guarded(-1, [&] {
    std::vector<std::string> texts;
    for (const char *part : {text, a, b, c}) {
      if (part != nullptr && *part != '\0') {
        texts.emplace_back(part);
      }
    }
    system::AppendAdminLog(event, texts);
    return 0;
  });
}

int VEXOAudioConfGet(const char *key, char *buffer, int size) {
  return Guarded(0, [&] {
    if (key == nullptr || buffer == nullptr) {
      return 0;
    }
    const std::optional<std::string> value = system::Setting("audio", key);
    if (!value || !CopyOut(value->c_str(), buffer, size)) {
      return 0;
    }
    return static_cast<int>(value->size()) + 1;
  });
}
