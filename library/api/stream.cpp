// A song's bytes, all or a stretch of them, or in another format.
#include "api/resources.h"
#include "api/transcode.h"
#include "catalog/find_song.h"
#include "media/byte_range.h"
#include "media/file_version.h"
#include "media/media_type.h"
#include "media/open_song.h"
#include "media/x_sendfile.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_headers.h"
#include <algorithm>
#include <ctime>

namespace vexo::api {
namespace {

using media::ByteRange;

/// A song's file, open, as it is now.
struct SongFile {
  files::FileDescriptor file;
  uint64_t size = 0;
  media::FileVersion version;
};

/// Nothing when it is not there, or not of this user's libraries.
std::optional<SongFile> OpenSong(const index::Song &song, const accounts::Account &user) {
  std::optional<media::OpenFile> open = media::OpenInLibraries(song.path, user, "a stream");
  if (!open) {
    return std::nullopt;
  }
  return SongFile{std::move(open->file), static_cast<uint64_t>(open->status.st_size),
                  media::VersionOf(open->status)};
}

std::string FileHeaders(const SongFile &song) {
  return "Cache-Control: private, no-cache\r\n" + media::VersionHeaders(song.version);
}

/// Whether the client has this version: If-None-Match goes before If-Modified-Since.
bool ClientHas(const SongFile &song) {
  if (web::Variable("HTTP_IF_NONE_MATCH")) {
    return NotModified(song.version.etag).has_value();
  }
  const std::string_view since = web::Variable("HTTP_IF_MODIFIED_SINCE").value_or("");
  return media::IsNotModifiedSince(song.version, since);
}

/// The stretch that the client wants; only a GET has one (RFC 9110, 14.2).
ByteRange WantedRange(const SongFile &song) {
  const std::string_view condition = web::Variable("HTTP_IF_RANGE").value_or("");
  if (web::IsHead() || !media::FitsIfRange(song.version, condition, time(nullptr))) {
    return media::ParseRange({}, song.size);
  }
  return media::ParseRange(web::Variable("HTTP_RANGE").value_or(""), song.size);
}

/// A web server that cuts answers into ranges by itself must leave a whole one whole.
std::string AcceptedRanges(const ByteRange &range) {
  return range.kind == ByteRange::Kind::kIgnored ? "Accept-Ranges: none\r\n"
                                                 : "Accept-Ranges: bytes\r\n";
}

/// Whether the web server reads the range as this program does: a number beyond 63 bits is an error
/// to it, and the end of the file to the standard.
bool IsReadByServer(std::string_view range) {
  constexpr std::size_t kMostDigits = 18;
  std::size_t digits = 0;
  return std::ranges::none_of(range, [&](char letter) {
    digits = letter >= '0' && letter <= '9' ? digits + 1 : 0;
    return digits > kMostDigits;
  });
}

/// Sends the stretch, or has the web server do it, which then cuts it out of the whole.
Answer Send(const SongFile &song, const ByteRange &range, Answer answer) {
  const std::optional<std::string> by_server = media::XSendfileHeader(media::RealPathOf(song.file));
  if (by_server && IsReadByServer(web::Variable("HTTP_RANGE").value_or(""))) {
    web::WriteAnswer(AnswerHead(answer) + *by_server + "\r\n");
    return SentAnswer();
  }
  if (range.kind == ByteRange::Kind::kPart) {
    answer.status = 206;
    answer.headers += media::ContentRange(range, song.size);
  }
  return SendFileAnswer(answer, song.file.get(), range.first, range.size);
}

Answer SendSong(const index::Song &song, const SongFile &file) {
  if (ClientHas(file)) {
    return {.status = 304, .headers = FileHeaders(file), .content_type = {}};
  }
  const ByteRange range = WantedRange(file);
  if (range.kind == ByteRange::Kind::kUnsatisfiable) {
    return ProblemAnswer({416, "The song has no bytes in this range.", {}},
                         media::ContentRange(range, file.size));
  }
  const std::string name = song.path.substr(song.path.rfind('/') + 1);
  return Send(file, range,
              {.headers = FileHeaders(file) + AcceptedRanges(range) +
                          web::DispositionHeader("inline", name),
               .content_type = std::string(media::MediaTypeOf(song.type))});
}

/// Whether the song is already what is wanted, so that its file's own bytes do.
bool IsOfFormat(const index::Song &song, const media::Transcoding &how) {
  constexpr uint32_t kBitsOfKbit = 1000;
  return song.type == how.format && song.bitrate > 0 &&
         song.bitrate <= static_cast<uint32_t>(how.bitrate_kbit) * kBitsOfKbit;
}

/// What the parameters ask for; an empty format for the song as it is.
media::Transcoding WantedFormat(Query &query) {
  constexpr int kLeast = 64, kUsual = 128, kMost = 320, kLatest = 7 * 24 * 3600;
  media::Transcoding how;
  how.format = query.Choice("format", {"", "opus", "mp3"});
  how.bitrate_kbit = static_cast<int>(query.Number("bitrate", kUsual, kLeast, kMost));
  how.offset_seconds = static_cast<int>(query.Number("offset_seconds", 0, 0, kLatest));
  for (const char *name : {"format", "bitrate", "offset_seconds"}) {
    if (how.format.empty() && query.Text(name)) {
      query.Refuse(name, "The format is not told: opus or mp3.");
    }
  }
  return how;
}

Answer SendAs(const index::Song &song, const SongFile &file, media::Transcoding how) {
  how.copies = IsOfFormat(song, how);
  if (how.format.empty() || (how.copies && how.offset_seconds == 0)) {
    return SendSong(song, file);
  }
  if (song.duration_seconds > 0 && how.offset_seconds >= song.duration_seconds) {
    return ProblemAnswer({400, "The song ends before.", "offset_seconds"});
  }
  return SendTranscoded(song, file.file.get(), how);
}

} // namespace

Answer Stream(Request &request) {
  const media::Transcoding how = WantedFormat(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::optional<int32_t> id = request.Id();
  const std::optional<index::Song> song =
      id ? catalog::FindSong(request.User(), *id) : std::nullopt;
  if (!song) {
    return ProblemAnswer(NotFound("There is no such song."));
  }
  const std::optional<SongFile> file = OpenSong(*song, request.User());
  return file ? SendAs(*song, *file, how)
              : ProblemAnswer(NotFound("The song's file is not there any more."));
}

} // namespace vexo::api
