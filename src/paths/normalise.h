// The text side of the path values, shared by Directory and File: the two
// normalisers, and the current directory they put in front of a relative path.
#ifndef ZUPLATFORM_SRC_PATHS_NORMALISE_H
#define ZUPLATFORM_SRC_PATHS_NORMALISE_H

#include <string>

namespace ZuPlatform {
namespace detail {

// Where a normaliser learns the current directory, as a text that ends in "/"
// or is empty; asked only for a relative path. Tests hand in a fixed text.
using CurrentDirectoryQuery = std::string (*)();

// The working directory ending in "/"; empty if getcwd fails.
std::string currentDirectoryText();

// The text of Directory(const std::string&): never empty, ends in "/".
std::string normaliseDirectoryText(
    const std::string& path,
    CurrentDirectoryQuery currentDirectory = currentDirectoryText);

// The text of File(const std::string&): empty stays empty, no "/" added.
std::string normaliseFileText(
    const std::string& path,
    CurrentDirectoryQuery currentDirectory = currentDirectoryText);

// Byte-wise unsigned order; a proper prefix comes first.
bool lessByBytes(const std::string& left, const std::string& right);

}  // namespace detail
}  // namespace ZuPlatform

#endif  // ZUPLATFORM_SRC_PATHS_NORMALISE_H
