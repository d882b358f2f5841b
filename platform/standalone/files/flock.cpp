// Every flock() of the programs comes here (the linker's --wrap, see CMakeLists.txt): also those of
// code that is built for hosts of one machine.
#include "files/lock_file.h"

extern "C" {

int __real_flock(int fd, int operation);
int __wrap_flock(int fd, int operation);

int __wrap_flock(int fd, int operation) {
  return vexo::files::LeadToLockFile(fd) ? __real_flock(fd, operation) : -1;
}
}
