// A fresh directory per test, which is also TMPDIR for the test's length, so
// whatever the library makes lands inside it. It is removed afterwards by an
// nftw walk that never follows links (clean-up doesn't rest on the code under
// test). Helpers lay out and read back real files.
#ifndef ZU_TESTS_FILESYSTEM_SCRATCH_H
#define ZU_TESTS_FILESYSTEM_SCRATCH_H

#include <ftw.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "ZuPlatform/filesystem.h"

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;

class Scratch : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = "/tmp/zu_filesystem_test_XXXXXX";
    ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
    root = pattern + "/";
    if (const char* old = getenv("TMPDIR")) savedTmpdir = old;
    setenv("TMPDIR", root.c_str(), 1);
  }
  void TearDown() override {
    savedTmpdir.empty() ? unsetenv("TMPDIR")
                        : setenv("TMPDIR", savedTmpdir.c_str(), 1);
    nftw(root.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
  }
  std::string at(const std::string& relative) const { return root + relative; }
  void mkdirs(std::initializer_list<const char*> relatives) const {
    for (const char* relative : relatives) mkdir(at(relative).c_str(), 0777);
  }
  void write(const std::string& relative, const std::string& content) const {
    std::ofstream(at(relative), std::ios::binary) << content;
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
  // The same bytes for the same size, every byte value likely.
  static std::string randomBytes(size_t size) {
    std::mt19937 random(static_cast<unsigned>(size));
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
  }
  std::string root;  // ends in "/"
  std::string savedTmpdir;

 private:
  static int removeEntry(const char* path, const struct stat*, int type, FTW*) {
    type == FTW_DP ? rmdir(path) : unlink(path);
    return 0;  // a failure must not stop the rest of the clean-up
  }
};

#endif  // ZU_TESTS_FILESYSTEM_SCRATCH_H
