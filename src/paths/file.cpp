// File as a value: construction from text, the parts of its name, comparison
// and whether something stands at its path.
#include <unistd.h>

#include <algorithm>

#include "ZuPlatform/paths.h"
#include "paths/normalise.h"

namespace ZuPlatform {

File::File() : path(new std::string()) {}

File::File(const std::string& path)
    : path(new std::string(detail::normaliseFileText(path))) {}

File::File(const File& other) : path(new std::string(*other.path)) {}

File& File::operator=(const File& other) {
  if (this != &other) *path = *other.path;
  return *this;
}

File::~File() { delete path; }

std::string File::getName() const {
  size_t slash = path->rfind('/');
  return slash == std::string::npos ? *path : path->substr(slash + 1);
}

// Base name and extension split the name at its last "." and always join
// back to it: "a." is "a" and ".", ".b" is "" and ".b".
std::string File::getBaseName() const {
  std::string name = getName();
  size_t dot = name.rfind('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}

std::string File::getExtension() const {
  std::string name = getName();
  size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot);
}

std::string File::toNativePath() const {
  std::string text = *path;
  std::replace(text.begin(), text.end(), Directory::SEPARATOR_UNIVERSAL,
               Directory::SEPARATOR_NATIVE);
  return text;
}

std::string File::toUniversalPath() const { return *path; }

bool File::operator<(const File& other) const {
  return detail::lessByBytes(toNativePath(), other.toNativePath());
}

// A NUL byte would cut the text short of what it names: such a path names
// nothing on disk.
bool File::exists() const {
  return path->find('\0') == std::string::npos &&
         access(path->c_str(), F_OK) == 0;
}

}  // namespace ZuPlatform
