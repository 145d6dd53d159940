// One read of a directory for the tree walks (remove, copy, glob): the
// subdirectories and regular files that Directory::directories() and
// Directory::files() would give, each in listing order, with one stat per
// entry instead of a stat per entry and listing.
#ifndef ZU_SRC_FILESYSTEM_LISTING_H
#define ZU_SRC_FILESYSTEM_LISTING_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "ZuPlatform/paths.h"

namespace ZuPlatform {
namespace Filesystem {

// Where a directory lives on disk; equal identities are the same directory,
// whatever path or link led there.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const Identity& other) const {
    return device == other.device && inode == other.inode;
  }
};

struct Subdirectory {
  Directory directory;  // as directories() gives it
  Identity identity;    // of what it leads to, links followed
  bool isLink;          // the entry itself is a symbolic link
};

struct Listing {
  std::vector<Subdirectory> subdirectories;
  // The regular files, as the d_name of each entry: the File that files()
  // gives is directory.file(name).
  std::vector<std::string> fileNames;
};

// Reads directory once; an unreadable directory leaves listing as it was.
void listDirectory(const Directory& directory, Listing& listing);

// The identity of what path leads to, links followed; false if stat fails.
bool identityOf(const std::string& path, Identity& identity);

}  // namespace Filesystem
}  // namespace ZuPlatform

#endif  // ZU_SRC_FILESYSTEM_LISTING_H
