#include <sys/stat.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {

bool getLastModifiedTime(const File& file, long* time) {
  const std::string path = file.toNativePath();
  if (time == nullptr || holdsNul(path)) return false;
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return false;
  *time = status.st_mtime;
  return true;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
