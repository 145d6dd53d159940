// What a Directory finds on disk: whether it exists, what it holds, and where
// several directories meet.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "ZuPlatform/paths.h"

namespace ZuPlatform {
namespace {

bool isDotOrDotDot(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// stat follows links, so a link counts as what it points to and a dangling
// one as nothing.
bool hasMode(const std::string& text, mode_t type) {
  struct stat info;
  return stat(text.c_str(), &info) == 0 && (info.st_mode & S_IFMT) == type;
}

// A NUL byte would cut the text short of what it names: such a path
// reaches nothing, as if it were missing.
bool reachable(const std::string& text) {
  return text.find('\0') == std::string::npos &&
         access(text.c_str(), F_OK) == 0;
}

// Opens the directory for a listing; null for one that can't be opened. The
// stream is closed however the listing ends, an exception included.
using Stream = std::unique_ptr<DIR, int (*)(DIR*)>;
Stream openStream(const std::string& text) {
  const bool whole = text.find('\0') == std::string::npos;
  return Stream(whole ? opendir(text.c_str()) : nullptr, closedir);
}

bool beginsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

bool Directory::exists() const { return reachable(*path); }

// Something of that name is enough; its type is not asked.
bool Directory::hasDirectory(const std::string& name) const {
  return reachable(*path + name);
}

bool Directory::hasFile(const std::string& name) const {
  return hasDirectory(name);
}

File Directory::file(const std::string& name) const {
  return File(*path + name);
}

Directory Directory::directory(const std::string& name) const {
  return Directory(*path + name);
}

// A directory that cannot be opened looks empty, and a failing readdir looks
// like the end: what was appended so far stays. The children are built from
// a copy of this path, since result may hold this very object and move it
// when it grows.
void Directory::directories(std::vector<Directory>& result) const {
  const Directory here(*this);
  const Stream stream = openStream(*here.path);
  if (!stream) return;
  while (const dirent* entry = readdir(stream.get())) {
    if (isDotOrDotDot(entry->d_name)) continue;
    Directory child = here.directory(entry->d_name);
    if (hasMode(*child.path, S_IFDIR)) result.push_back(child);
  }
}

std::vector<Directory> Directory::directories() const {
  std::vector<Directory> result;
  directories(result);
  return result;
}

void Directory::files(std::vector<File>& result) const {
  const Directory here(*this);
  const Stream stream = openStream(*here.path);
  if (!stream) return;
  while (const dirent* entry = readdir(stream.get())) {
    if (isDotOrDotDot(entry->d_name)) continue;
    File child = here.file(entry->d_name);
    if (hasMode(child.toNativePath(), S_IFREG)) result.push_back(child);
  }
}

std::vector<File> Directory::files() const {
  std::vector<File> result;
  files(result);
  return result;
}

// Only the first candidate climbs, and only while its parent is on disk: the
// answer is a directory that exists above it, or none. Texts end in "/", so a
// prefix match falls on a component boundary.
std::shared_ptr<Directory> Directory::commonRootOf(
    std::vector<Directory> candidates) {
  if (candidates.empty()) return nullptr;
  Directory root = candidates[0];
  if (candidates.size() == 1) return std::make_shared<Directory>(root);
  size_t next = 1;
  while (next < candidates.size()) {
    if (beginsWith(candidates[next].toUniversalPath(), *root.path)) {
      ++next;
      continue;
    }
    if (!root.hasParent()) return nullptr;
    root = root.parent();
    next = 1;
  }
  return std::make_shared<Directory>(root);
}

}  // namespace ZuPlatform
