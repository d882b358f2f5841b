#include "vexoaudiod/server.h"
#include "system/player_commands.h"
#include "vexoaudiod/reply.h"
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>
#include <variant>

namespace vexo::audiod {

namespace {

/// The fixed places in the list of what is watched; the clients follow.
enum Watch : std::size_t { kStop, kOutbox, kListener, kFirstClient };

/// How long no connection is taken after there were no descriptors for one.
constexpr std::chrono::milliseconds kAcceptPause{100};

constexpr const char *kTooMany = "too many ask for this player";

std::string PlayerName(int number) {
  return number == system::kUsbPlayer ? "usb" : std::to_string(number);
}

/// As recv(), and takes a descriptor that comes along: the last one, when there are several.
ssize_t Receive(int connection, std::span<char> bytes, files::FileDescriptor &passed) {
  constexpr std::size_t kMostPassed = 4;
  alignas(cmsghdr) char control[CMSG_SPACE(kMostPassed * sizeof(int))];
  iovec piece{bytes.data(), bytes.size()};
  msghdr message{};
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t count = recvmsg(connection, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  for (cmsghdr *header = count < 0 ? nullptr : CMSG_FIRSTHDR(&message); header != nullptr;
       header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) {
      continue;
    }
    for (std::size_t at = 0; at + CMSG_LEN(sizeof(int)) <= header->cmsg_len; at += sizeof(int)) {
      int descriptor = -1;
      memcpy(&descriptor, CMSG_DATA(header) + at, sizeof descriptor);
      passed = files::FileDescriptor(descriptor);
    }
  }
  return count;
}

} // namespace

Outbox::Outbox() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
}

void Outbox::Put(uint64_t client, std::string reply) {
  {
    const std::lock_guard lock(mutex_);
    replies_.emplace_back(client, std::move(reply));
  }
  eventfd_write(event_.get(), 1);
}

std::vector<std::pair<uint64_t, std::string>> Outbox::TakeAll() {
  eventfd_t count = 0;
  eventfd_read(event_.get(), &count);
  const std::lock_guard lock(mutex_);
  return std::exchange(replies_, {});
}

Server::Server(const std::map<int, PlayerSettings> &players) {
  for (const auto &[number, settings] : players) {
    players_[number] = std::make_unique<Player>(
        PlayerName(number), settings,
        [this](uint64_t client, std::string reply) { outbox_.Put(client, std::move(reply)); });
  }
}

Server::~Server() {
  for (const auto &[number, player] : players_) {
    player->End(); // all of them before the first is waited for
  }
}

