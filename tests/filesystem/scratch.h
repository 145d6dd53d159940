// A fresh directory per test, which is also TMPDIR for the test's length, so
// whatever the library makes lands inside it; removed afterwards without the
// code under test. Helpers lay out and read back real files.
#ifndef ZU_TESTS_FILESYSTEM_SCRATCH_H
#define ZU_TESTS_FILESYSTEM_SCRATCH_H

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>
#include <sstream>

#include "ZuPlatform/filesystem.h"

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;

class Scratch : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/zu_filesystem_test_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    root = name + std::string("/");
    setenv("TMPDIR", root.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    std::filesystem::current_path("/");  // out of root, for tests that enter it
    std::error_code ignored;             // a failure must not stop the rest
    std::filesystem::remove_all(root, ignored);
  }
  std::string at(const std::string& relative) const { return root + relative; }
  // The entries, separated by spaces, in order: "x/" a directory, "x|" a
  // FIFO, "x>y" a symbolic link to root's y, anything else a regular file
  // holding its own name.
  void lay(const std::string& entries) const {
    std::istringstream words(entries);
    for (std::string entry; words >> entry;) {
      const size_t arrow = entry.find('>');
      const std::string name = at(entry.substr(0, arrow));
      if (arrow != std::string::npos) {
        symlink(at(entry.substr(arrow + 1)).c_str(), name.c_str());
      } else if (entry.back() == '/') {
        mkdir(name.c_str(), 0777);
      } else if (entry.back() == '|') {
        mkfifo(name.substr(0, name.size() - 1).c_str(), 0666);
      } else {
        std::ofstream(name) << entry;
      }
    }
  }
  std::string read(const std::string& relative) const {
    std::ostringstream content;
    content << std::ifstream(at(relative), std::ios::binary).rdbuf();
    return content.str();
  }
  // The lstat mode of the entry, 0 if there is none.
  mode_t mode(const std::string& relative) const {
    struct stat status;
    return lstat(at(relative).c_str(), &status) == 0 ? status.st_mode : 0;
  }
  // Every entry below root except skip and what it holds: name, mode and a
  // regular file's content, links not followed.
  std::set<std::string> snapshot(const std::string& skip) const {
    std::set<std::string> entries;
    using Walk = std::filesystem::recursive_directory_iterator;
    for (Walk it(root); it != Walk(); ++it) {
      const std::string path = it->path().string().substr(root.size());
      if (path == skip) it.disable_recursion_pending();
      const mode_t type = path == skip ? 0 : mode(path);
      if (type != 0) {
        entries.insert(path + " " + std::to_string(type) +
                       (S_ISREG(type) ? read(path) : ""));
      }
    }
    return entries;
  }
  // The paths, below root, each followed by a space.
  template <class Path>
  std::string below(const std::vector<Path>& paths, bool sorted) const {
    std::vector<std::string> texts;
    for (const Path& path : paths) {
      texts.push_back(path.toUniversalPath().substr(root.size()) + " ");
    }
    if (sorted) std::sort(texts.begin(), texts.end());
    return std::accumulate(texts.begin(), texts.end(), std::string());
  }
  // How many descriptors the process has open.
  static long openDescriptors() {
    using Fds = std::filesystem::directory_iterator;
    return std::distance(Fds("/proc/self/fd"), Fds());
  }
  std::string root;  // ends in "/"
};

#endif  // ZU_TESTS_FILESYSTEM_SCRATCH_H
