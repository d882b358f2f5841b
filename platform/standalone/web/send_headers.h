#pragma once
#include <string>
#include <string_view>

namespace vexo::web {

/// The header line that names a body (RFC 6266, RFC 8187), which is to be kept ("attachment") or to
/// be shown ("inline"): an ASCII name for those who know no other, and the UTF-8 name. No byte of
/// the name can end the line or the value.
std::string DispositionHeader(std::string_view disposition, std::string_view file_name);
/// The same, to be kept.
std::string AttachmentHeader(std::string_view file_name);

/// The lines of a body's type, of its being nobody's to guess or keep, and the empty one that ends
/// the header.
std::string TypeAndEnd(std::string_view content_type);

} // namespace vexo::web
