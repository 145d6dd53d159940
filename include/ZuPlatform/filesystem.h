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
//
// A path whose text holds a NUL byte names nothing on disk: every operation
// here answers for it as for a missing object (false, nothing listed),
// rather than act on the text cut at that byte.
//
// The tree walks (remove and copy of a directory, glob) act only on what
// Directory::directories() and Directory::files() list, a level's files
// listed after its subdirectories were handled, and only on real entries of
// the directory being walked: an entry that a listing gives under a path that
// names something else (a name holding a backslash, which the path turns into
// a separator, such as "..\..") is passed over, never acted on, and makes
// remove and copy answer false.
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
// failure stay. Memory and time grow with the path's length alone.
ZUPLATFORM_API bool create(const Directory& directory);

// Creates an empty file, and its missing directories first; false if anything
// already stands at the path, which stays untouched, also a dangling link (no
// file is created where it points).
ZUPLATFORM_API bool create(const File& file);

// Removes the file (or an empty directory named as a file); false if the
// system refuses.
ZUPLATFORM_API bool remove(const File& file);

// Removes the directory and everything listed in it, subdirectories first;
// false for a missing directory or at the first entry that can't go, and what
// went before stays gone. A link inside the tree is removed as a link, and
// every removal goes by name through the open directory: nothing outside the
// tree is touched. An entry neither listing shows (a FIFO, a dangling link)
// or that the walk passes over keeps the directory, and the result is false.
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
// arrived and the target was closed without error. The directory must exist.
// A new target gets the source's mode, an overwritten one keeps its own.
// Without overwrite an existing target fails and stays untouched; a file is
// never copied onto itself (false). Nothing can block: a source that is
// neither a regular file nor a directory (a FIFO, a device) gives false and
// no target, a directory gives an empty target and false, and the target
// must be a regular file: a FIFO there gives false, and a symbolic link
// standing at the target name is never written through (false).
ZUPLATFORM_API bool copy(const File& file, const Directory& directory,
                         bool overwrite);

// Copies the tree below source into target, creating target and merging with
// what is there; true when every subdirectory and regular file was copied,
// false at the first failure (a system call that fails, an entry passed
// over), and what was copied before stays. The source is only read. Links
// in the source are followed, but a directory already on the walk's path (a
// link back up the tree) is not entered again, and when target lies inside
// source, the copy's own output is not copied again. Nothing is written
// outside target: a symbolic link standing at a file's or a subdirectory's
// name in the target tree is not followed, and that entry fails (false).
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
// returns it. The File's path is empty when no name can be had. A name where
// something else stands already (planted by whoever can write to the
// directory: a symbolic link, a FIFO) is a failed creation: the File comes
// back with its path, nothing is created, emptied or written through a link,
// and the call never blocks. A regular file found there is emptied and kept.
// So exists() on the result proves only that something stands at the path:
// a planted link to an existing file answers true too. In a directory that
// others can write to, open the path with O_NOFOLLOW and check that it is a
// regular file of your own. The file belongs to the caller.
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