void Server::Run(int listener, int stop) {
  listener_ = listener;
  for (;;) {
    std::vector<pollfd> watched = Watched(stop);
    if (poll(watched.data(), watched.size(), MillisecondsToDeadline()) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (watched[kStop].revents != 0) {
      return;
    }
    ServeReady(watched);
    DeliverReplies();
    DropLate();
    if (watched[kListener].revents != 0) {
      Accept();
    }
  }
}

/// A client that waits is watched for its end only, which poll() tells without being asked.
std::vector<pollfd> Server::Watched(int stop) const {
  const int listener = Clock::now() < accept_again_ ? -1 : listener_;
  std::vector<pollfd> watched = {
      {stop, POLLIN, 0}, {outbox_.descriptor(), POLLIN, 0}, {listener, POLLIN, 0}};
  for (const auto &[number, client] : clients_) {
    watched.push_back({client.connection.get(), static_cast<short>(client.waits ? 0 : POLLIN), 0});
  }
  return watched;
}

int Server::MillisecondsToDeadline() const {
  const Clock::time_point now = Clock::now();
  Clock::time_point next = now + std::chrono::minutes(1);
  if (accept_again_ > now) {
    next = accept_again_;
  }
  for (const auto &[number, client] : clients_) {
    next = std::min(next, client.deadline);
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
  return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void Server::Accept() {
  for (std::size_t taken = 0; taken < kMostClients; ++taken) {
    files::FileDescriptor connection(
        accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!connection) {
      if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        accept_again_ = Clock::now() + kAcceptPause;
      }
      return;
    }
    Add(std::move(connection));
  }
}

/// Serves at once what is there already: most clients write as soon as they are connected.
void Server::Add(files::FileDescriptor connection) {
  if (clients_.size() >= kMostClients && !MakeRoom()) {
    return;
  }
  const auto added =
      clients_.emplace(next_client_++, Client{std::move(connection), "", files::FileDescriptor(),
                                              false, Clock::now() + kReadingTime});
  Serve(added.first);
}

/// Drops the client that has been silent for longest, if any is.
bool Server::MakeRoom() {
  const auto silent = std::find_if(clients_.begin(), clients_.end(),
                                   [](const auto &entry) { return !entry.second.waits; });
  if (silent == clients_.end()) {
    return false;
  }
  clients_.erase(silent);
  return true;
}

/// `watched` lists the clients in their order.
void Server::ServeReady(const std::vector<pollfd> &watched) {
  auto client = clients_.begin();
  for (std::size_t index = kFirstClient; index < watched.size(); ++index) {
    const auto next = std::next(client);
    if (watched[index].revents != 0) {
      if (client->second.waits) {
        clients_.erase(client);
      } else {
        Serve(client);
      }
    }
    client = next;
  }
}

void Server::Serve(Clients::iterator client) {
  char bytes[system::kPlayerRecordSize];
  std::string &record = client->second.record;
  const ssize_t count =
      Receive(client->second.connection.get(), {bytes, system::kPlayerRecordSize - record.size()},
              client->second.songs);
  if (count < 0) {
    if (errno != EAGAIN && errno != EINTR) {
      clients_.erase(client);
    }
    return;
  }
  record.append(bytes, static_cast<std::size_t>(count));
  if (count == 0 || record.size() == system::kPlayerRecordSize) {
    Handle(client);
  }
}

void Server::Handle(Clients::iterator client) {
  std::visit([this, client](const auto &command) { Handle(client, command); },
             ParseRecord(client->second.record));
}

void Server::Handle(Clients::iterator client, const Refusal &command) {
  Answer(client, ErrorReply(command.reason));
}

void Server::Handle(Clients::iterator client, const SelectPlayer &command) {
  const std::optional<ProcessId> process = PeerProcess(client->second.connection.get());
  if (!process.has_value()) {
    Answer(client, ErrorReply("the process that asks is not known"));
  } else if (players_.count(command.player) == 0) {
    selections_.Forget(*process); // do not keep the previous selection
    Answer(client, ErrorReply("there is no player " + PlayerName(command.player)));
  } else {
    selections_.Select(*process, command.player, Clock::now());
    Answer(client, SelectedReply(command.player));
  }
}

std::optional<int> Server::SelectedBy(const Client &client) {
  const std::optional<ProcessId> process = PeerProcess(client.connection.get());
  return process.has_value() ? selections_.Selected(*process, Clock::now()) : std::nullopt;
}

void Server::Handle(Clients::iterator client, const GetQueue &command) {
  const std::optional<int> player = command.player ? command.player : SelectedBy(client->second);
  if (!player.has_value()) {
    Answer(client, QueueErrorReply("no player is selected"));
  } else if (players_.count(*player) == 0) {
    Answer(client, QueueErrorReply("there is no player " + PlayerName(*player)));
  } else if (!Ask(client, *player, command)) {
    Answer(client, QueueErrorReply(kTooMany));
  }
}

void Server::Handle(Clients::iterator client, const ControlPlayer &command) {
  Tell(client, command);
}

void Server::Handle(Clients::iterator client, const LoadSongs &command) { Tell(client, command); }

template <typename Command> void Server::Tell(Clients::iterator client, const Command &command) {
  if (players_.count(command.player) == 0) {
    Answer(client, ErrorReply("there is no player " + PlayerName(command.player)));
  } else if (!Ask(client, command.player, command)) {
    Answer(client, ErrorReply(kTooMany));
  }
}

template <typename Command>
bool Server::Ask(Clients::iterator client, int player, const Command &command) {
  client->second.waits = true;
  client->second.deadline = Clock::now() + kWaitingTime;
  return players_.at(player)->Ask(
      {client->first, command, std::move(client->second.songs), client->second.deadline});
}

/// One piece or nothing, and never a wait: a reply is short enough for any socket's buffer.
void Server::Answer(Clients::iterator client, const std::string &reply) {
  if (send(client->second.connection.get(), reply.data(), reply.size(),
           MSG_NOSIGNAL | MSG_DONTWAIT) != static_cast<ssize_t>(reply.size()) &&
      errno != EPIPE) {
    syslog(LOG_ERR, "a reply was not taken whole");
  }
  clients_.erase(client);
}

void Server::DeliverReplies() {
  for (const auto &[number, reply] : outbox_.TakeAll()) {
    const auto client = clients_.find(number);
    if (client != clients_.end()) {
      Answer(client, reply);
    }
  }
}

void Server::DropLate() {
  const Clock::time_point now = Clock::now();
  std::erase_if(clients_, [now](const auto &entry) { return entry.second.deadline <= now; });
}

} // namespace vexo::audiod
