#pragma once
// The fixture of the player's tests: a host that records, and a daemon's socket in the device root.

#include "recording_platform/host_test.h"
#include "support/scripted_daemon.h"
#include "system_calls.h"
#include <memory>

class PlayerTest : public recording::HostTest {
protected:
  void SetUp() override {
    HostTest::SetUp();
    system_calls::control() = {};
  }
  void TearDown() override {
    daemon_.reset();
    system_calls::control() = {};
    HostTest::TearDown();
  }

  static std::string socket_path() { return root() + "/tmp/vexoaudiod.sock"; }

  /// Starts a daemon that does this with each connection.
  ScriptedDaemon &Daemon(ScriptedDaemon::Answer answer) {
    daemon_.reset();
    daemon_ = std::make_unique<ScriptedDaemon>(socket_path(), std::move(answer));
    return *daemon_;
  }
  /// Starts a daemon that says this to each command.
  ScriptedDaemon &DaemonThatSays(const std::string &reply) {
    return Daemon([reply](const ScriptedDaemon::Command &command) { command.Say(reply); });
  }
  void StopDaemon() { daemon_.reset(); }

private:
  std::unique_ptr<ScriptedDaemon> daemon_;
};
