// Bringing the index up to date.
#include "api/resources.h"
#include "index/scan_state.h"
#include "system/paths.h"
#include "system/run_program.h"
#include <chrono>
#include <optional>
#include <thread>

namespace vexo::api {
namespace {

Json::Value StateOf(const std::optional<index::ScanState> &state) {
  Json::Value document(Json::objectValue);
  document["running"] = index::IsScanning();
  if (!state) {
    return document;
  }
  document["started"] = Json::Int64{state->started};
  if (state->finished > 0) {
    document["finished"] = Json::Int64{state->finished};
    document["complete"] = state->complete;
  }
  document["files_read"] = Json::Int64{state->files_read};
  document["files_to_read"] = Json::Int64{state->files_to_read};
  Json::Value &songs = document["songs"] = Json::Value(Json::objectValue);
  songs["added"] = Json::Int64{state->added};
  songs["changed"] = Json::Int64{state->changed};
  songs["moved"] = Json::Int64{state->moved};
  songs["gone"] = Json::Int64{state->gone};
  songs["unchanged"] = Json::Int64{state->unchanged};
  songs["unreadable"] = Json::Int64{state->unreadable};
  return document;
}

/// Waits until a scan that was started when the state was `before` tells something of itself, or
/// for 3 s.
void WaitForScan(const std::optional<index::ScanState> &before) {
  constexpr int kTries = 300;
  for (int i = 0; i < kTries && index::ReadScanState() == before; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

} // namespace

Answer GetScan(Request & /*request*/) { return JsonAnswer(StateOf(index::ReadScanState())); }

Answer StartScan(Request &request) {
  if (!request.User().admin) {
    return ProblemAnswer({403, "Only an administrator may start a scan.", {}});
  }
  if (!index::IsScanning()) {
    const std::optional<index::ScanState> before = index::ReadScanState();
    if (!system::StartProgram(system::kScanTool, {"scan"})) {
      return ProblemAnswer({500, "The scan cannot be started; the server's log says why.", {}});
    }
    WaitForScan(before);
  }
  Answer answer = JsonAnswer(StateOf(index::ReadScanState()));
  answer.status = 202;
  return answer;
}

} // namespace vexo::api
