#pragma once

namespace vexo::web {

/// From now on a request that uses up its CPU time, or that ends by an exception which nobody
/// takes, as one that has used up its memory does, still leaves a line in the web server's log and,
/// when nothing was sent yet, an answer with the status 500. It ends there and then: what is
/// durable is whole at any moment.
void AnswerWhenCutShort();

} // namespace vexo::web
