#include <fcntl.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"

std::string _getTempFileName() {
  // Tested before a number is taken, so a missing directory spends none.
  const ZuPlatform::Directory temp(ZuPlatform::Directory::WELL_KNOWN_TEMP);
  if (!temp.exists()) return std::string();
  const ZuPlatform::File executable(_getProcessFileName());
  return ZuPlatform::Filesystem::createUniqueName(temp.toUniversalPath() +
                                                  executable.getBaseName());
}

namespace ZuPlatform {
namespace Filesystem {

File createTempFile() {
  const File file(_getTempFileName());
  // creat() plus O_NOFOLLOW: the name is predictable, so a link planted there
  // by someone else must not make us create or empty a file at its target. A
  // link makes the open fail like any refused creat; a regular file already
  // at the name is emptied.
  const int fd = open(file.toUniversalPath().c_str(),
                      O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0777);
  if (fd != -1) close(fd);
  return file;
}

File createTempFileName() {
  const File file = createTempFile();
  remove(file);
  return file;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
