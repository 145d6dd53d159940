#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/listing.h"

namespace ZuPlatform {
namespace Filesystem {
namespace {

// Makes (if told to) and then asks for the level of text that ends at end, a
// separator: the text is cut in place for the calls and restored, so a deep
// path costs no copy per level.
bool reachLevel(std::string& text, size_t end, bool make) {
  const char saved = text[end + 1];  // at the last level, the terminator
  text[end + 1] = '\0';
  if (make) mkdir(text.c_str(), 0777);
  const bool reached = access(text.c_str(), F_OK) == 0;
  text[end + 1] = saved;
  return reached;
}

}  // namespace

// Each level of the path is its text up to one of its separators, and the
// level before is its parent; the first level is its own parent ("/", but
// also a relative HOME or TMPDIR taken literally), so the climb ends there
// and its own mkdir decides. The climb finds the deepest level that exists,
// then the missing ones are made outermost first, each asked afterwards
// whatever mkdir said (one made by someone else meanwhile counts). One copy
// of the text serves every level: memory and time stay proportional to the
// path, however many levels are missing.
bool create(const Directory& directory) {
  std::string text = directory.toUniversalPath();
  if (text.empty() || holdsNul(text)) return false;
  std::vector<size_t> ends;  // a directory's text ends in "/": never empty
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '/') ends.push_back(at);
  }
  size_t first = ends.size() - 1;
  while (first > 0 && !reachLevel(text, ends[first - 1], false)) --first;
  for (size_t level = first; level < ends.size(); ++level) {
    if (!reachLevel(text, ends[level], true)) return false;
  }
  return true;
}

// No O_EXCL: a file that appears between the test and the open is opened,
// not truncated, and counts as made. O_NOFOLLOW: a dangling link at the name
// is not created through; O_NONBLOCK: a FIFO that appears there cannot hang
// the call.
bool create(const File& file) {
  const std::string path = file.toUniversalPath();
  if (holdsNul(path)) return false;
  const Directory holder(file);
  if (!holder.exists() && !create(holder)) return false;
  if (file.exists()) return false;
  const Descriptor fd(
      open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0777));
  return fd.isOpen();
}

}  // namespace Filesystem
}  // namespace ZuPlatform
