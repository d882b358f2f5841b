#include "playlistctl/scan/tag_processes.h"

#include "files/file_descriptor.h"
#include "playlistctl/scan/song_packet.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <list>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>

namespace vexo::tools {
namespace {

using Clock = std::chrono::steady_clock;
using files::FileDescriptor;

constexpr std::size_t kLargestPacket = std::size_t{64} * 1024;

/// One packet, or nothing when the peer is gone. If it died with unread input, recv() fails with
/// ECONNRESET once; its remaining packets follow.
std::optional<std::string> Receive(int fd) {
  std::string packet(kLargestPacket, '\0');
  ssize_t size = 0;
  do {
    size = recv(fd, packet.data(), packet.size(), 0);
  } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
  if (size <= 0) {
    return std::nullopt;
  }
  packet.resize(static_cast<std::size_t>(size));
  return packet;
}

bool Send(int fd, const std::string &packet) {
  ssize_t size = 0;
  do {
    size = send(fd, packet.data(), packet.size(), MSG_NOSIGNAL);
  } while (size < 0 && errno == EINTR);
  return size == static_cast<ssize_t>(packet.size());
}

/// An answer starts with a byte that tells whether the rest is a song or the reason for none.
constexpr char kSong = 's';
constexpr char kNoAudio = 'n';
constexpr char kFailure = 'f';

std::string Answer(const TagFunction &read, const std::string &path) {
  try {
    const std::optional<index::Song> song = read(path);
    return song ? kSong + EncodeSong(song) : kNoAudio + std::string("it is no audio file");
  } catch (const std::exception &error) {
    return kFailure + std::string(error.what());
  } catch (...) {
    return kFailure + std::string("reading it failed");
  }
}

/// The process ends by SIGPROF when it has used so much of a processor; zero: no limit any more.
void LimitProcessorTime(std::chrono::milliseconds time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto rest = std::chrono::microseconds(time - seconds);
  const itimerval timer{{0, 0}, {seconds.count(), rest.count()}};
  setitimer(ITIMER_PROF, &timer, nullptr);
}

[[noreturn]] void ServeFiles(int fd, const TagFunction &read,
                             std::chrono::milliseconds processor_time) {
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  while (const std::optional<std::string> path = Receive(fd)) {
    LimitProcessorTime(processor_time);
    const std::string answer = Answer(read, *path);
    LimitProcessorTime({});
    if (!Send(fd, answer)) {
      break;
    }
  }
  _exit(0);
}

/// A reading process and the files that it has been given. It never outlives its owner.
class Reader {
public:
  /// Files on their way at once, so that a process need not wait for the next name. All their
  /// packets fit in a socket's buffer: sending never blocks.
  static constexpr std::size_t kAhead = 8;

  explicit Reader(const TagProcesses &how) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    socket_ = FileDescriptor(ends[0]);
    const FileDescriptor theirs(ends[1]);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0) {
      throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      close(socket_.get());
      if (getppid() != parent) {
        _exit(0);
      }
      ServeFiles(theirs.get(), how.read, how.processor_time);
    }
  }
  ~Reader() { Stop(); }
  Reader(const Reader &) = delete;
  Reader &operator=(const Reader &) = delete;

  void Give(std::size_t position, const std::string &path) {
    if (given_.empty()) {
      since_ = Clock::now();
    }
    given_.push_back(position);
    Send(socket_.get(), path);
  }

  /// The answer about the first file that it was given; nothing when the process is gone.
  std::optional<std::string> Take() {
    std::optional<std::string> answer = Receive(socket_.get());
    since_ = Clock::now();
    return answer;
  }

  /// Ends the process. What ended it before, if anything did.
  std::string Stop() {
    if (pid_ <= 0) {
      return {};
    }
    int status = 0;
    kill(pid_, SIGKILL);
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    if (!WIFSIGNALED(status) || WTERMSIG(status) == SIGKILL) {
      return {};
    }
    return WTERMSIG(status) == SIGPROF ? "it took too much time" : strsignal(WTERMSIG(status));
  }

