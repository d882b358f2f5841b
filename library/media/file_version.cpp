#include "media/file_version.h"

#include <array>
#include <cstdio>

namespace vexo::media {
namespace {

constexpr const char *kFixdate = "%a, %d %b %Y %H:%M:%S GMT";

std::string DateText(time_t time) {
  std::array<char, 64> text{};
  struct tm parts {};
  if (gmtime_r(&time, &parts) == nullptr) {
    return {};
  }
  return {text.data(), strftime(text.data(), text.size(), kFixdate, &parts)};
}

} // namespace

FileVersion VersionOf(const struct stat &status) {
  std::array<char, 80> tag{};
  std::snprintf(tag.data(), tag.size(), "\"%lx-%lx-%lx.%lx\"", status.st_ino,
                static_cast<unsigned long>(status.st_size),
                static_cast<unsigned long>(status.st_mtim.tv_sec),
                static_cast<unsigned long>(status.st_mtim.tv_nsec));
  return {tag.data(), DateText(status.st_mtim.tv_sec), status.st_mtim.tv_sec};
}

std::string VersionHeaders(const FileVersion &version) {
  std::string headers = "ETag: " + version.etag + "\r\n";
  if (!version.last_modified.empty()) {
    headers += "Last-Modified: " + version.last_modified + "\r\n";
  }
  return headers;
}

bool FitsIfRange(const FileVersion &version, std::string_view field, time_t now) {
  if (field.empty() || field == version.etag) {
    return true;
  }
  return field == version.last_modified && version.modified < now - 1;
}

bool IsNotModifiedSince(const FileVersion &version, std::string_view field) {
  struct tm parts {};
  const std::string text(field);
  const char *const end = strptime(text.c_str(), kFixdate, &parts);
  return end != nullptr && *end == '\0' && version.modified <= timegm(&parts);
}

} // namespace vexo::media
