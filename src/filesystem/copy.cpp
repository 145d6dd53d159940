#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

constexpr size_t COPY_BLOCK_SIZE = 32768;

// True if target already names the very file that source is (same path, a
// hard link, or a link to it). Truncating it for the copy would destroy the
// data about to be read.
bool isSameFile(const struct stat& source, const std::string& target) {
  Identity existing;
  return identityOf(target, existing) &&
         existing == Identity{source.st_dev, source.st_ino};
}

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

// The tree copy below the top level. output is where the whole copy goes:
// when the target lies inside the source, it turns up in the source's
// listing, and entering it would copy the copy again, without end.
bool copyTree(const Directory& source, const Directory& target, bool overwrite,
              const Identity* output) {
  Listing listing;
  listDirectory(source, listing);
  for (const Subdirectory& sub : listing.subdirectories) {
    if (output != nullptr && sub.identity == *output) continue;
    const Directory subTarget = target.directory(sub.directory.getName());
    if (!subTarget.exists() && !create(subTarget)) return false;
    if (!copyTree(sub.directory, subTarget, overwrite, output)) return false;
  }
  for (const std::string& name : listing.fileNames) {
    if (!copy(source.file(name), target, overwrite)) return false;
  }
  return true;
}

}  // namespace

bool copy(const File& file, const Directory& directory, bool overwrite) {
  if (!file.exists() || !directory.exists()) return false;
  const std::string sourcePath = file.toUniversalPath();
  const std::string targetPath =
      directory.file(file.getName()).toUniversalPath();
  const int in = open(sourcePath.c_str(), O_RDONLY);
  if (in < 0) return false;
  struct stat status;
  if (stat(sourcePath.c_str(), &status) != 0 ||
      (overwrite && isSameFile(status, targetPath))) {
    close(in);
    return false;
  }
  // Without overwrite O_EXCL refuses any existing target, this file too.
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | (overwrite ? 0 : O_EXCL);
  const int out = open(targetPath.c_str(), flags, status.st_mode);
  if (out < 0) {
    close(in);
    return false;
  }
  const bool done = transfer(in, out);
  close(in);
  close(out);
  return done;
}

bool copy(const Directory& source, const Directory& target, bool overwrite) {
  if (!target.exists() && !create(target)) return false;
  Identity output;
  const bool known = identityOf(target.toUniversalPath(), output);
  return copyTree(source, target, overwrite, known ? &output : nullptr);
}

}  // namespace Filesystem
}  // namespace ZuPlatform
