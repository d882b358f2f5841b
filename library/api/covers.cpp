// Pictures of songs.
#include "media/covers.h"
#include "api/resources.h"
#include "catalog/find_song.h"
#include "catalog/libraries.h"
#include "system/paths.h"
#include "text/numbers.h"
#include <sys/stat.h>

namespace vexo::api {
namespace {

int SizeOf(Query &query) {
  return static_cast<int>(*text::ParseInteger(query.Choice("size", {"320", "96", "640"})));
}

/// Where the picture is: what is at that address never changes, but the song may get another one.
Answer SeeCover(const media::CoverName &name, int size) {
  return {.status = 302,
          .headers = "Cache-Control: private, max-age=60\r\nLocation: ../../covers/" + name.hash +
                     "?size=" + std::to_string(size) + "\r\n",
          .content_type = {}};
}

Answer WithoutCover(media::NoCover why) {
  switch (why) {
  case media::NoCover::kNoSong:
    return ProblemAnswer(NotFound("The song's file is not there any more."));
  case media::NoCover::kNoPicture:
    return ProblemAnswer(
        NotFound("Neither the song nor its folder has a picture that can be read."));
  case media::NoCover::kBusy:
    return ProblemAnswer({503, "Too many pictures are being made.", {}}, "Retry-After: 5\r\n");
  case media::NoCover::kFailed:
    break;
  }
  return ProblemAnswer({503, "The picture cannot be made now; the server's log says why.", {}},
                       "Retry-After: 60\r\n");
}

/// The cover in one of the libraries that the user sees.
files::FileDescriptor OpenVisibleCover(const accounts::Account &user, const std::string &hash,
                                       int size) {
  for (const catalog::Library &library : catalog::LibrariesOf(user)) {
    files::FileDescriptor cover = media::OpenCover(system::kCovers, {library.owner, hash}, size);
    if (cover) {
      return cover;
    }
  }
  return files::FileDescriptor();
}

/// To a page that shows what pictures there are, one that is missing is no error.
Answer NoPicture() {
  return {.status = 204, .headers = "Cache-Control: private, max-age=300\r\n", .content_type = {}};
}

Answer FindCover(Request &request, int size) {
  const std::optional<int32_t> id = request.Id();
  const std::optional<index::Song> song =
      id ? catalog::FindSong(request.User(), *id) : std::nullopt;
  if (!song) {
    return ProblemAnswer(NotFound("There is no such song."));
  }
  const auto cover = media::CoverOf(*song, request.User(), size);
  const auto *const name = std::get_if<media::CoverName>(&cover);
  return name != nullptr ? SeeCover(*name, size) : WithoutCover(std::get<media::NoCover>(cover));
}

} // namespace

Answer SongCover(Request &request) {
  const int size = SizeOf(request.query);
  const bool is_optional = request.query.Choice("missing", {"problem", "none"}) == "none";
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  Answer answer = FindCover(request, size);
  return is_optional && answer.status == 404 ? NoPicture() : answer;
}

Answer Cover(Request &request) {
  const std::string &hash = request.variables.front();
  const int size = SizeOf(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const files::FileDescriptor cover = media::IsCoverHash(hash)
                                          ? OpenVisibleCover(request.User(), hash, size)
                                          : files::FileDescriptor();
  struct stat status {};
  if (!cover || fstat(cover.get(), &status) != 0) {
    return ProblemAnswer(NotFound("There is no such picture; the song's own address makes it."));
  }
  const std::string etag = MakeETag(hash + "-" + std::to_string(size));
  Answer answer{.headers =
                    "Cache-Control: private, max-age=31536000, immutable\r\nETag: " + etag + "\r\n",
                .content_type = "image/jpeg"};
  if (NotModified(etag)) {
    return {.status = 304, .headers = answer.headers, .content_type = {}};
  }
  return SendFileAnswer(answer, cover.get(), 0, static_cast<uint64_t>(status.st_size));
}

} // namespace vexo::api
