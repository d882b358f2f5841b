#pragma once
#include "index/media_index.h"
#include <memory>
#include <string>

namespace vexo::tools {

/// Opens the index that a URL names. Where its file is missing, it is made for who answers
/// requests, who has to write it as well. Throws index::IndexError.
std::unique_ptr<index::MediaIndex> OpenIndex(const std::string &url = index::MediaIndexUrl());

} // namespace vexo::tools
