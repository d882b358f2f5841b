#include "accounts/accounts.h"
#include "cgi_process.h"
#include "support/device_root.h"
#include "support/logged_by.h"
#include "vexo/web.h"
#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr const char *kDownloadType = "application/force-download";
constexpr int kStreamFailed = 9;
const std::string kTypeAndEnd = "Content-Type: application/force-download\n"
                                "X-Content-Type-Options: nosniff\nCache-Control: no-store\n\n";

/// A program whose standard output is a pipe that the test reads: the client.
class ClientPipe {
public:
  explicit ClientPipe(const std::function<int()> &program) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    fflush(nullptr);
    child_ = fork();
    if (child_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      close(ends[0]);
      close(ends[1]);
      const int status = program();
      fflush(stdout);
      _exit(status);
    }
    close(ends[1]);
    reader_ = ends[0];
  }
  ClientPipe(const ClientPipe &) = delete;
  ClientPipe &operator=(const ClientPipe &) = delete;
  ~ClientPipe() { close(reader_); }

  std::string Read(std::size_t most) {
    std::string bytes(most, '\0');
    const ssize_t count = read(reader_, bytes.data(), most);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  std::string ReadAll() {
    std::string all, part;
    while (!(part = Read(65536)).empty()) {
      all += part;
    }
    return all;
  }
  void GoAway() { close(std::exchange(reader_, -1)); }
  /// The program's exit status; -1 when a signal ended it.
  int Wait() {
    int status = 0;
    waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

private:
  pid_t child_ = -1;
  int reader_ = -1;
};

class SendFileTest : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    for (const char *name : {"ann", "bob"}) {
      vexo::accounts::Account account;
      account.name = name;
      account.personal_library = true;
      vexo::accounts::AddAccount(account);
    }
  }
  static std::string Personal(const std::string &user) {
    return std::string(vexo::system::kHomes) + "/" + user + "/music";
  }
  /// Sends a file to a client of "ann"; what the client got.
  static CgiAnswer Send(const std::string &path) {
    return RunCgi({{{"REMOTE_USER", "ann"}}, ""}, [&] {
      const int result = HTTPFileOutputer::Output(path.c_str(), kDownloadType);
      return result == 0 ? 0 : kStreamFailed;
    });
  }
  static CgiAnswer SendStream(const std::string &agent, const std::string &content,
                              const char *name = "a.zip") {
    return RunCgi({{{"HTTP_USER_AGENT", agent}}, content}, [&] {
      FILE *stream = popen("cat", "r");
      const int result = HTTPFileOutputer::Output(stream, name, kDownloadType);
      pclose(stream);
      return result == 0 ? 0 : kStreamFailed;
    });
  }
};

TEST_F(SendFileTest, AFileIsSentToTheByte) {
  WriteBytes(library() + "/My song.mp3", "content");
  const CgiAnswer answer = Send(library() + "/My song.mp3");
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.output, "Content-Disposition: attachment; filename=\"My song.mp3\"; "
                           "filename*=UTF-8''My%20song.mp3\n"
                           "Content-Length: 7\nAccept-Ranges: none\n"
                           "Content-Type: application/force-download\n"
                           "X-Content-Type-Options: nosniff\nCache-Control: no-store\n\n"
                           "content");
}

TEST_F(SendFileTest, AnEmptyFileIsSent) {
  WriteBytes(library() + "/a.mp3", "");
  const CgiAnswer answer = Send(library() + "/a.mp3");
  EXPECT_EQ(answer.status, 0);
  EXPECT_NE(answer.output.find("Content-Length: 0\n"), std::string::npos);
}

TEST_F(SendFileTest, ALargeFileIsSentWhole) {
  std::string content(std::size_t{5} << 20U, 'x');
  content += "end";
  WriteBytes(library() + "/a.mp3", content);
  const CgiAnswer answer = Send(library() + "/a.mp3");
  EXPECT_EQ(answer.output.substr(answer.output.find("\n\n") + 2), content);
}

TEST_F(SendFileTest, TheNameOfAFileCannotBreakTheHeader) {
  const std::string path = library() + "/a\"\r\n\nX: y.mp3";
  WriteBytes(path, "c");
  EXPECT_EQ(Send(path).output, "Content-Disposition: attachment; filename=\"a____X: y.mp3\"; "
                               "filename*=UTF-8''a%22___X%3A%20y.mp3\n"
                               "Content-Length: 1\nAccept-Ranges: none\n" +
                                   kTypeAndEnd + "c");
}

