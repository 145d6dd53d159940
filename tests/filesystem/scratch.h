// A fresh directory per test, made in SetUp and removed with everything in it
// in TearDown, plus small helpers to lay out and read back real files. The
// clean-up walks with nftw and never follows links, so it doesn't depend on
// the operations under test.
#ifndef ZU_TESTS_FILESYSTEM_SCRATCH_H
#define ZU_TESTS_FILESYSTEM_SCRATCH_H

#include <ftw.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

class Scratch : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* base = getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") +
                          "/zu_filesystem_test_XXXXXX";
    ASSERT_NE(mkdtemp(&pattern[0]), nullptr) << pattern;
    root = pattern + "/";
  }

  void TearDown() override {
    chmodTree(root);  // a test may have taken write permission away
    nftw(root.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
  }

  // root followed by relative, e.g. at("a/b/").
  std::string at(const std::string& relative) const { return root + relative; }

  void makeDirectory(const std::string& relative) const {
    ASSERT_EQ(mkdir(at(relative).c_str(), 0777), 0) << relative;
  }

  void writeFile(const std::string& relative,
                 const std::string& content) const {
    std::ofstream out(at(relative), std::ios::binary);
    out << content;
    ASSERT_TRUE(out.good()) << relative;
  }

  std::string readFile(const std::string& relative) const {
    std::ifstream in(at(relative), std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
  }

  bool present(const std::string& relative) const {
    struct stat status;
    return lstat(at(relative).c_str(), &status) == 0;
  }

  mode_t permissions(const std::string& relative) const {
    struct stat status;
    if (stat(at(relative).c_str(), &status) != 0) return 0;
    return status.st_mode & 07777;
  }

  std::string root;  // ends in "/"

 private:
  static int makeWritable(const char* path, const struct stat* status, int type,
                          FTW*) {
    if (type == FTW_D || type == FTW_DNR) chmod(path, status->st_mode | 0700);
    return 0;
  }
  static void chmodTree(const std::string& path) {
    nftw(path.c_str(), makeWritable, 16, FTW_PHYS);
  }
  static int removeEntry(const char* path, const struct stat*, int type, FTW*) {
    if (type == FTW_DP) {
      rmdir(path);
    } else {
      unlink(path);
    }
    return 0;
  }
};

#endif  // ZU_TESTS_FILESYSTEM_SCRATCH_H
