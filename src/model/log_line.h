#pragma once
// The program's lines in the system log.

#include <syslog.h>

/// Writes one line at error priority: the module, the source line, then the message, a printf
/// format that must be a literal.
#define LOG_LINE(message, ...)                                                                     \
  syslog(LOG_ERR, "%s:%d " message, "audio_playlist.cpp", __LINE__ __VA_OPT__(, ) __VA_ARGS__)
