#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

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
  // The name is predictable, so someone else may have planted something
  // there. O_NOFOLLOW: a link is refused, nothing is created or emptied at
  // its target; O_NONBLOCK: a FIFO cannot hang the call. Only a regular file
  // is accepted, and emptied; anything else counts as a failed creation.
  const Descriptor fd(open(file.toUniversalPath().c_str(),
                           O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0777));
  // The caller asks exists() on the result, so a failed truncation has
  // nothing to report beyond what stands at the path.
  struct stat status;
  if (fd.isOpen() && fstat(fd.get(), &status) == 0 && S_ISREG(status.st_mode)) {
    [[maybe_unused]] const int emptied = ftruncate(fd.get(), 0);
  }
  return file;
}

File createTempFileName() {
  const File file = createTempFile();
  remove(file);
  return file;
}

}  // namespace Filesystem
}  // namespace ZuPlatform
