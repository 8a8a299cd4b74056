// SPDX-License-Identifier: Apache-2.0
#include "file_rights.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#ifdef __linux__
#include <sys/xattr.h>
#endif

namespace kip::tool {
namespace {

#ifdef __linux__
constexpr char kAccessList[] = "system.posix_acl_access";

// False when `from` has a list that the other file does not get. A list has the group's rights, too.
bool copyAccessList(const char* from, int descriptor, bool isSameGroup) {
  char list[4096];
  const ssize_t size = getxattr(from, kAccessList, list, sizeof list);
  if (size < 0) return errno != ERANGE;
  return isSameGroup && fsetxattr(descriptor, kAccessList, list, static_cast<size_t>(size), 0) == 0;
}

// A new file inherits one from its folder.
void dropAccessList(int descriptor) {
  fremovexattr(descriptor, kAccessList);
}
#else
bool copyAccessList(const char*, int, bool) {
  return true;
}
void dropAccessList(int) {}
#endif

}  // namespace

void copyRights(const std::string& from, int descriptor) {
  struct stat old, own;
  if (stat(from.c_str(), &old) != 0) return;
  // the owner can be given away by few, the group by its members
  if (fchown(descriptor, old.st_uid, old.st_gid) != 0 && fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0) {
    // both stay
  }
  if (fstat(descriptor, &own) != 0) return;
  mode_t mode = old.st_mode & 07777;
  if (own.st_uid != old.st_uid || own.st_gid != old.st_gid) mode &= 0777;
  dropAccessList(descriptor);
  const bool isSameGroup = own.st_gid == old.st_gid;
  if (!copyAccessList(from.c_str(), descriptor, isSameGroup)) {
    mode &= 0700;
  } else if (!isSameGroup) {
    const mode_t shared = mode & mode >> 3 & 07;
    mode = (mode & 0700) | shared << 3 | shared;
  }
  fchmod(descriptor, mode);
}

}  // namespace kip::tool