TEST_F(SendFileTest, ASongOfTheUsersOwnLibraryIsSent) {
  WriteBytes(Personal("ann") + "/a.mp3", "own");
  EXPECT_EQ(Send(Personal("ann") + "/a.mp3").status, 0);
}

TEST_F(SendFileTest, NothingElseIsSent) {
  WriteBytes(Personal("bob") + "/a.mp3", "secret");
  WriteBytes(DEVICE_ROOT "/secret", "secret");
  fs::create_symlink(DEVICE_ROOT "/secret", library() + "/link.mp3");
  fs::create_symlink(Personal("bob") + "/a.mp3", Personal("ann") + "/link.mp3");
  fs::create_directories(library() + "/album");
  mkfifo((library() + "/fifo").c_str(), 0666);
  const struct {
    const char *description;
    std::string path;
  } rows[] = {
      {"a system file", "/etc/passwd"},
      {"a file outside", DEVICE_ROOT "/secret"},
      {"a link to a file outside", library() + "/link.mp3"},
      {"dots that lead out", library() + "/../secret"},
      {"another user's song", Personal("bob") + "/a.mp3"},
      {"a link to another user's song", Personal("ann") + "/link.mp3"},
      {"a folder", library() + "/album"},
      {"a fifo, which nobody writes", library() + "/fifo"},
      {"a device", "/dev/zero"},
      {"the request's environment", "/proc/self/environ"},
      {"a stream", "http://radio.example/a"},
      {"a stream with a second line", "http://radio\n/etc/passwd"},
      {"no such file", library() + "/gone.mp3"},
      {"an empty path", ""},
  };
  for (const auto &row : rows) {
    const CgiAnswer answer = Send(row.path);
    EXPECT_EQ(answer.status, kStreamFailed) << row.description;
    EXPECT_EQ(answer.output, "") << row.description;
  }
}

TEST_F(SendFileTest, TheLogSaysWhyASongIsNotSent) {
  EXPECT_NE(LoggedBy([] {
              Send(library() + "/gone.mp3");
            }).find("/library/gone.mp3: No such file or directory\n"),
            std::string::npos);
  EXPECT_EQ(LoggedBy([] { Send("/etc/passwd"); }),
            "test: HTTPFileOutputer: not a song of the user's libraries: /etc/passwd\n"
            "test: a song is not sent: /etc/passwd: Permission denied\n");
}

TEST_F(SendFileTest, WithoutArgumentsNothingIsSent) {
  EXPECT_EQ(HTTPFileOutputer::Output(static_cast<const char *>(nullptr), kDownloadType), -1);
  EXPECT_EQ(HTTPFileOutputer::Output(static_cast<FILE *>(nullptr), "a", kDownloadType), -1);
}

TEST_F(SendFileTest, AFileThatShrinksEndsTheBodyAndNothingIsPrintedIntoIt) {
  const std::string path = library() + "/a.mp3";
  WriteBytes(path, "");
  fs::resize_file(path, std::size_t{64} << 20U);
  ClientPipe client([&] {
    setenv("REMOTE_USER", "ann", 1);
    const int result = HTTPFileOutputer::Output(path.c_str(), kDownloadType);
    printf("behind the body");
    return result == -1 ? kStreamFailed : 0;
  });
  std::string received = client.Read(1);
  fs::resize_file(path, 0);
  received += client.ReadAll();
  EXPECT_EQ(client.Wait(), kStreamFailed);
  EXPECT_EQ(received.find("behind the body"), std::string::npos);
  EXPECT_LT(received.size(), std::size_t{64} << 20U);
}

TEST_F(SendFileTest, AClientThatGoesAwayEndsTheSendingOfAFile) {
  const std::string path = library() + "/a.mp3";
  WriteBytes(path, "");
  fs::resize_file(path, std::size_t{64} << 20U);
  ClientPipe client([&] {
    setenv("REMOTE_USER", "ann", 1);
    return HTTPFileOutputer::Output(path.c_str(), kDownloadType) == -1 ? kStreamFailed : 0;
  });
  client.Read(1);
  client.GoAway();
  EXPECT_EQ(client.Wait(), kStreamFailed);
}

