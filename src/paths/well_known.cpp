// The fixed points of the process: the well-known directories, the file that
// holds an address, and the path of the running executable.
#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ZuPlatform/paths.h"
#include "paths/normalise.h"

namespace ZuPlatform {
namespace {

constexpr size_t CURRENT_DIRECTORY_BUFFER_SIZE = 4096;
constexpr size_t LINK_BUFFER_SIZE = 2048;

// Environment values are taken as they are, relative or not, and only gain
// the "/" that every directory text ends in. An empty value becomes "/".
std::string directoryTextOf(const char* value) {
  std::string text = value;
  if (text.empty() || text.back() != '/') text += '/';
  return text;
}

// The target of /proc/self/exe, cut to 2047 bytes; empty if unreadable. The
// zeroed buffer makes the result of readlink unnecessary to look at.
std::string executableLinkText() {
  char target[LINK_BUFFER_SIZE];
  std::memset(target, 0, sizeof target);
  ssize_t ignored = readlink("/proc/self/exe", target, sizeof target);
  (void)ignored;
  target[LINK_BUFFER_SIZE - 1] = '\0';
  return target;
}

// Any function of this library serves to find the library's own file.
void markerInThisLibrary() {}

}  // namespace

namespace detail {

// A current directory longer than the buffer counts as a failure.
std::string currentDirectoryText() {
  std::unique_ptr<char[]> buffer(new char[CURRENT_DIRECTORY_BUFFER_SIZE]);
  if (getcwd(buffer.get(), CURRENT_DIRECTORY_BUFFER_SIZE) == nullptr) {
    return std::string();
  }
  return directoryTextOf(buffer.get());
}

}  // namespace detail

Directory::Directory(WellKnownDirectory which) : path(new std::string()) {
  switch (static_cast<uint32_t>(which)) {
    case WELL_KNOWN_CURRENT:
      *path = detail::currentDirectoryText();
      break;
    case WELL_KNOWN_ROOT:
      *path = "/";
      break;
    case WELL_KNOWN_HOME:
      if (const char* home = getenv("HOME")) *path = directoryTextOf(home);
      break;
    case WELL_KNOWN_PROCESS:
      // The executable's path read as a directory name, then one level up:
      // "/usr/bin/tool" gives "/usr/bin/tool/" and so "/usr/bin/".
      *path = Directory(executableLinkText()).parent().toUniversalPath();
      break;
    case WELL_KNOWN_LIBRARY:
      *path = Directory(File::thatContains(
                            reinterpret_cast<void*>(&markerInThisLibrary)))
                  .toUniversalPath();
      break;
    case WELL_KNOWN_TEMP: {
      const char* temp = getenv("TMPDIR");
      *path = temp ? directoryTextOf(temp) : "/tmp/";
      break;
    }
    default:
      break;
  }
}

File File::thatContains(void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return File();
  return File(info.dli_fname);
}

}  // namespace ZuPlatform

namespace {

// The executable's path once a read has succeeded, and the empty text that
// calls return until then. Both are made by the first call that needs them
// and never destroyed: no exit registration, so exit handlers may use them,
// and plain atomic words, so nothing runs at load.
std::atomic<const std::string*> processFileName(nullptr);
std::atomic<const std::string*> noProcessFileName(nullptr);

// Publishes text in slot unless another thread got there first; the loser
// drops its own copy and returns the winner's, which holds the same text.
const std::string& publishOnce(std::atomic<const std::string*>& slot,
                               std::unique_ptr<const std::string> text) {
  const std::string* published = nullptr;
  if (slot.compare_exchange_strong(published, text.get(),
                                   std::memory_order_acq_rel)) {
    return *text.release();
  }
  return *published;
}

}  // namespace

// No lock at all: callers in their first call each read the link into a copy
// of their own, and the first to publish wins. A thread stopped anywhere in
// here (by a fork, say) blocks nobody, and a link that cannot be read costs a
// read per call, never a wait.
const std::string& _getProcessFileName() {
  const std::string* known = processFileName.load(std::memory_order_acquire);
  if (known) return *known;
  std::unique_ptr<const std::string> text(
      new std::string(ZuPlatform::executableLinkText()));
  auto& slot = text->empty() ? noProcessFileName : processFileName;
  return publishOnce(slot, std::move(text));
}
