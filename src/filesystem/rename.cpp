#include <cstdio>

#include "ZuPlatform/filesystem.h"

namespace ZuPlatform {
namespace Filesystem {

// The new name is plain text behind the containing directory, so "/" and
// ".." in it move the object as well; neither path is tested first.
bool rename(const Directory& directory, const std::string& newName) {
  const Directory target = directory.parent().directory(newName);
  return ::rename(directory.toUniversalPath().c_str(),
                  target.toUniversalPath().c_str()) == 0;
}

bool rename(const File& file, const std::string& newName) {
  const File target = Directory(file).file(newName);
  return ::rename(file.toUniversalPath().c_str(),
                  target.toUniversalPath().c_str()) == 0;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