  [[nodiscard]] int fd() const { return socket_.get(); }
  [[nodiscard]] Clock::time_point since() const { return since_; }
  std::deque<std::size_t> &given() { return given_; }

private:
  pid_t pid_ = -1;
  FileDescriptor socket_;
  std::deque<std::size_t> given_;
  Clock::time_point since_ = Clock::now();
};

class Pool {
public:
  Pool(const TagProcesses &how, const std::vector<std::string> &paths, const TagResult &done)
      : how_(how), paths_(paths), done_(done) {
    for (std::size_t i = 0; i < paths.size(); ++i) {
      waiting_.push_back(i);
    }
    const std::size_t processes =
        std::clamp<std::size_t>(how.processes, 1, std::max<std::size_t>(paths.size(), 1));
    for (std::size_t i = 0; i < processes; ++i) {
      readers_.emplace_back(how);
    }
  }

  void Run() {
    while (HandOut()) {
      std::vector<pollfd> polled;
      for (const Reader &reader : readers_) {
        polled.push_back({reader.fd(), POLLIN, 0});
      }
      const auto step = std::min<std::chrono::milliseconds>(how_.patience, std::chrono::seconds(1));
      poll(polled.data(), polled.size(), static_cast<int>(step.count()));
      auto reader = readers_.begin();
      for (const pollfd &p : polled) {
        const auto current = reader++;
        Attend(current, p.revents != 0);
      }
    }
  }

private:
  /// Gives every reader enough to do; false: all is done.
  bool HandOut() {
    bool busy = false;
    for (Reader &reader : readers_) {
      while (!waiting_.empty() && reader.given().size() < Reader::kAhead) {
        reader.Give(waiting_.front(), paths_[waiting_.front()]);
        waiting_.pop_front();
      }
      busy = busy || !reader.given().empty();
    }
    return busy;
  }

  void Attend(std::list<Reader>::iterator reader, bool ready) {
    if (ready) {
      const std::optional<std::string> answer = reader->Take();
      if (answer && !reader->given().empty()) {
        Report(*reader, *answer);
      } else {
        Replace(reader, {});
      }
    } else if (!reader->given().empty() && Clock::now() - reader->since() > how_.patience) {
      Replace(reader, {"reading it takes too long", true});
    }
  }

  void Report(Reader &reader, const std::string &answer) {
    const std::size_t position = reader.given().front();
    reader.given().pop_front();
    if (answer[0] == kSong) {
      done_(position, DecodeSong(std::string_view(answer).substr(1)), {});
    } else {
      done_(position, std::nullopt, {answer.substr(1), answer[0] == kFailure});
    }
  }

  /// A new process in the place of one that is lost: the file it was at is given up.
  void Replace(std::list<Reader>::iterator reader, TagFailure failure) {
    const std::string ended = reader->Stop();
    std::deque<std::size_t> given = std::move(reader->given());
    readers_.erase(reader);
    readers_.emplace_back(how_);
    if (given.empty()) {
      return;
    }
    const std::size_t culprit = given.front();
    given.pop_front();
    waiting_.insert(waiting_.begin(), given.begin(), given.end());
    if (failure.why.empty()) {
      failure.why = "reading it ended a process" + (ended.empty() ? "" : " (" + ended + ")");
    }
    done_(culprit, std::nullopt, std::move(failure));
  }

  const TagProcesses &how_;
  const std::vector<std::string> &paths_;
  const TagResult &done_;
  std::deque<std::size_t> waiting_;
  std::list<Reader> readers_;
};

} // namespace

void ReadAllTags(const TagProcesses &how, const std::vector<std::string> &paths,
                 const TagResult &done) {
  if (!paths.empty()) {
    Pool(how, paths, done).Run();
  }
}

} // namespace vexo::tools
