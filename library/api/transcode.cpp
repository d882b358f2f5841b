// Songs in another format.
#include "api/transcode.h"
#include "media/media_type.h"
#include "system/limits.h"
#include "system/log.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"
#include "web/send_headers.h"
#include "web/send_stream.h"

namespace vexo::api {
namespace {

/// "01 Seed.flac" in another format.
std::string NameOf(const index::Song &song, std::string_view format) {
  const std::string name = song.path.substr(song.path.rfind('/') + 1);
  return name.substr(0, name.rfind('.')) + "." + std::string(format);
}

/// What stands before a body that is made while it is sent: it has no length, and no parts of it
/// can be had.
Answer HeadOf(const index::Song &song, std::string_view format) {
  return {.headers = "Cache-Control: private, no-store\r\nAccept-Ranges: none\r\n" +
                     web::DispositionHeader("inline", NameOf(song, format)),
          .content_type = std::string(media::MediaTypeOf(format))};
}

Answer Undecodable(const index::Song &song) {
  system::LogFailure("transcoding", ("ffmpeg cannot decode " + song.path).c_str());
  return ProblemAnswer({502, "The song cannot be decoded.", {}});
}

/// Sends what has begun with `begin` and is longer. What breaks off has no last chunk.
Answer SendLong(const Answer &head, const std::string &begin, media::Transcoder &transcoder) {
  const auto ended_well = [&] { return transcoder.Wait().exit_status == 0; };
  if (!web::SendLongStream(AnswerHead(head), "\r\n", begin, transcoder.output(), ended_well)) {
    web::CutAnswer();
  }
  return SentAnswer();
}

} // namespace

Answer SendTranscoded(const index::Song &song, int file, const media::Transcoding &how) {
  if (!media::CanTranscode()) {
    return ProblemAnswer({501, "This server does not transcode.", "format"});
  }
  Answer answer = HeadOf(song, how.format);
  if (web::IsHead()) {
    web::WriteAnswer(AnswerHead(answer) + "\r\n");
    return SentAnswer();
  }
  const auto right = media::TakeTranscoding();
  if (!right) {
    return ProblemAnswer({503, "As many songs are being transcoded as may be at once.", {}},
                         "Retry-After: 10\r\n");
  }
  const web::BrokenPipeIgnored ignored;
  system::LiftCpuLimit();
  media::Transcoder transcoder(how, file);
  std::optional<std::string> begin = web::ReadAhead(transcoder.output(), web::kStreamAheadBytes);
  if (!begin) {
    return SentAnswer(); // the client is gone
  }
  if (begin->size() == web::kStreamAheadBytes) {
    return SendLong(answer, *begin, transcoder);
  }
  if (transcoder.Wait().exit_status != 0 || begin->empty()) {
    return Undecodable(song);
  }
  answer.body = *std::move(begin);
  return answer;
}

} // namespace vexo::api
