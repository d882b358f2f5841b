#include "export/song_links.h"

#include "model/field_text.h"
#include "model/log_line.h"
#include <cerrno>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool Exists(const char *name) {
  struct stat status {};
  return lstat(name, &status) == 0;
}

/// Links the song under its base name unless that is taken; true when it is.
bool IsTaken(const char *path, const char *base) {
  if (symlink(path, base) == 0) {
    return false;
  }
  if (errno != EEXIST) {
    LOG_LINE("Failed to link the file from %s to %s.", path, base);
    return false;
  }
  return true;
}

/// The name of a link to another song of the same base name.
std::string LinkWithNumber(TakenNumbers &taken, const char *path, const char *base) {
  char name[kPathSize];
  int &number = taken[base];
  do {
    PrintToField(name, sizeof(name), "%d_%s", number, base);
    ++number;
  } while (Exists(name));
  if (symlink(path, name) != 0) {
    LOG_LINE("Failed to link the file from %s to %s(err=%s).", path, name, std::strerror(errno));
    --number;
    return base;
  }
  return name;
}

} // namespace

std::string LinkSongIntoDir(TakenNumbers &taken, const char *path) {
  if (strncasecmp(path, "http", 4) == 0) {
    return path;
  }
  const char *slash = std::strrchr(path, '/');
  if (slash == nullptr) {
    return "";
  }
  const char *base = slash + 1;
  if (!IsTaken(path, base)) {
    return base;
  }
  char target[kPathSize] = {};
  if (readlink(base, target, sizeof(target) - 1) < 0) {
    LOG_LINE("Failed to read link of %s", base);
    return base;
  }
  return std::strcmp(target, path) == 0 ? base : LinkWithNumber(taken, path, base);
}