TEST_F(SendFileTest, AStreamIsSentToTheByteForEachBrowser) {
  const std::string attachment =
      "Content-Disposition: attachment; filename=\"a_.zip\"; filename*=UTF-8''a%C3%A9.zip\n";
  const std::string type_and_body = kTypeAndEnd + "body";
  const struct {
    const char *description, *agent;
    std::string output;
  } rows[] = {
      {"of today", "Mozilla/5.0 Firefox/140.0", attachment + type_and_body},
      {"type 1", "MSIE 7.0", type_and_body},
      {"type 2", "Firefox/3.6", type_and_body},
      {"not known", "", attachment + type_and_body},
  };
  for (const auto &row : rows) {
    const CgiAnswer answer = SendStream(row.agent, "body", "a\xC3\xA9.zip");
    EXPECT_EQ(answer.status, 0) << row.description;
    EXPECT_EQ(answer.output, row.output) << row.description;
  }
}

TEST_F(SendFileTest, AnEmptyStreamIsSent) {
  const CgiAnswer answer = SendStream("", "");
  EXPECT_EQ(answer.status, 0);
  EXPECT_TRUE(answer.output.ends_with(kTypeAndEnd));
}

TEST_F(SendFileTest, ALargeStreamIsSentWhole) {
  const std::string content = std::string(std::size_t{5} << 20U, 'x') + "end";
  const CgiAnswer answer = SendStream("", content);
  EXPECT_EQ(answer.output.substr(answer.output.find("\n\n") + 2), content);
}

/// What a client of this server gets of a stream that a shell command writes.
CgiAnswer StreamOf(const char *command, const char *server, const char *protocol) {
  return RunCgi({{{"SERVER_SOFTWARE", server}, {"SERVER_PROTOCOL", protocol}}, ""}, [&] {
    FILE *stream = popen(command, "r");
    const int result = HTTPFileOutputer::Output(stream, "a", kDownloadType);
    pclose(stream);
    return result == 0 ? 0 : kStreamFailed;
  });
}

std::string BodyOf(const CgiAnswer &answer) {
  return answer.output.substr(answer.output.find("\n\n") + 2);
}

/// What a body of chunks holds; "broken" for one that is none.
std::string Unchunked(std::string_view body) {
  std::string content;
  while (true) {
    const std::size_t line_end = std::min(body.find("\r\n"), body.size());
    std::size_t size = 0;
    const auto [end, error] = std::from_chars(body.data(), body.data() + line_end, size, 16);
    if (error != std::errc() || end != body.data() + line_end ||
        body.size() < line_end + 2 + size + 2 || body.substr(line_end + 2 + size, 2) != "\r\n") {
      return "broken";
    }
    content += body.substr(line_end + 2, size);
    body.remove_prefix(line_end + 2 + size + 2);
    if (size == 0) {
      return body.empty() ? content : "broken";
    }
  }
}

TEST_F(SendFileTest, AStreamGoesOutAsChunksWhereTheServerPassesThemOn) {
  const char *const lighttpd = "lighttpd/1.4.69";
  const char *const command = "head -c 3000000 /dev/zero";
  const CgiAnswer chunks = StreamOf(command, lighttpd, "HTTP/1.1");
  EXPECT_EQ(chunks.status, 0);
  EXPECT_NE(chunks.output.find("\nTransfer-Encoding: chunked\n"), std::string::npos);
  EXPECT_EQ(Unchunked(BodyOf(chunks)), std::string(3'000'000, '\0'));
  const std::pair<const char *, const char *> others[] = {
      {lighttpd, "HTTP/1.0"}, {lighttpd, "HTTP/2.0"}, {"another/1", "HTTP/1.1"}, {"", ""}};
  for (const auto &[server, protocol] : others) {
    EXPECT_EQ(BodyOf(StreamOf(command, server, protocol)), std::string(3'000'000, '\0'))
        << protocol;
  }
}

TEST_F(SendFileTest, AShortStreamGoesOutAsItIs) {
  for (const std::string content : {"", "a\n"}) {
    const CgiAnswer answer =
        StreamOf(content.empty() ? "true" : "echo a", "lighttpd/1.4.69", "HTTP/1.1");
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.output.find("Transfer-Encoding"), std::string::npos);
    EXPECT_EQ(BodyOf(answer), content);
  }
}

