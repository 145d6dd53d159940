#include "paths/normalise.h"

#include <algorithm>
#include <cstring>

namespace ZuPlatform {
namespace detail {
namespace {

bool isDot(const char* component, size_t length) {
  return length == 1 && component[0] == '.';
}

bool isDotDot(const char* component, size_t length) {
  return length == 2 && component[0] == '.' && component[1] == '.';
}

// Backslashes become "/" before anything else looks at the text, so a first
// backslash makes a path absolute too. "." and "D:" are plain names.
bool isAbsolute(const std::string& path) {
  return path[0] == '/' || path[0] == '\\';
}

// Builds the normalised text from the components of a path, fed in order.
// A component is what stands between two separators; the first one is what
// precedes the first "/" (empty for an absolute path).
//
// Only a component with a "/" on both sides collapses. The first has none
// before it, the last none after it: a File keeps a last "." or "..".
//
// Collapsing "/./" from the start until none is left removes exactly the "."
// components with a "/" on each side and changes nothing else, so they are
// skipped wherever they stand. That happens before any ".." is looked at, so
// a "." is never what a ".." takes away: "/a/./../b" gives "/b/".
//
// A ".." then takes away the nearest component still kept before it, an
// empty one ("//") included. The kept ones sit in result, and the count of
// those after the first "/" says whether there is one to take. When there is
// none, the ".." has no "/" before its own, and the collapse stops for good:
// the rest is copied as it stands, only without its "." components.
class Collapser {
 public:
  // capacity bounds the text fed in; the result is never longer.
  explicit Collapser(size_t capacity) : result(capacity, '\0') {}

  void add(const char* component, size_t length, bool slashFollows) {
    if (first) {
      first = false;
      write(component, length);
      return;
    }
    if (slashFollows && isDot(component, length)) return;
    if (slashFollows && !stopped && isDotDot(component, length)) {
      climb();
      return;
    }
    result[end++] = '/';
    write(component, length);
    ++removable;
  }

  std::string take() {
    result.resize(end);
    return std::move(result);
  }

 private:
  void write(const char* bytes, size_t length) {
    std::memcpy(&result[end], bytes, length);
    end += length;
  }

  void climb() {
    if (removable == 0) {
      stopped = true;
      write("/..", 3);
      return;
    }
    // The last kept component holds no "/", so its own is the last one.
    end = static_cast<const char*>(memrchr(result.data(), '/', end)) -
          result.data();
    --removable;
  }

  std::string result;  // written up to end
  size_t end = 0;
  bool first = true;
  bool stopped = false;
  size_t removable = 0;  // kept components after the first "/"
};

// Feeds every component of text that a separator ends, and returns where the
// unfinished last one begins. The current directory is fed with "/" as its
// only separator; its backslashes, if any, are part of its names. Text with
// no backslash, the usual case, is cut with memchr.
size_t addEndedComponents(Collapser& collapser, const std::string& text,
                          bool backslashSeparates) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  const char* start = begin;
  if (backslashSeparates && std::memchr(begin, '\\', text.size())) {
    for (const char* at = begin; at != end; ++at) {
      if (*at == '/' || *at == '\\') {
        collapser.add(start, at - start, true);
        start = at + 1;
      }
    }
    return start - begin;
  }
  while (const void* found = std::memchr(start, '/', end - start)) {
    const char* slash = static_cast<const char*>(found);
    collapser.add(start, slash - start, true);
    start = slash + 1;
  }
  return start - begin;
}

// A relative path is put behind the current directory. That text ends in "/"
// or is empty, so no component spans the two.
std::string prefixFor(const std::string& path,
                      CurrentDirectoryQuery currentDirectory) {
  return isAbsolute(path) ? std::string() : currentDirectory();
}

}  // namespace

// One pass over the path: the separators are converted, the current
// directory put in front and the components collapsed as they are met.
// An empty path names the current directory, as "." does. The "." is made
// anew each time: a static text would register a destructor at exit, and a
// path built from an exit handler could then find it gone.
std::string normaliseDirectoryText(const std::string& path,
                                   CurrentDirectoryQuery currentDirectory) {
  if (path.empty()) return normaliseDirectoryText(".", currentDirectory);
  std::string prefix = prefixFor(path, currentDirectory);
  Collapser collapser(prefix.size() + path.size() + 1);
  addEndedComponents(collapser, prefix, false);
  size_t last = addEndedComponents(collapser, path, true);
  // The "/" a directory always ends in comes before the collapse, so a last
  // "." or ".." collapses like any other.
  if (last < path.size()) {
    collapser.add(path.data() + last, path.size() - last, true);
  }
  collapser.add("", 0, false);
  return collapser.take();
}

std::string normaliseFileText(const std::string& path,
                              CurrentDirectoryQuery currentDirectory) {
  if (path.empty()) return path;
  std::string prefix = prefixFor(path, currentDirectory);
  Collapser collapser(prefix.size() + path.size());
  addEndedComponents(collapser, prefix, false);
  size_t last = addEndedComponents(collapser, path, true);
  collapser.add(path.data() + last, path.size() - last, false);
  return collapser.take();
}

bool lessByBytes(const std::string& left, const std::string& right) {
  size_t shorter = std::min(left.size(), right.size());
  int order = std::memcmp(left.data(), right.data(), shorter);
  return order < 0 || (order == 0 && left.size() < right.size());
}

}  // namespace detail
}  // namespace ZuPlatform
