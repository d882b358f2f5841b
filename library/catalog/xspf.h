#pragma once
// XSPF, version 1, as other programs write it.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

/// A track of a foreign playlist. Texts are UTF-8.
struct ForeignTrack {
  std::string location; ///< as it stands there; empty when there is none
  std::string title, artist, album;
  double duration_seconds = 0; ///< 0: not told
};

/// A text is no playlist of its format.
class ForeignError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Texts longer than this are cut, and elements that are nested deeper are refused.
inline constexpr std::size_t kLongestXspfText = 4096;
inline constexpr std::size_t kDeepestXspf = 32;

/// The tracks of an XSPF document; of several locations of one, the first. Elements of other
/// namespaces are passed over. Throws ForeignError for what is no well-formed XML, for any document
/// type declaration (so there are no entities but XML's own), for another root than a playlist, and
/// for more tracks than a list may have.
std::vector<ForeignTrack> ParseXspf(std::string_view xml);

/// The milliseconds of a duration as seconds; 0 for any other text, and for absurd numbers.
double SecondsOfMilliseconds(std::string_view text);

} // namespace vexo::catalog
