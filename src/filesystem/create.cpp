#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"

namespace ZuPlatform {
namespace Filesystem {
bool create(const Directory& directory) {
  const Directory parent = directory.parent();
  // A directory that is its own parent ("/", but also the empty path or a
  // relative HOME or TMPDIR taken literally) ends the climb: when it doesn't
  // exist, there is no ancestor to stop at, and its own mkdir decides.
  const bool ownParent =
      parent.toUniversalPath() == directory.toUniversalPath();
  if (!ownParent && !parent.exists() && !create(parent)) return false;
  mkdir(directory.toUniversalPath().c_str(), 0777);
  // Asked whatever mkdir said: one made by someone else meanwhile counts.
  return directory.exists();
}

bool create(const File& file) {
  const Directory holder(file);
  if (!holder.exists() && !create(holder)) return false;
  if (file.exists()) return false;
  // No O_EXCL: a file that appears between the test and the open is opened,
  // not truncated, and counts as made.
  const int fd = open(file.toUniversalPath().c_str(), O_WRONLY | O_CREAT, 0777);
  if (fd == -1) return false;
  close(fd);
  return true;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
