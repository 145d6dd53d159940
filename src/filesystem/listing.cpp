#include "filesystem/listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>

namespace ZuPlatform {
namespace Filesystem {
namespace {

bool isDotOrDotDot(const char* name) {
  return name[0] == '.' &&
         (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// True when directory(name) and file(name) of this text give back exactly
// the text followed by name (and "/"), for any name without a backslash: an
// absolute path with no backslash, "/./" or "/../" left for the constructors
// to rewrite. Then a stat relative to the open stream asks about exactly the
// objects that the public listings would build. HOME or TMPDIR taken
// literally can fail this; such a directory goes the long way.
bool isSettledText(const std::string& text) {
  return !text.empty() && text[0] == '/' && text.back() == '/' &&
         text.find('\\') == std::string::npos &&
         text.find("/./") == std::string::npos &&
         text.find("/../") == std::string::npos;
}

bool isLinkAt(int streamFd, const char* name, unsigned char type) {
  if (type == DT_LNK) return true;
  if (type == DT_DIR) return false;
  struct stat status;
  return fstatat(streamFd, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISLNK(status.st_mode);
}

// Lists one entry the way directories() and files() do, from the very path
// objects they build. Only names with a backslash or an unsettled directory
// text come here.
void listTheLongWay(const Directory& directory, const char* name,
                    Listing& listing) {
  struct stat status;
  const Directory sub = directory.directory(name);
  const std::string subText = sub.toUniversalPath();
  if (stat(subText.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    struct stat linkStatus;
    const std::string entry = subText.substr(0, subText.size() - 1);
    const bool isLink =
        lstat(entry.c_str(), &linkStatus) == 0 && S_ISLNK(linkStatus.st_mode);
    listing.subdirectories.push_back(
        {sub, Identity{status.st_dev, status.st_ino}, isLink});
  }
  const File file = directory.file(name);
  if (stat(file.toUniversalPath().c_str(), &status) == 0 &&
      S_ISREG(status.st_mode)) {
    listing.fileNames.push_back(name);
  }
}

}  // namespace

void listDirectory(const Directory& directory, Listing& listing) {
  const std::string text = directory.toUniversalPath();
  DIR* stream = opendir(text.c_str());
  if (stream == nullptr) return;
  const bool settled = isSettledText(text);
  const int streamFd = dirfd(stream);
  while (const dirent* entry = readdir(stream)) {
    const char* name = entry->d_name;
    if (isDotOrDotDot(name)) continue;
    if (!settled || strchr(name, '\\') != nullptr) {
      listTheLongWay(directory, name, listing);
      continue;
    }
    // The type comes from stat, links followed, never from d_type: a link to
    // a directory is a subdirectory, a dangling link is nothing.
    struct stat status;
    if (fstatat(streamFd, name, &status, 0) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      listing.subdirectories.push_back(
          {directory.directory(name), Identity{status.st_dev, status.st_ino},
           isLinkAt(streamFd, name, entry->d_type)});
    } else if (S_ISREG(status.st_mode)) {
      listing.fileNames.push_back(name);
    }
  }
  closedir(stream);
}

bool identityOf(const std::string& path, Identity& identity) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return false;
  identity = Identity{status.st_dev, status.st_ino};
  return true;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
