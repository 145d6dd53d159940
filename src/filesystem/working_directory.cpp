#include <unistd.h>

#include "ZuPlatform/filesystem.h"

namespace ZuPlatform {
namespace Filesystem {

bool changeCurrentDirectory(const Directory& directory) {
  return chdir(directory.toUniversalPath().c_str()) == 0;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
