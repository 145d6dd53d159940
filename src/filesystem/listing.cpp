#include "filesystem/listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace ZuPlatform {
namespace Filesystem {
namespace {

bool isDotOrDotDot(const char* name) {
  return name[0] == '.' &&
         (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// The failures that say the object is not there for us (missing, vanished,
// a dangling link, beyond the path-length limit): the public listings leave
// such an entry out. Anything else (an I/O error, say) leaves the walk
// unsure of what the directory holds.
bool isAbsence(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP ||
         error == EACCES || error == ENAMETOOLONG;
}

// Every name but "." and "..", read through a descriptor of its own, so the
// caller's stays where it is; false if the read fails part of the way.
bool readNames(int fd, std::vector<std::string>& names) {
  const int own = openat(fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (own < 0) return false;
  DIR* stream = fdopendir(own);
  if (stream == nullptr) {
    ::close(own);
    return false;
  }
  // Closed also when a name's allocation throws.
  const std::unique_ptr<DIR, int (*)(DIR*)> guard(stream, closedir);
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(stream);
    if (entry == nullptr) return errno == 0;
    if (!isDotOrDotDot(entry->d_name)) names.emplace_back(entry->d_name);
  }
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd >= 0) ::close(fd);
}

bool Descriptor::close() {
  const int open = fd;
  fd = -1;
  return open < 0 || ::close(open) == 0;
}

bool identityOf(int fd, Identity& identity) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  identity = Identity{status.st_dev, status.st_ino};
  return true;
}

int openDirectoryAt(int at, const char* name, bool followLinks) {
  return openat(
      at, name,
      O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLinks ? 0 : O_NOFOLLOW));
}

Entries listAt(int fd, const Directory& path, bool wantDirectories) {
  Entries entries;
  std::vector<std::string> names;
  entries.failed = !readNames(fd, names);
  const mode_t type = wantDirectories ? S_IFDIR : S_IFREG;
  for (std::string& name : names) {
    // First what the public listing sees: the type at the path it builds.
    const std::string listedPath = wantDirectories
                                       ? path.directory(name).toUniversalPath()
                                       : path.file(name).toUniversalPath();
    struct stat listed;
    if (stat(listedPath.c_str(), &listed) != 0) {
      entries.failed |= !isAbsence(errno);
      continue;
    }
    if ((listed.st_mode & S_IFMT) != type) continue;
    // Then whether that path names this very entry. A backslash turns into
    // a separator in the path, so such a name never does.
    struct stat real;
    if (name.find('\\') != std::string::npos ||
        fstatat(fd, name.c_str(), &real, 0) != 0 ||
        real.st_dev != listed.st_dev || real.st_ino != listed.st_ino) {
      entries.passedOver = true;
      continue;
    }
    // A link whose own status can't be read is taken for none: the walk
    // then enters it without following, which fails for a real link.
    struct stat own;
    const bool isLink =
        fstatat(fd, name.c_str(), &own, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(own.st_mode);
    entries.listed.push_back(
        {std::move(name), Identity{real.st_dev, real.st_ino}, isLink});
  }
  return entries;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
