// The tree walks (remove, copy, glob) go through open directory descriptors:
// each level is opened relative to its parent without following a link where
// the walk writes, listed through its descriptor, and acted on by name
// relative to it, so a directory swapped for a link while the walk runs
// cannot lead it elsewhere. What a walk takes from a level is exactly what
// Directory::directories() and Directory::files() would list at that moment,
// less the entries whose listed path names some other object.
#ifndef ZU_SRC_FILESYSTEM_LISTING_H
#define ZU_SRC_FILESYSTEM_LISTING_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "ZuPlatform/paths.h"

namespace ZuPlatform {
namespace Filesystem {

// A descriptor that is closed however the scope is left.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();
  int get() const { return fd; }
  bool isOpen() const { return fd >= 0; }
  // Closes now; false if close fails (a write may then be lost).
  bool close();

 private:
  int fd;
};

// Where an object lives on disk; equal identities are the same object,
// whatever path or link led there.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const Identity& other) const {
    return device == other.device && inode == other.inode;
  }
};

// The identity of what fd is open on; false if fstat fails.
bool identityOf(int fd, Identity& identity);

// Opens the directory name relative to the directory open at at (AT_FDCWD for
// a path), following a link only when told to.
int openDirectoryAt(int at, const char* name, bool followLinks);

// True if the text can't reach the system whole: a NUL byte would cut it.
inline bool holdsNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

struct Entry {
  std::string name;   // the entry's own name in the open directory
  Identity identity;  // of what it leads to, links followed
  bool isLink;        // the entry itself is a symbolic link
};

struct Entries {
  std::vector<Entry> listed;  // in listing order
  // A listing would give an entry under a path that names something other
  // than the entry itself (a name holding a backslash, say): the walk passes
  // it over and does not act on what that path names.
  bool passedOver = false;
  // A system call failed other than for a missing or unreachable object:
  // the list may lack entries.
  bool failed = false;
};

// The subdirectories (wantDirectories) or regular files of the directory
// open at fd, whose path is path.
Entries listAt(int fd, const Directory& path, bool wantDirectories);

}  // namespace Filesystem
}  // namespace ZuPlatform

#endif  // ZU_SRC_FILESYSTEM_LISTING_H
