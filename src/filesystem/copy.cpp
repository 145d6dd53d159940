#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

constexpr size_t COPY_BLOCK_SIZE = 32768;

// Moves everything from in to out, one block at a time; a short write goes
// on at the first byte it left behind.
bool transfer(int in, int out) {
  char buffer[COPY_BLOCK_SIZE];
  for (;;) {
    const ssize_t got = read(in, buffer, sizeof buffer);
    if (got == 0) return true;
    if (got < 0) return false;
    ssize_t written = 0;
    while (written < got) {
      const ssize_t put = write(out, buffer + written, got - written);
      // A write that moves nothing would spin here for ever.
      if (put <= 0) return false;
      written += put;
    }
  }
}

// Copies sourceName (relative to the directory open at sourceAt) to
// targetName (relative to targetAt); AT_FDCWD takes paths. Nothing is opened
// so that it could block: a source that is neither a regular file nor a
// directory fails before the target is touched (a directory gets an empty
// target, whose first read fails), and the target must be a regular file
// that is not the source itself, never reached through a link.
bool copyFileAt(int sourceAt, const char* sourceName, int targetAt,
                const char* targetName, bool overwrite) {
  Descriptor in(
      openat(sourceAt, sourceName, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat source;
  if (!in.isOpen() || fstat(in.get(), &source) != 0 ||
      !(S_ISREG(source.st_mode) || S_ISDIR(source.st_mode))) {
    return false;
  }
  // Without overwrite O_EXCL refuses any existing target, this file too.
  const int flags = O_WRONLY | O_CREAT | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC |
                    (overwrite ? 0 : O_EXCL);
  Descriptor out(openat(targetAt, targetName, flags, source.st_mode));
  struct stat target;
  // Emptied only once it is known not to be the source (the same path, a
  // hard link): truncating that would destroy the data about to be read.
  if (!out.isOpen() || fstat(out.get(), &target) != 0 ||
      !S_ISREG(target.st_mode) ||
      (target.st_dev == source.st_dev && target.st_ino == source.st_ino) ||
      ftruncate(out.get(), 0) != 0) {
    return false;
  }
  const bool done = transfer(in.get(), out.get());
  in.close();
  // A failed close can mean a write that never reached the disk.
  return out.close() && done;
}

struct Walk {
  bool overwrite;
  Identity output;                 // the target: never copied into itself
  std::vector<Identity> walkPath;  // the source directories being copied
};

// Copies the contents of the source directory open at sourceFd (whose path
// is source) into the target directory open at targetFd: subdirectories
// first, then the files listed after them, so a file that copying a
// subdirectory put here is taken too. On the target side nothing is entered
// or written through a link; the source side follows links, as its listings
// do, but never into a directory already on the walk's path (a link back up
// the tree) nor into the target (which may lie inside the source).
bool copyContents(int sourceFd, const Directory& source, int targetFd,
                  Walk& walk) {
  const Entries subdirectories = listAt(sourceFd, source, true);
  if (subdirectories.failed || subdirectories.passedOver) return false;
  for (const Entry& sub : subdirectories.listed) {
    if (sub.identity == walk.output ||
        std::find(walk.walkPath.begin(), walk.walkPath.end(), sub.identity) !=
            walk.walkPath.end()) {
      continue;
    }
    const char* name = sub.name.c_str();
    mkdirat(targetFd, name, 0777);  // one that is there already is merged
    const Descriptor subTarget(openDirectoryAt(targetFd, name, false));
    const Descriptor subSource(openDirectoryAt(sourceFd, name, true));
    Identity entered;
    if (!subTarget.isOpen() || !subSource.isOpen() ||
        !identityOf(subSource.get(), entered) || !(entered == sub.identity)) {
      return false;
    }
    walk.walkPath.push_back(sub.identity);
    const bool done = copyContents(subSource.get(), source.directory(sub.name),
                                   subTarget.get(), walk);
    walk.walkPath.pop_back();
    if (!done) return false;
  }
  const Entries files = listAt(sourceFd, source, false);
  if (files.failed || files.passedOver) return false;
  for (const Entry& file : files.listed) {
    const char* name = file.name.c_str();
    if (!copyFileAt(sourceFd, name, targetFd, name, walk.overwrite)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool copy(const File& file, const Directory& directory, bool overwrite) {
  const std::string sourcePath = file.toUniversalPath();
  const std::string targetPath =
      directory.file(file.getName()).toUniversalPath();
  // A missing source or target directory fails at its open.
  if (holdsNul(sourcePath) || holdsNul(targetPath)) return false;
  return copyFileAt(AT_FDCWD, sourcePath.c_str(), AT_FDCWD, targetPath.c_str(),
                    overwrite);
}

bool copy(const Directory& source, const Directory& target, bool overwrite) {
  const std::string sourcePath = source.toUniversalPath();
  const std::string targetPath = target.toUniversalPath();
  if (holdsNul(sourcePath) || holdsNul(targetPath)) return false;
  if (!target.exists() && !create(target)) return false;
  const Descriptor targetFd(
      openDirectoryAt(AT_FDCWD, targetPath.c_str(), true));
  const Descriptor sourceFd(
      openDirectoryAt(AT_FDCWD, sourcePath.c_str(), true));
  // A missing source has nothing to copy; one that is there but can't be
  // opened is a failure.
  if (!sourceFd.isOpen()) return targetFd.isOpen() && !source.exists();
  Walk walk{overwrite, Identity(), {}};
  Identity start;
  if (!targetFd.isOpen() || !identityOf(targetFd.get(), walk.output) ||
      !identityOf(sourceFd.get(), start)) {
    return false;
  }
  walk.walkPath.push_back(start);
  return copyContents(sourceFd.get(), source, targetFd.get(), walk);
}

}  // namespace Filesystem
}  // namespace ZuPlatform
