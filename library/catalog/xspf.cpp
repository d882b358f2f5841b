#include "catalog/xspf.h"
#include "playlists/playlist_text.h"
#include "text/numbers.h"
#include "text/text.h"
#include <algorithm>
#include <array>
#include <expat.h>
#include <memory>
#include <optional>
#include <type_traits>

namespace vexo::catalog {
namespace {

constexpr char kSeparator = ' '; ///< between an element's namespace and its name
constexpr std::string_view kNamespace = "http://xspf.org/ns/0/";

/// The elements that lead to a track.
constexpr std::array<std::string_view, 3> kWay = {"playlist", "trackList", "track"};

/// An element's name in the namespace of XSPF, or in none, as some programs write it; empty for
/// those of others.
std::string_view LocalName(std::string_view name) {
  const std::size_t separator = name.find(kSeparator);
  if (separator == std::string_view::npos) {
    return name;
  }
  return name.substr(0, separator) == kNamespace ? name.substr(separator + 1) : "";
}

/// What the parser calls. A refusal stops it: no exception passes through C.
class Reader {
public:
  Reader() : parser_(XML_ParserCreateNS(nullptr, kSeparator)) {
    if (!parser_) {
      throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void *self, const XML_Char *name, const XML_Char **) { Of(self).Begin(name); },
        [](void *self, const XML_Char *) { Of(self).End(); });
    XML_SetCharacterDataHandler(parser_.get(), [](void *self, const XML_Char *text, int length) {
      Of(self).Add({text, static_cast<std::size_t>(length)});
    });
    XML_SetStartDoctypeDeclHandler(
        parser_.get(), [](void *self, const XML_Char *, const XML_Char *, const XML_Char *, int) {
          Of(self).Refuse("a document type declaration");
        });
  }

  std::vector<ForeignTrack> Read(std::string_view xml) {
    const XML_Status status =
        XML_Parse(parser_.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    if (refusal_ != nullptr) {
      throw ForeignError(refusal_);
    }
    if (status != XML_STATUS_OK) {
      throw ForeignError(std::string("line ") +
                         std::to_string(XML_GetCurrentLineNumber(parser_.get())) + ": " +
                         XML_ErrorString(XML_GetErrorCode(parser_.get())));
    }
    return std::move(tracks_);
  }

private:
  struct Free {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  static Reader &Of(void *self) { return *static_cast<Reader *>(self); }

  void Refuse(const char *why) {
    refusal_ = why;
    XML_StopParser(parser_.get(), XML_FALSE);
  }

  /// How many elements of kWay are open, one in the other from the root on.
  [[nodiscard]] bool IsOnWay() const { return on_way_ == depth_; }

  void Begin(const XML_Char *name) {
    const std::string_view local = LocalName(name);
    if (depth_ == 0 && local != kWay.front()) {
      return Refuse("the root is no playlist");
    }
    if (IsOnWay() && on_way_ < kWay.size() && local == kWay[on_way_]) {
      ++on_way_;
      BeginTrack();
    } else if (IsOnWay() && on_way_ == kWay.size()) {
      field_ = local;
      text_.clear();
    }
    if (++depth_ > kDeepestXspf) {
      Refuse("elements are nested too deeply");
    }
  }

  void BeginTrack() {
    if (on_way_ != kWay.size()) {
      return;
    }
    if (tracks_.size() == playlists::kMaxEntries) {
      return Refuse("more tracks than a list may have");
    }
    tracks_.emplace_back();
  }

  void Add(std::string_view text) {
    if (!field_.empty()) {
      text_.append(text.substr(0, kLongestXspfText - std::min(kLongestXspfText, text_.size())));
    }
  }

  void End() {
    --depth_;
    if (depth_ == kWay.size() && !field_.empty()) {
      Take(tracks_.back());
      field_.clear();
    }
    on_way_ = std::min(on_way_, depth_);
  }

  /// The first value of each field counts.
  void Take(ForeignTrack &track) {
    const auto take = [this](std::string &value) {
      if (value.empty()) {
        value = text::Trim(text_);
      }
    };
    if (field_ == "location") {
      take(track.location);
    } else if (field_ == "title") {
      take(track.title);
    } else if (field_ == "creator") {
      take(track.artist);
    } else if (field_ == "album") {
      take(track.album);
    } else if (field_ == "duration") {
      track.duration_seconds = SecondsOfMilliseconds(text::Trim(text_));
    }
  }

  std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_;
  std::vector<ForeignTrack> tracks_;
  std::string field_, text_; ///< of the track; no field: none is open
  std::size_t depth_ = 0, on_way_ = 0;
  const char *refusal_ = nullptr;
};

} // namespace

std::vector<ForeignTrack> ParseXspf(std::string_view xml) { return Reader().Read(xml); }

double SecondsOfMilliseconds(std::string_view text) {
  constexpr double kPerSecond = 1000;
  constexpr int64_t kMost = int64_t{1'000'000'000} * 1000;
  const std::optional<int64_t> milliseconds = text::ParseInteger(text);
  return milliseconds && *milliseconds > 0 && *milliseconds < kMost
             ? static_cast<double>(*milliseconds) / kPerSecond
             : 0;
}

} // namespace vexo::catalog
