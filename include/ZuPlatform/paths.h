// Paths: values that name directories and files, the well-known directories
// of the process, the process environment, and what a directory holds.
//
// A path value is text in one universal form with "/" as separator. Building
// one touches nothing on disk (except asking for the current directory when
// the text is relative). A Directory built from text always ends in "/"; a
// File never gains a trailing separator. The empty path is a legal value of
// both and means "none": it is what a failure leaves behind.
//
// Nothing in this family throws an exception of its own, logs, or reports an
// error code: failures show as empty values, empty lists or false.
// Separate objects may be used on separate threads freely.
#ifndef ZUPLATFORM_PATHS_H
#define ZUPLATFORM_PATHS_H

#include <memory>
#include <string>
#include <vector>

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

namespace ZuPlatform {

class File;

// The name of a directory. Its text is what reaches the operating system.
class ZUPLATFORM_API Directory {
 public:
  // The directories a caller can ask for by name. The type holds any 32-bit
  // value, so a caller may pass one past 5: it names no directory.
  enum WellKnownDirectory : unsigned int {
    WELL_KNOWN_CURRENT = 0,  // the working directory (getcwd)
    WELL_KNOWN_ROOT = 1,     // "/"
    WELL_KNOWN_HOME = 2,     // $HOME taken literally; empty if unset
    WELL_KNOWN_PROCESS = 3,  // the directory of the running executable
    WELL_KNOWN_LIBRARY = 4,  // the directory of this shared library
    WELL_KNOWN_TEMP = 5      // $TMPDIR taken literally, else "/tmp/"
  };

  // The separator of the platform's own paths, '/'.
  static const char SEPARATOR_NATIVE;
  // The separator of the library's universal form, '/'.
  static const char SEPARATOR_UNIVERSAL;

  // The empty path: no directory at all.
  Directory();
  // Normalises path: "\" becomes "/", a "/" is appended, a relative path is
  // put behind the current directory, then "/./" and "/x/../" collapse (a
  // ".." with no "/" before it stops the collapse). "//" stays; links are not
  // resolved. An empty path means the current directory. Linear time.
  // Leaves nothing to destroy at exit, so an exit handler may build paths.
  Directory(const std::string& path);
  // The directory part of file's path, up to and including its last "/";
  // empty if it holds none. Nothing further is normalised.
  Directory(const File& file);
  // One of the well-known directories; the empty path if its source fails or
  // which is out of range.
  Directory(WellKnownDirectory which);
  // Copies the text; no normalisation.
  Directory(const Directory& other);
  // Replaces the text by other's; self-assignment changes nothing.
  Directory& operator=(const Directory& other);
  ~Directory();

  // The last component without separators; empty for "/" and the empty path.
  std::string getName() const;
  // The path as the operating system takes it (the same text here).
  std::string toNativePath() const;
  // The path in universal form.
  std::string toUniversalPath() const;
  // Byte-wise unsigned comparison of the texts; a proper prefix is lesser.
  bool operator<(const Directory& other) const;
  // The path seen from base: what follows base's text when this path begins
  // with it, the whole path when base's text does not occur in it. When base's
  // text occurs only further on, the whole path is returned too (it is no
  // ancestor). The bool has no effect.
  std::string relativeTo(const Directory& base, bool ignored = false);
  // The directory one level up, normalised again; "/" is its own parent, and
  // a path with no inner "/" (the empty path) is its own parent.
  Directory parent() const;
  // Whether the text one level up can be reached (access F_OK); false for a
  // one-byte path without asking the disk.
  bool hasParent() const;

  // True if the path can be reached (access F_OK); false for a regular file,
  // and for a text holding a NUL byte (it would reach the system cut short).
  bool exists() const;
  // True if anything named name stands in this directory (type not checked);
  // false if the text holds a NUL byte.
  bool hasDirectory(const std::string& name) const;
  // The same test as hasDirectory: anything of that name counts.
  bool hasFile(const std::string& name) const;
  // File(path + name), normalised; name may hold several components.
  File file(const std::string& name) const;
  // Directory(path + name), normalised; name may hold several components.
  Directory directory(const std::string& name) const;
  // Appends the subdirectories (stat follows links; "." and ".." skipped) in
  // the order the system lists them. result is never cleared and may hold
  // this very object; an unreadable directory (or a path holding a NUL byte)
  // appends nothing. A name holding a backslash is looked up as converted.
  void directories(std::vector<Directory>& result) const;
  // The subdirectories in a new vector.
  std::vector<Directory> directories() const;
  // Appends the regular files (stat follows links), in listing order, on the
  // same terms as directories().
  void files(std::vector<File>& result) const;
  // The regular files in a new vector.
  std::vector<File> files() const;

  // The deepest directory that is a text prefix of every candidate, found by
  // climbing from the first one while its parent exists on disk; an empty
  // pointer if the climb ends first or there are no candidates.
  static std::shared_ptr<Directory> commonRootOf(
      std::vector<Directory> candidates);

 private:
  std::string* path;
};

// The name of a file.
class ZUPLATFORM_API File {
 public:
  // The empty path: no file at all.
  File();
  // Normalises path like Directory(const std::string&), except that an empty
  // path stays empty, no trailing "/" is added, and so a last "." or ".."
  // component stays. Linear time.
  File(const std::string& path);
  // Copies the text; no normalisation.
  File(const File& other);
  // Replaces the text by other's; self-assignment changes nothing.
  File& operator=(const File& other);
  ~File();

  // What follows the last "/"; the whole path if it holds none.
  std::string getName() const;
  // The name up to its last "."; the whole name if it holds none.
  std::string getBaseName() const;
  // The name from its last "." on, dot included; empty if it holds none.
  std::string getExtension() const;
  // The path as the operating system takes it (the same text here).
  std::string toNativePath() const;
  // The path in universal form.
  std::string toUniversalPath() const;
  // Byte-wise unsigned comparison of the texts; a proper prefix is lesser.
  bool operator<(const File& other) const;
  // True if anything, a directory too, stands at the path (access F_OK); false
  // if the text holds a NUL byte.
  bool exists() const;

  // The file of the loaded object (executable or shared library) that holds
  // address; the empty path if no loaded object holds it.
  static File thatContains(void* address);

 private:
  std::string* path;
};

// The value of environment variable name; empty if unset or set to "". A
// name no variable can have (empty, or holding "=" or NUL) gives "" without
// asking the environment, so "A=B" never yields the tail of A's value.
ZUPLATFORM_API std::string getEnv(const std::string& name);

// setenv(name, value, overwrite): false for an empty name, a name holding
// "=" or NUL (the environment is then left as it was), or any other refusal.
// Not safe beside getEnv on another thread.
ZUPLATFORM_API bool putEnv(const std::string& name, const std::string& value);

// The separator of path lists, ":". Lives until process exit.
ZUPLATFORM_API const std::string& getPathSeparator();

}  // namespace ZuPlatform

// The full path of the running executable, read from /proc/self/exe until a
// read succeeds and kept from then on; empty while it cannot be read (each
// call tries again). No lock: threads in their first call read the link on
// their own and the first to publish wins, so all get the same reference,
// and a fork during a first call leaves the child nothing to wait for. A
// reference taken while still empty stays empty; call again for the path.
// The string is never destroyed, so exit handlers may use it too.
ZUPLATFORM_API const std::string& _getProcessFileName();

#endif  // ZUPLATFORM_PATHS_H
