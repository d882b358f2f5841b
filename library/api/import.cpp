// Playlists that clients bring along.
#include "catalog/import.h"
#include "api/candidate_json.h"
#include "api/jspf.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "playlists/playlist_text.h"
#include "web/answer.h"
#include "web/header_value.h"
#include "web/json_text.h"
#include "web/output.h"
#include "web/parameters.h"
#include "web/request.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace vexo::api {
namespace {

using catalog::ForeignTrack;
using Tracks = std::vector<ForeignTrack>;

constexpr std::size_t kLargestImport = std::size_t{8} << 20U;

/// What may be sent. Which format it has, its content tells.
constexpr std::array<std::string_view, 14> kTypes = {
    "audio/mpegurl",       "audio/x-mpegurl",         "application/vnd.apple.mpegurl",
    "application/mpegurl", "application/x-mpegurl",   "audio/x-scpls",
    "application/pls+xml", "application/xspf+xml",    "application/jspf+json",
    "application/json",    "application/xml",         "text/xml",
    "text/plain",          "application/octet-stream"};

Problem NoPlaylist(const std::string &why) {
  return {400, "The playlist cannot be read: " + why + ".", {}};
}

/// The part `file` of a form.
std::variant<std::string, Problem> FileOfForm(const std::string &body,
                                              const std::string &boundary) {
  const web::Buffer buffer(body);
  std::vector<web::Parameter> parts;
  if (!web::DecodeMultipart(buffer, boundary, parts)) {
    return NoPlaylist("the form is broken");
  }
  if (parts.size() != 1 || parts.front().name != "file") {
    return Problem{400, "The form has other parts than one file.", "file"};
  }
  return std::string(parts.front().value);
}

/// The playlist's bytes, as the body or in a form.
std::variant<std::string, Problem> ReadUpload() {
  const auto type = web::ParseHeaderValue(web::Variable("CONTENT_TYPE").value_or(""));
  const bool is_form = type && type->text == "multipart/form-data";
  if (!type || (!is_form && std::find(kTypes.begin(), kTypes.end(), type->text) == kTypes.end())) {
    return Problem{415, "The body's media type is that of no playlist.", {}};
  }
  std::variant<std::string, Problem> body = ReadBody(kLargestImport);
  const std::string *const boundary = is_form ? type->Attribute("boundary") : nullptr;
  if (!is_form || std::holds_alternative<Problem>(body)) {
    return body;
  }
  return boundary == nullptr ? NoPlaylist("the form has no boundary")
                             : FileOfForm(std::get<std::string>(body), *boundary);
}

Tracks WithPaths(Tracks tracks) {
  for (ForeignTrack &track : tracks) {
    track.location = catalog::LocationOfUri(track.location);
  }
  return tracks;
}

/// The tracks of an upload of any format: one that begins with '<' is XSPF, and one that begins
/// with '{' is JSPF, as no list in lines does.
Tracks ParseUpload(const std::string &text) {
  const std::size_t first = text.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  const char begin = first == std::string::npos ? '\0' : text[first];
  if (begin == '<') {
    return WithPaths(catalog::ParseXspf(text));
  }
  return begin == '{' ? WithPaths(ParseJspf(text)) : catalog::ParseList(text);
}

const char *MatchName(catalog::Match match) {
  switch (match) {
  case catalog::Match::kStream:
    return "stream";
  case catalog::Match::kPath:
    return "path";
  case catalog::Match::kTail:
    return "tail";
  case catalog::Match::kFileName:
    return "file_name";
  case catalog::Match::kTags:
    return "tags";
  case catalog::Match::kNone:
    break;
  }
  return "none";
}

Json::Value ImportedJson(const catalog::ImportedEntry &entry) {
  constexpr double kHundredths = 100;
  Json::Value json(Json::objectValue);
  json["path"] = entry.track.location;
  AddText(json, "title", entry.track.title);
  AddText(json, "artist", entry.track.artist);
  AddText(json, "album", entry.track.album);
  AddSeconds(json, "duration", entry.track.duration_seconds);
  json["match"] = MatchName(entry.match);
  if (entry.song) {
    json["song"] = SongJson(*entry.song);
    json["score"] = std::round(entry.score * kHundredths) / kHundredths;
  } else if (!entry.candidates.empty()) {
    json["candidates"] = CandidatesJson(entry.candidates, catalog::kImportCandidates);
  }
  return json;
}

/// The answer, which is sent as it grows: that of the longest list has 70 MB.
class ImportAnswer {
public:
  void Add(const catalog::ImportedEntry &entry) {
    Json::Value json = ImportedJson(entry);
    json["position"] = Json::Int64{total_};
    text_ += total_++ == 0 ? "" : ",";
    text_ += web::JsonText(json);
    unmatched_ += entry.match == catalog::Match::kNone ? 1 : 0;
    if (text_.size() >= kMostHeld) {
      Send();
    }
  }

  Answer Finish() {
    text_ += "],\"offset\":0,\"total\":" + std::to_string(total_) +
             ",\"unmatched\":" + std::to_string(unmatched_) + "}";
    if (is_begun_) {
      Send();
      return SentAnswer();
    }
    answer_.body = std::move(text_);
    return std::move(answer_);
  }

private:
  static constexpr std::size_t kMostHeld = std::size_t{256} << 10U;

  void Send() {
    web::WriteAnswer((is_begun_ ? "" : AnswerHead(answer_) + "\r\n") + text_);
    is_begun_ = true;
    text_.clear();
  }

  Answer answer_{.headers = "Cache-Control: no-store\r\n"};
  std::string text_ = "{\"items\":[";
  int64_t total_ = 0;
  int64_t unmatched_ = 0;
  bool is_begun_ = false;
};

} // namespace

Answer Import(Request &request) {
  const std::variant<std::string, Problem> upload = ReadUpload();
  if (const auto *problem = std::get_if<Problem>(&upload)) {
    return ProblemAnswer(*problem);
  }
  try {
    ImportAnswer answer;
    catalog::MatchTracks(request.User(), ParseUpload(std::get<std::string>(upload)),
                         [&](const catalog::ImportedEntry &entry) { answer.Add(entry); });
    return answer.Finish();
  } catch (const catalog::ForeignError &error) {
    return ProblemAnswer(NoPlaylist(error.what()));
  } catch (const playlists::UnreadableError &error) {
    return ProblemAnswer(NoPlaylist(error.what()));
  }
}

} // namespace vexo::api
