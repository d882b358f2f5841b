// The records of the control socket: any bytes are a command or are refused, and a command that was
// understood means the same when it is printed as a client prints it.

#include "system/player_commands.h"
#include "vexoaudiod/record.h"
#include "vexoaudiod/reply.h"
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <json/json.h>

namespace {

using namespace vexo;
using namespace vexo::audiod;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

std::string Record(int32_t code, const std::string &argument) {
  std::string record(system::kPlayerRecordSize, '\0');
  memcpy(record.data(), &code, sizeof code);
  argument.copy(record.data() + sizeof code, argument.size());
  return record;
}

void Check(const Refusal &refusal) {
  Json::Value reply;
  Json::Reader reader;
  Require(reader.parse(ErrorReply(refusal.reason), reply, true) && reply["error"].isString());
}

void Check(const SelectPlayer &command) {
  const Command again = ParseRecord(Record(21, std::to_string(command.player)));
  Require(std::get<SelectPlayer>(again).player == command.player);
}

std::string Numbers(std::initializer_list<int64_t> numbers) {
  std::string text;
  for (const int64_t number : numbers) {
    text.append(text.empty() ? "" : " ").append(std::to_string(number));
  }
  return text;
}

void Check(const GetQueue &command) {
  const std::string page = Numbers({command.offset, command.limit});
  const Command again = ParseRecord(
      command.player ? Record(1002, Numbers({*command.player}) + " " + page) : Record(30, page));
  Require(std::get<GetQueue>(again).player == command.player &&
          std::get<GetQueue>(again).offset == command.offset &&
          std::get<GetQueue>(again).limit == command.limit);
}

void Check(const ControlPlayer &command) {
  if (command.control == Control::kSeek) {
    const Command again = ParseRecord(Record(1009, Numbers({command.player, command.value})));
    Require(std::get<ControlPlayer>(again).player == command.player &&
            std::get<ControlPlayer>(again).value == command.value);
  }
}

void Check(const LoadSongs &command) {
  const std::string record =
      command.place == Place::kReplace  ? Record(1011, Numbers({command.player, command.begin}))
      : command.place == Place::kAppend ? Record(1012, Numbers({command.player}))
                                        : Record(1013, Numbers({command.player}));
  const Command again = ParseRecord(record);
  Require(std::get<LoadSongs>(again).player == command.player &&
          std::get<LoadSongs>(again).place == command.place &&
          std::get<LoadSongs>(again).begin == command.begin);
}

void CheckRecord(const std::string &record) {
  std::visit([](const auto &command) { Check(command); }, ParseRecord(record));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  std::string record(reinterpret_cast<const char *>(data), size);
  CheckRecord(record);
  record.resize(system::kPlayerRecordSize, '\0'); // most inputs are shorter
  CheckRecord(record);
  return 0;
}
