#pragma once
#include <string>
#include <string_view>

namespace vexo::web {

/// The header line that offers a body as a file (RFC 6266, RFC 8187): an ASCII name for those who
/// know no other, and the UTF-8 name. No byte of the name can end the line or the value.
std::string AttachmentHeader(std::string_view file_name);

/// The lines of a body's type, of its being nobody's to guess or keep, and the empty one that ends
/// the header.
std::string TypeAndEnd(std::string_view content_type);

} // namespace vexo::web
