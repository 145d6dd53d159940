// Filesystem operations on path values: create, remove, rename, copy, wildcard
// match and glob, unique names and temporary files.
//
// Every operation works from its arguments alone, goes straight to the
// operating system and answers with a boolean (true for done), an empty value
// or nothing at all. None logs, throws an exception of its own, retries or
// takes back what it has already done. The one piece of shared state is the
// counter behind createUniqueName, which is atomic; everything else may be
// called from any thread at any time.
//
// Directories and files created here get mode 0777 narrowed by the umask; a
// copied file takes its source's mode.
#ifndef ZUPLATFORM_FILESYSTEM_H
#define ZUPLATFORM_FILESYSTEM_H

#include <string>
#include <vector>

#include "ZuPlatform/paths.h"

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

namespace ZuPlatform {
namespace Filesystem {

// Creates the directory and any missing parents, outermost first; true if it
// exists afterwards, also when it was there already. Parents made before a
// failure stay.
ZUPLATFORM_API bool create(const Directory& directory);

// Creates an empty file, and its missing directories first; false if anything
// already stands at the path, which stays untouched.
ZUPLATFORM_API bool create(const File& file);

// Removes the file (or an empty directory named as a file); false if the
// system refuses.
ZUPLATFORM_API bool remove(const File& file);

// Removes the directory and everything listed in it, subdirectories first;
// false for a missing directory or at the first entry that can't go, and what
// went before stays gone. A link inside the tree is removed as a link: nothing
// outside the tree is touched. An entry neither listing shows (a FIFO, a
// dangling link) keeps the directory, and the result is false.
ZUPLATFORM_API bool remove(const Directory& directory);

// Renames the directory to newName, taken relative to its parent ("/" and
// ".." in it move the directory); false if the system refuses. No directory
// is created on the way.
ZUPLATFORM_API bool rename(const Directory& directory,
                           const std::string& newName);

// Renames the file to newName, taken relative to the directory that holds it;
// false if the system refuses.
ZUPLATFORM_API bool rename(const File& file, const std::string& newName);

// Makes directory the working directory of the whole process; false if the
// system refuses, and the working directory stays.
ZUPLATFORM_API bool changeCurrentDirectory(const Directory& directory);

// Stores the file's modification time (seconds since the epoch, following
// links) through time; false for a null pointer or a file that can't be
// examined, and *time is then left alone.
ZUPLATFORM_API bool getLastModifiedTime(const File& file, long* time);

// Copies file into directory under the same name; true when the whole content
// arrived. The directory must exist. A new target gets the source's mode, an
// overwritten one keeps its own. Without overwrite an existing target fails
// and stays untouched; a file is never copied onto itself (false).
ZUPLATFORM_API bool copy(const File& file, const Directory& directory,
                         bool overwrite);

// Copies the tree below source into target, creating target and merging with
// what is there; true when every subdirectory and regular file was copied,
// false at the first failure, and what was copied before stays. When target
// lies inside source, the copy's own output is not copied again.
ZUPLATFORM_API bool copy(const Directory& source, const Directory& target,
                         bool overwrite);

// Appends the regular files whose names match pattern (see
// libwdmatch_match_i) to result: with recursive, each subdirectory's matches
// come before the directory's own, otherwise only the directory's own files.
// result is never cleared; an unreadable directory adds nothing. A link back
// up the tree is not followed round again.
ZUPLATFORM_API void glob(const Directory& directory, const std::string& pattern,
                         bool recursive, std::vector<File>& result);

// The matching regular files in a new vector, in the same order.
ZUPLATFORM_API std::vector<File> glob(const Directory& directory,
                                      const std::string& pattern,
                                      bool recursive);

// prefix, "_", process id, "_", a number this process never hands out twice;
// the empty string once the 4294967295 numbers are used up. Thread-safe.
ZUPLATFORM_API std::string createUniqueName(const std::string& prefix);

// Creates an empty file under a unique name in the temporary directory and
// returns it. The File's path is empty when no name can be had; it names
// nothing on disk when the file couldn't be made, also when a symbolic link
// stands at the name (it is not followed). The file belongs to the caller.
ZUPLATFORM_API File createTempFile();

// A unique path in the temporary directory with no file behind it; empty
// when no name can be had.
ZUPLATFORM_API File createTempFileName();

}  // namespace Filesystem
}  // namespace ZuPlatform

// 1 if text matches pattern, 0 otherwise, ignoring case byte by byte. '*'
// stands for any run of bytes, '?' for exactly one; every other byte stands
// for itself. Both must be NUL-ended; the match is anchored at both ends.
// Allocates nothing; at worst len(pattern) x len(text) steps, no recursion.
extern "C" ZUPLATFORM_API int libwdmatch_match_i(const char* pattern,
                                                 const char* text);

// The temporary directory's path, the executable's base name, "_", process
// id, "_", a unique number; empty if the temporary directory is missing (no
// number is spent) or the numbers are used up.
ZUPLATFORM_API std::string _getTempFileName();

#endif  // ZUPLATFORM_FILESYSTEM_H
