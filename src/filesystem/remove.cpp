#include <unistd.h>

#include <cstdio>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {

bool remove(const File& file) {
  return ::remove(file.toUniversalPath().c_str()) == 0;
}

bool remove(const Directory& directory) {
  if (!directory.exists()) return false;
  Listing listing;
  listDirectory(directory, listing);
  for (const Subdirectory& sub : listing.subdirectories) {
    if (sub.isLink) {
      // A link to a directory goes as a link: what it points at may lie
      // outside the tree, and the caller asked to remove only the tree.
      std::string link = sub.directory.toUniversalPath();
      link.pop_back();  // without the "/", unlink takes the link itself
      if (unlink(link.c_str()) != 0) return false;
    } else if (!remove(sub.directory)) {
      return false;
    }
  }
  for (const std::string& name : listing.fileNames) {
    if (!remove(directory.file(name))) return false;
  }
  if (rmdir(directory.toUniversalPath().c_str()) != 0) return false;
  return !directory.exists();
}

}  // namespace Filesystem
}  // namespace ZuPlatform
