#pragma once
// The socket that the daemon listens on.

#include "files/file_descriptor.h"
#include <string>
#include <sys/types.h>

namespace vexo::audiod {

/// Listens on a path, which is removed at the end. Only its user and group may connect.
class ControlSocket {
public:
  /// Takes the place of a socket that nobody listens on any more. `group`, when not empty, is given
  /// the socket. Throws std::runtime_error, with the path and the cause: another daemon lives
  /// there, what stands there is no socket, the group does not exist, ...
  ControlSocket(std::string path, const std::string &group);
  ~ControlSocket();
  ControlSocket(const ControlSocket &) = delete;
  ControlSocket &operator=(const ControlSocket &) = delete;

  [[nodiscard]] int descriptor() const { return listener_.get(); }

private:
  void Bind();
  void RemoveStale() const;

  std::string path_;
  files::FileDescriptor listener_;
  dev_t device_ = 0; ///< with inode_: what was bound, so that no other's is removed
  ino_t inode_ = 0;
};

} // namespace vexo::audiod
