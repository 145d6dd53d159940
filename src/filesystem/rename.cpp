#include <cstdio>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

bool renamePath(const std::string& from, const std::string& to) {
  return !holdsNul(from) && !holdsNul(to) &&
         ::rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

// The new name is plain text behind the containing directory, so "/" and
// ".." in it move the object as well; neither path is tested first.
bool rename(const Directory& directory, const std::string& newName) {
  return renamePath(directory.toUniversalPath(),
                    directory.parent().directory(newName).toUniversalPath());
}

bool rename(const File& file, const std::string& newName) {
  return renamePath(file.toUniversalPath(),
                    Directory(file).file(newName).toUniversalPath());
}

}  // namespace Filesystem
}  // namespace ZuPlatform
