#include "paths/normalise.h"

#include <algorithm>
#include <cstring>

namespace ZuPlatform {
namespace detail {
namespace {

void toForwardSlashes(std::string& text) {
  std::replace(text.begin(), text.end(), '\\', '/');
}

void ensureTrailingSlash(std::string& text) {
  if (text.empty() || text.back() != '/') text += '/';
}

// Only a first byte "/" makes a path absolute; "." and "D:" are names.
void makeAbsolute(std::string& text, CurrentDirectoryQuery currentDirectory) {
  if (text[0] != '/') text = currentDirectory() + text;
}

bool isDot(const char* component, size_t length) {
  return length == 1 && component[0] == '.';
}

bool isDotDot(const char* component, size_t length) {
  return length == 2 && component[0] == '.' && component[1] == '.';
}

}  // namespace

// The text is read as components between slashes. What stands before the
// first "/" is never a "." or ".." that collapses, since no "/" precedes it,
// and neither is what follows the last "/", since no "/" follows it.
//
// Collapsing "/./" from the start until none is left removes exactly the "."
// components with a "/" on each side and changes nothing else, so the pass
// skips those wherever they stand. That happens before any ".." is looked at,
// so a "." is never what a ".." takes away: "/a/./../b" gives "/b/".
//
// A ".." then takes away the nearest component still kept before it, an empty
// one ("//") included. The kept components sit in result, and the count of
// those after the first "/" says whether there is one to take. When there is
// none, the ".." has no "/" before its own, and the collapse stops for good:
// the rest is copied as it stands, only without its "." components.
std::string collapseComponents(const std::string& text) {
  size_t slash = text.find('/');
  if (slash == std::string::npos) return text;

  std::string result;
  result.reserve(text.size());
  result.append(text, 0, slash);
  size_t removable = 0;  // kept components after the first "/"
  bool stopped = false;
  size_t start = slash + 1;
  for (;;) {
    size_t next = text.find('/', start);
    if (next == std::string::npos) break;
    const char* component = text.data() + start;
    size_t length = next - start;
    if (isDot(component, length)) {
      // dropped, stopped or not
    } else if (!stopped && isDotDot(component, length)) {
      if (removable == 0) {
        stopped = true;
        result += "/..";
      } else {
        result.resize(result.rfind('/'));
        --removable;
      }
    } else {
      result += '/';
      result.append(component, length);
      ++removable;
    }
    start = next + 1;
  }
  result += '/';
  result.append(text, start, std::string::npos);
  return result;
}

std::string normaliseDirectoryText(const std::string& path,
                                   CurrentDirectoryQuery currentDirectory) {
  std::string text = path.empty() ? "." : path;
  toForwardSlashes(text);
  ensureTrailingSlash(text);  // first, so a last "." or ".." collapses too
  makeAbsolute(text, currentDirectory);
  return collapseComponents(text);
}

std::string normaliseFileText(const std::string& path,
                              CurrentDirectoryQuery currentDirectory) {
  if (path.empty()) return path;
  std::string text = path;
  toForwardSlashes(text);
  makeAbsolute(text, currentDirectory);
  return collapseComponents(text);
}

bool lessByBytes(const std::string& left, const std::string& right) {
  size_t shorter = std::min(left.size(), right.size());
  int order = std::memcmp(left.data(), right.data(), shorter);
  return order < 0 || (order == 0 && left.size() < right.size());
}

}  // namespace detail
}  // namespace ZuPlatform