TEST_F(SendFileTest, AStreamWhoseWriterFailsHasNoLastChunk) {
  const std::string content(200'000, '\0');
  for (const char *end : {"exit 1", "kill -9 $$"}) {
    const std::string command = std::string("head -c 200000 /dev/zero; ") + end;
    const CgiAnswer chunks = StreamOf(command.c_str(), "lighttpd/1.4.69", "HTTP/1.1");
    EXPECT_EQ(chunks.status, kStreamFailed) << command;
    EXPECT_EQ(Unchunked(BodyOf(chunks)), "broken") << command;
    EXPECT_EQ(Unchunked(BodyOf(chunks) + "0\r\n\r\n"), content) << command;
    const CgiAnswer plain = StreamOf(command.c_str(), "another/1", "HTTP/1.1");
    EXPECT_EQ(plain.status, kStreamFailed) << command;
    EXPECT_EQ(BodyOf(plain), content) << command;
  }
}

TEST_F(SendFileTest, AShortStreamWhoseWriterFailsIsNotSent) {
  for (const char *command : {"exit 1", "echo a; exit 1", "echo a; kill -9 $$"}) {
    for (const char *server : {"lighttpd/1.4.69", "another/1"}) {
      const CgiAnswer answer = StreamOf(command, server, "HTTP/1.1");
      EXPECT_EQ(answer.status, kStreamFailed) << command;
      EXPECT_EQ(answer.output, "Status: 500 Internal Server Error\n") << command;
    }
  }
}

TEST_F(SendFileTest, ForHeadTheHeadersAreAll) {
  WriteBytes(library() + "/a.mp3", "content");
  const CgiAnswer answer = RunCgi({{{"REMOTE_USER", "ann"}, {"REQUEST_METHOD", "HEAD"}}, ""}, [] {
    FILE *stream = popen("cat /dev/zero", "r");
    const int sent = HTTPFileOutputer::Output(stream, "a", kDownloadType);
    pclose(stream);
    return sent == 0 ? HTTPFileOutputer::Output((library() + "/a.mp3").c_str(), kDownloadType) : 1;
  });
  EXPECT_EQ(answer.status, 0);
  EXPECT_NE(answer.output.find("Content-Length: 7\n"), std::string::npos);
  EXPECT_TRUE(answer.output.ends_with("\n\n"));
}

TEST_F(SendFileTest, WhatTheProgramPrintedStandsBeforeTheHeaders) {
  const CgiAnswer answer = RunCgi({{}, ""}, [] {
    printf("Accept-Ranges: none\n");
    FILE *stream = popen("printf body", "r");
    const int result = HTTPFileOutputer::Output(stream, "a", kDownloadType);
    pclose(stream);
    return result;
  });
  EXPECT_TRUE(answer.output.starts_with("Accept-Ranges: none\nContent-Disposition: "));
  EXPECT_TRUE(answer.output.ends_with(kTypeAndEnd + "body"));
}

TEST_F(SendFileTest, AnOutputThatTheKernelCannotMoveToIsWritten) {
  const std::string output = DEVICE_ROOT "/output", path = library() + "/a.mp3";
  WriteBytes(path, std::string(200000, 'f'));
  RunCgi({{{"REMOTE_USER", "ann"}}, ""}, [&] {
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666), STDOUT_FILENO);
    FILE *stream = popen("head -c 200000 /dev/zero", "r");
    HTTPFileOutputer::Output(stream, "a", kDownloadType);
    pclose(stream);
    return HTTPFileOutputer::Output(path.c_str(), kDownloadType);
  });
  const std::string written = ReadBytes(output);
  EXPECT_EQ(std::count(written.begin(), written.end(), '\0'), 200000);
  EXPECT_TRUE(written.ends_with("\n\n" + std::string(200000, 'f')));
}

TEST_F(SendFileTest, AClientThatGoesAwayEndsTheSendingOfAStream) {
  ClientPipe client([] {
    FILE *stream = popen("cat /dev/zero", "r");
    const int result = HTTPFileOutputer::Output(stream, "a", kDownloadType);
    printf("behind the body");
    pclose(stream);
    return result == -1 ? kStreamFailed : 0;
  });
  client.Read(1);
  client.GoAway();
  EXPECT_EQ(client.Wait(), kStreamFailed);
}

TEST_F(SendFileTest, AClientThatGoesAwayIsNoticedWhileNothingComes) {
  ClientPipe client([] {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      return 0;
    }
    FILE *never_written = fdopen(ends[0], "r");
    return HTTPFileOutputer::Output(never_written, "a", kDownloadType) == -1 ? kStreamFailed : 0;
  });
  client.GoAway();
  EXPECT_EQ(client.Wait(), kStreamFailed);
}

} // namespace
