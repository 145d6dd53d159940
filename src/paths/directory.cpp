// Directory as a value: construction from text and from a file, names,
// parents and comparison. What looks at the disk lives in contents.cpp, the
// well-known directories in well_known.cpp.
#include <unistd.h>

#include "ZuPlatform/paths.h"
#include "paths/normalise.h"

namespace ZuPlatform {
namespace {

// The text with one trailing byte dropped, unless it is a single byte: the
// last component then stands after the last "/".
std::string withoutLastByte(const std::string& text) {
  return text.size() > 1 ? text.substr(0, text.size() - 1) : text;
}

// The text one level up, cut behind its last "/"; empty when there is none.
// Nothing is normalised yet.
std::string parentText(const std::string& text) {
  std::string trimmed = withoutLastByte(text);
  size_t slash = trimmed.rfind('/');
  if (slash == std::string::npos) return std::string();
  return trimmed.substr(0, slash + 1);
}

}  // namespace

const char Directory::SEPARATOR_NATIVE = '/';
const char Directory::SEPARATOR_UNIVERSAL = '/';

Directory::Directory() : path(new std::string()) {}

Directory::Directory(const std::string& path)
    : path(new std::string(detail::normaliseDirectoryText(path))) {}

Directory::Directory(const File& file) : path(new std::string()) {
  std::string text = file.toUniversalPath();
  size_t slash = text.rfind('/');
  if (slash != std::string::npos) path->assign(text, 0, slash + 1);
}

Directory::Directory(const Directory& other)
    : path(new std::string(*other.path)) {}

Directory& Directory::operator=(const Directory& other) {
  if (this != &other) *path = *other.path;
  return *this;
}

Directory::~Directory() { delete path; }

std::string Directory::getName() const {
  std::string trimmed = withoutLastByte(*path);
  size_t slash = trimmed.rfind('/');
  return slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
}

std::string Directory::toNativePath() const { return *path; }

std::string Directory::toUniversalPath() const { return *path; }

bool Directory::operator<(const Directory& other) const {
  return detail::lessByBytes(toNativePath(), other.toNativePath());
}

// Only a prefix is an ancestor. A base that turns up further on, say "/b/"
// inside "/a/b/c/", says nothing about where this path stands, so the caller
// gets the whole path back, as when the base does not occur at all.
std::string Directory::relativeTo(const Directory& base, bool) {
  const std::string& prefix = *base.path;
  if (path->compare(0, prefix.size(), prefix) != 0) return *path;
  return path->substr(prefix.size());
}

Directory Directory::parent() const {
  std::string text = parentText(*path);
  if (text.empty()) return *this;
  return Directory(text);
}

bool Directory::hasParent() const {
  if (path->size() == 1) return false;
  const std::string text = parentText(*path);
  return text.find('\0') == std::string::npos &&
         access(text.c_str(), F_OK) == 0;
}

}  // namespace ZuPlatform
