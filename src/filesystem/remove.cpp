#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

// Empties the directory open at fd, whose path is path: subdirectories
// first, then the files listed after them; false at the first that can't go.
// Every removal is by name relative to fd, and a subdirectory is entered
// without following a link, so nothing outside the tree can be reached. An
// entry passed over (or left out by a listing that failed) stays, and so
// does its directory.
bool removeContents(int fd, const Directory& path) {
  for (const Entry& sub : listAt(fd, path, true).listed) {
    const char* name = sub.name.c_str();
    if (sub.isLink) {
      // A link to a directory goes as a link: what it points at may lie
      // outside the tree.
      if (unlinkat(fd, name, 0) != 0) return false;
      continue;
    }
    const Descriptor subFd(openDirectoryAt(fd, name, false));
    if (!subFd.isOpen() ||
        !removeContents(subFd.get(), path.directory(sub.name)) ||
        unlinkat(fd, name, AT_REMOVEDIR) != 0) {
      return false;
    }
  }
  for (const Entry& file : listAt(fd, path, false).listed) {
    if (unlinkat(fd, file.name.c_str(), 0) != 0) return false;
  }
  return true;
}

}  // namespace

bool remove(const File& file) {
  const std::string path = file.toUniversalPath();
  return !holdsNul(path) && ::remove(path.c_str()) == 0;
}

bool remove(const Directory& directory) {
  if (!directory.exists()) return false;
  const std::string path = directory.toUniversalPath();
  {
    const Descriptor fd(openDirectoryAt(AT_FDCWD, path.c_str(), true));
    if (!fd.isOpen() || !removeContents(fd.get(), directory)) return false;
  }
  if (rmdir(path.c_str()) != 0) return false;
  return !directory.exists();
}

}  // namespace Filesystem
}  // namespace ZuPlatform
