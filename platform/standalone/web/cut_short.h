#pragma once

#include <string_view>

namespace vexo::web {

/// From now on a request that uses up its CPU time, or that ends by an exception which nobody
/// takes, as one that has used up its memory does, still leaves a line in the web server's log and,
/// when nothing was sent yet, the answer `answer`, whose text lives as long as the process, or
/// (empty) the one that the actions give when the server fails. It ends there and then: what is
/// durable is whole at any moment.
void AnswerWhenCutShort(std::string_view answer = {});

} // namespace vexo::web
