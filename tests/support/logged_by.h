#pragma once
#include <gtest/gtest.h>
#include <string>
#include <syslog.h>

/// What the body writes to the system log, a line a message: "test: MESSAGE".
template <typename Body> std::string LoggedBy(Body body) {
  openlog("test", LOG_PERROR, LOG_USER);
  ::testing::internal::CaptureStderr();
  body();
  closelog();
  return ::testing::internal::GetCapturedStderr();
}
