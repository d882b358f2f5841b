// The records of the control socket: any bytes are a command or are refused, and a command that was
// understood means the same when it is printed as a client prints it.

#include "vexoaudiod/record.h"
#include "vexoaudiod/reply.h"
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <json/json.h>

namespace {

using namespace vexo::audiod;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

std::string Record(int32_t code, const std::string &argument) {
  std::string record(kRecordSize, '\0');
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

void Check(const GetQueue &command) {
  const Command again =
      ParseRecord(Record(30, std::to_string(command.offset) + " " + std::to_string(command.limit)));
  Require(std::get<GetQueue>(again).offset == command.offset &&
          std::get<GetQueue>(again).limit == command.limit);
}

void CheckRecord(const std::string &record) {
  std::visit([](const auto &command) { Check(command); }, ParseRecord(record));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  std::string record(reinterpret_cast<const char *>(data), size);
  CheckRecord(record);
  record.resize(kRecordSize, '\0'); // most inputs are shorter
  CheckRecord(record);
  return 0;
}
