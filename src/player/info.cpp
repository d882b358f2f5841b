#include "player/info.h"

#include "player/ctrl.h"
#include <syslog.h>

namespace {

bool Check(bool parameters_are_good, int line) {
  if (!parameters_are_good) {
    syslog(LOG_ERR, "%s:%d Bad parameters", "info.c", line);
  }
  return parameters_are_good;
}

bool HasRoom(const char *reply, int reply_size) { return reply != nullptr && reply_size > 0; }

int Ask(const PlayerCommand &command, char *reply, int reply_size) {
  return PlayerCommandSend(&command, reply, reply_size);
}

int AskRange(int32_t code, int first, int second, char *reply, int reply_size) {
  return Ask(PlayerCommandPrint(code, "%d %d", first, second), reply, reply_size);
}

int SendText(int32_t code, const char *text) {
  return PlayerCommandSendOnly(PlayerCommandPrint(code, "%s", text));
}

} // namespace

int PlayerTargetSelect(int player) {
  return PlayerCommandSendOnly(PlayerCommandPrint(21, "%d", player));
}

int PlayerQueueGet(int offset, int limit, char *reply, int reply_size) {
  return Check(HasRoom(reply, reply_size), __LINE__)
             ? AskRange(30, offset, limit, reply, reply_size)
             : -1;
}

int PlayerInfo17() { return PlayerCommandSendOnly({17, {}}); }

int PlayerInfo18() { return PlayerCommandSendOnly({18, {}}); }

int PlayerInfo19(int first, int second, char *reply, int reply_size) {
  return Check(HasRoom(reply, reply_size), __LINE__)
             ? AskRange(19, first, second, reply, reply_size)
             : -1;
}

int PlayerInfo20(int first, int second, char *reply, int reply_size) {
  return Check(HasRoom(reply, reply_size), __LINE__)
             ? AskRange(20, first, second, reply, reply_size)
             : -1;
}

int PlayerInfo22(char *reply, int reply_size) {
  return Check(HasRoom(reply, reply_size), __LINE__) ? Ask({22, {}}, reply, reply_size) : -1;
}

int PlayerInfo40(const char *text) {
  return Check(text != nullptr, __LINE__) ? SendText(40, text) : -1;
}

int PlayerInfo41(const char *text) {
  return Check(text != nullptr, __LINE__) ? SendText(41, text) : -1;
}

int PlayerInfo42(const char *text, char *reply, int reply_size) {
  return Check(text != nullptr && HasRoom(reply, reply_size), __LINE__)
             ? Ask(PlayerCommandPrint(42, "%s", text), reply, reply_size)
             : -1;
}
