#include <unistd.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {

bool changeCurrentDirectory(const Directory& directory) {
  const std::string path = directory.toUniversalPath();
  return !holdsNul(path) && chdir(path.c_str()) == 0;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
