#pragma once
// A request in a process of its own, as the web server would start one.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

struct CgiRequest {
  std::map<std::string, std::string> environment;
  std::string body;
};

struct CgiAnswer {
  int status = -1; ///< exit status; -1: ended by a signal
  std::string output;

  [[nodiscard]] std::string Headers() const { return output.substr(0, output.find("\r\n\r\n")); }
  [[nodiscard]] std::string Body() const {
    const std::size_t end = output.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : output.substr(end + 4);
  }
};

/// A file in memory that begins with `content`, read from its start.
inline int MemoryFile(const std::string &content) {
  const int fd = memfd_create("cgi", MFD_CLOEXEC);
  if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()) ||
      lseek(fd, 0, SEEK_SET) != 0) {
    throw std::runtime_error("no file in memory");
  }
  return fd;
}

/// Runs `program` with the request's variables and nothing else in its environment, the body on its
/// standard input; its standard output is the answer.
inline CgiAnswer RunCgi(const CgiRequest &request, const std::function<int()> &program) {
  const int input = MemoryFile(request.body);
  const int output = MemoryFile("");
  fflush(nullptr); // what waits in a buffer here is no part of the answer
  const pid_t child = fork();
  if (child == 0) {
    clearenv();
    for (const auto &[name, value] : request.environment) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    const int status = program();
    fflush(stdout);
    _exit(status);
  }
  int status = 0;
  waitpid(child, &status, 0);
  CgiAnswer answer;
  answer.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  answer.output.resize(static_cast<std::size_t>(lseek(output, 0, SEEK_END)));
  const ssize_t got = pread(output, answer.output.data(), answer.output.size(), 0);
  close(input);
  close(output);
  if (got != static_cast<ssize_t>(answer.output.size())) {
    throw std::runtime_error("the answer cannot be read");
  }
  return answer;
}
