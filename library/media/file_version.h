#pragma once
// What tells the versions of a file apart for a client that kept one (RFC 9110, 8.8 and 13).

#include <ctime>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace vexo::media {

struct FileVersion {
  std::string etag;          ///< strong, with its quotes: inode, size and time of change
  std::string last_modified; ///< as IMF-fixdate
  time_t modified = 0;
};

FileVersion VersionOf(const struct stat &status);

/// The fields ETag and Last-Modified, each with its line end.
std::string VersionHeaders(const FileVersion &version);

/// Whether a range of this version may be sent to a client whose If-Range is `field` (empty: there
/// is none). A date counts when the file cannot have changed within its second, which has to be
/// over at `now`.
bool FitsIfRange(const FileVersion &version, std::string_view field, time_t now);

/// Whether a client that has a version of the time `field` (If-Modified-Since) has this one. Not
/// for a text that is no date.
bool IsNotModifiedSince(const FileVersion &version, std::string_view field);

} // namespace vexo::media
