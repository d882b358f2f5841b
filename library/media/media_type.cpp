#include "media/media_type.h"
#include <array>

namespace vexo::media {
namespace {

struct Row {
  std::string_view format, type;
};

// The IANA's registry, RFC 3003, RFC 5334, RFC 6381; what has none has the name that browsers take.
constexpr std::array kTypes = {
    Row{"aac", "audio/aac"},        Row{"aif", "audio/aiff"},     Row{"aiff", "audio/aiff"},
    Row{"ape", "audio/x-ape"},      Row{"asf", "audio/x-ms-wma"}, Row{"dff", "audio/x-dff"},
    Row{"dsf", "audio/x-dsf"},      Row{"flac", "audio/flac"},    Row{"m4a", "audio/mp4"},
    Row{"m4b", "audio/mp4"},        Row{"mp3", "audio/mpeg"},     Row{"mp4", "audio/mp4"},
    Row{"mpc", "audio/x-musepack"}, Row{"oga", "audio/ogg"},      Row{"ogg", "audio/ogg"},
    Row{"opus", "audio/ogg"},       Row{"spx", "audio/ogg"},      Row{"wav", "audio/wav"},
    Row{"wma", "audio/x-ms-wma"},   Row{"wv", "audio/x-wavpack"},
};

} // namespace

std::string_view MediaTypeOf(std::string_view format) {
  for (const Row &row : kTypes) {
    if (row.format == format) {
      return row.type;
    }
  }
  return "application/octet-stream";
}

} // namespace vexo::media
