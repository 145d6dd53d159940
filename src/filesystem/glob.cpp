#include <fcntl.h>

#include <algorithm>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

// walkPath holds the directories from the start down to this one. A
// subdirectory already on it is a link back up the tree: entering it would
// go round for ever, so it is passed over. The same directory reached by a
// path that is no cycle is entered as often as it is reached.
void globInto(int fd, const Directory& directory, const char* pattern,
              bool recursive, std::vector<File>& result,
              std::vector<Identity>& walkPath) {
  if (recursive) {
    for (const Entry& sub : listAt(fd, directory, true).listed) {
      if (std::find(walkPath.begin(), walkPath.end(), sub.identity) !=
          walkPath.end()) {
        continue;
      }
      const Descriptor subFd(openDirectoryAt(fd, sub.name.c_str(), true));
      Identity entered;
      if (!subFd.isOpen() || !identityOf(subFd.get(), entered) ||
          !(entered == sub.identity)) {
        continue;  // gone or swapped since it was listed
      }
      walkPath.push_back(sub.identity);
      globInto(subFd.get(), directory.directory(sub.name), pattern, true,
               result, walkPath);
      walkPath.pop_back();
    }
  }
  // Listed after the subdirectories, as files() would give them now. A
  // listed name holds no backslash, so it is what File::getName() gives.
  for (const Entry& file : listAt(fd, directory, false).listed) {
    if (libwdmatch_match_i(pattern, file.name.c_str()) == 1) {
      result.push_back(directory.file(file.name));
    }
  }
}

}  // namespace

void glob(const Directory& directory, const std::string& pattern,
          bool recursive, std::vector<File>& result) {
  const std::string path = directory.toUniversalPath();
  if (holdsNul(path)) return;
  const Descriptor fd(openDirectoryAt(AT_FDCWD, path.c_str(), true));
  if (!fd.isOpen()) return;
  // Without the start's identity a link back to it is caught one level on.
  std::vector<Identity> walkPath;
  Identity start;
  if (identityOf(fd.get(), start)) walkPath.push_back(start);
  globInto(fd.get(), directory, pattern.c_str(), recursive, result, walkPath);
}

std::vector<File> glob(const Directory& directory, const std::string& pattern,
                       bool recursive) {
  std::vector<File> result;
  glob(directory, pattern, recursive, result);
  return result;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
