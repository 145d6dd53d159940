#include <sys/stat.h>

#include "ZuPlatform/filesystem.h"

namespace ZuPlatform {
namespace Filesystem {

bool getLastModifiedTime(const File& file, long* time) {
  if (time == nullptr) return false;
  struct stat status;
  if (stat(file.toNativePath().c_str(), &status) != 0) return false;
  *time = status.st_mtime;
  return true;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
