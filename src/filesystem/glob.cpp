#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

// walkPath holds the directories from the start down to this one. A
// subdirectory already on it is a link back up the tree: entering it would
// go round for ever, so it is passed over. The same directory reached by a
// path that is no cycle is entered as often as it is reached.
void globInto(const Directory& directory, const char* pattern, bool recursive,
              std::vector<File>& result, std::vector<Identity>& walkPath) {
  Listing listing;
  listDirectory(directory, listing);
  if (recursive) {
    for (const Subdirectory& sub : listing.subdirectories) {
      bool onPath = false;
      for (const Identity& step : walkPath) onPath |= step == sub.identity;
      if (onPath) continue;
      walkPath.push_back(sub.identity);
      globInto(sub.directory, pattern, true, result, walkPath);
      walkPath.pop_back();
    }
  }
  for (const std::string& name : listing.fileNames) {
    // Only a name with a backslash differs from what File::getName() gives,
    // since the File turns it into a separator.
    if (name.find('\\') == std::string::npos) {
      if (libwdmatch_match_i(pattern, name.c_str()) == 1) {
        result.push_back(directory.file(name));
      }
    } else {
      const File file = directory.file(name);
      if (libwdmatch_match_i(pattern, file.getName().c_str()) == 1) {
        result.push_back(file);
      }
    }
  }
}

}  // namespace

void glob(const Directory& directory, const std::string& pattern,
          bool recursive, std::vector<File>& result) {
  std::vector<Identity> walkPath;
  Identity start;
  if (identityOf(directory.toUniversalPath(), start)) walkPath.push_back(start);
  globInto(directory, pattern.c_str(), recursive, result, walkPath);
}

std::vector<File> glob(const Directory& directory, const std::string& pattern,
                       bool recursive) {
  std::vector<File> result;
  glob(directory, pattern, recursive, result);
  return result;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
