// A slow, literal model of the two path normalisers: every step done by
// repeated search and replace on the whole text, as the steps read. The
// tests, the fuzzer and the benchmark compare the library against it.
// Self-contained: the standard library only.
#ifndef ZUPLATFORM_TESTS_SUPPORT_PATH_MODEL_H
#define ZUPLATFORM_TESTS_SUPPORT_PATH_MODEL_H

#include <algorithm>
#include <string>

namespace pathmodel {

// currentDirectory is the text a relative path is put behind: it ends in
// "/", or it is empty when the working directory could not be learned.
inline std::string file(std::string path, const std::string& currentDirectory) {
  std::replace(path.begin(), path.end(), '\\', '/');
  if (!path.empty() && path[0] != '/') path = currentDirectory + path;
  // As long as "/./" occurs, its first occurrence becomes "/".
  for (size_t p; (p = path.find("/./")) != std::string::npos;)
    path.replace(p, 3, "/");
  // As long as "/../" occurs at p: the last "/" before p at q, and [q, p + 4)
  // becomes "/". With no "/" before p the collapse stops for good.
  for (size_t p, q; (p = path.find("/../")) != std::string::npos;) {
    if (p == 0 || (q = path.rfind('/', p - 1)) == std::string::npos) break;
    path.replace(q, p + 4 - q, "/");
  }
  return path;
}

// The same, after an empty path became "." and a missing "/" was appended.
inline std::string directory(std::string path,
                             const std::string& currentDirectory) {
  if (path.empty()) path = ".";
  if (path.back() != '/' && path.back() != '\\') path += '/';
  return file(path, currentDirectory);
}

}  // namespace pathmodel

#endif  // ZUPLATFORM_TESTS_SUPPORT_PATH_MODEL_H
