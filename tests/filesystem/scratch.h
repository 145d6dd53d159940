// A fresh directory per test, removed with all it holds afterwards by an nftw
// walk that never follows links (so clean-up doesn't rest on the code under
// test), and helpers to lay out and read back real files.
#ifndef ZU_TESTS_FILESYSTEM_SCRATCH_H
#define ZU_TESTS_FILESYSTEM_SCRATCH_H

#include <ftw.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

class Scratch : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = "/tmp/zu_filesystem_test_XXXXXX";
    ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
    root = pattern + "/";
  }
  void TearDown() override {
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
  std::string root;  // ends in "/"

 private:
  static int removeEntry(const char* path, const struct stat*, int type, FTW*) {
    type == FTW_DP ? rmdir(path) : unlink(path);
    return 0;  // a failure must not stop the rest of the clean-up
  }
};

#endif  // ZU_TESTS_FILESYSTEM_SCRATCH_H
