#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::File;

// The number at the end of a unique name; 0 if the name has another form.
unsigned long numberOf(const std::string& name, const std::string& prefix) {
  const std::string head = prefix + "_" + std::to_string(getpid()) + "_";
  if (name.compare(0, head.size(), head) != 0) return 0;
  const std::string tail = name.substr(head.size());
  if (tail.empty() || tail.find_first_not_of("0123456789") != std::string::npos)
    return 0;
  return std::stoul(tail);
}

TEST(UniqueName, PrefixPidAndTheNextNumber) {
  const std::string first = Fs::createUniqueName("job");
  const unsigned long n = numberOf(first, "job");
  ASSERT_GT(n, 0u) << first;
  EXPECT_EQ(numberOf(Fs::createUniqueName("job"), "job"), n + 1);
  EXPECT_EQ(numberOf(Fs::createUniqueName(""), ""), n + 2);
  // The prefix is taken whole, an embedded NUL included.
  const std::string odd("a\0b", 3);
  EXPECT_EQ(numberOf(Fs::createUniqueName(odd), odd), n + 3);
}

TEST(UniqueName, EightThreadsNeverShareANumber) {
  constexpr int THREADS = 8;
  constexpr int EACH = 2000;
  std::vector<std::vector<std::string>> names(THREADS);
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&names, t] {
      for (int i = 0; i < EACH; ++i) {
        names[t].push_back(Fs::createUniqueName("t"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<unsigned long> numbers;
  for (const auto& list : names) {
    for (const std::string& name : list) numbers.insert(numberOf(name, "t"));
  }
  EXPECT_EQ(numbers.size(), static_cast<size_t>(THREADS * EACH));
  EXPECT_EQ(numbers.count(0), 0u);
  // No number was skipped either: they form one unbroken run.
  EXPECT_EQ(*numbers.rbegin() - *numbers.begin() + 1, numbers.size());
}

// Points TMPDIR at the scratch directory for one test.
class TempFile : public Scratch {
 protected:
  void SetUp() override {
    Scratch::SetUp();
    const char* old = getenv("TMPDIR");
    hadTmpdir = old != nullptr;
    if (hadTmpdir) savedTmpdir = old;
    setenv("TMPDIR", root.c_str(), 1);
  }
  void TearDown() override {
    if (hadTmpdir) {
      setenv("TMPDIR", savedTmpdir.c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
    Scratch::TearDown();
  }

  // The path the next temporary name will have, if no other thread takes a
  // number first. Spends one number to learn where the counter stands.
  std::string nextTempPath() const {
    const unsigned long last = numberOf(Fs::createUniqueName("p"), "p");
    return root + File(_getProcessFileName()).getBaseName() + "_" +
           std::to_string(getpid()) + "_" + std::to_string(last + 1);
  }

  bool hadTmpdir = false;
  std::string savedTmpdir;
};

TEST_F(TempFile, CreatesAnEmptyFileUnderTheComposedName) {
  const std::string expected = nextTempPath();
  const mode_t saved = umask(022);
  const File file = Fs::createTempFile();
  umask(saved);
  EXPECT_EQ(file.toUniversalPath(), expected);
  const std::string name = expected.substr(root.size());
  EXPECT_TRUE(present(name));
  EXPECT_EQ(readFile(name), "");
  EXPECT_EQ(permissions(name), 0755u);
  EXPECT_TRUE(Fs::remove(file));
}

TEST_F(TempFile, NamesWithoutFilesDiffer) {
  const File a = Fs::createTempFileName();
  const File b = Fs::createTempFileName();
  EXPECT_FALSE(a.toUniversalPath().empty());
  EXPECT_NE(a.toUniversalPath(), b.toUniversalPath());
  EXPECT_FALSE(a.exists());
  EXPECT_FALSE(b.exists());
}

TEST_F(TempFile, MissingTemporaryDirectorySpendsNoNumber) {
  setenv("TMPDIR", at("missing").c_str(), 1);
  const unsigned long before = numberOf(Fs::createUniqueName("n"), "n");
  EXPECT_EQ(_getTempFileName(), "");
  EXPECT_EQ(Fs::createTempFile().toUniversalPath(), "");
  EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), "");
  EXPECT_EQ(numberOf(Fs::createUniqueName("n"), "n"), before + 1);
}

TEST_F(TempFile, PlantedLinkIsNotFollowed) {
  writeFile("victim", "do not touch");
  struct Case {
    const char* what;
    std::string target;
  };
  const Case cases[] = {{"link to an existing file", at("victim")},
                        {"link to a missing file", at("created")}};
  for (const Case& c : cases) {
    const std::string expected = nextTempPath();
    ASSERT_EQ(symlink(c.target.c_str(), expected.c_str()), 0) << c.what;
    const File file = Fs::createTempFile();
    // A failed creat: the composed path comes back, nothing was made.
    EXPECT_EQ(file.toUniversalPath(), expected) << c.what;
    struct stat status;
    ASSERT_EQ(lstat(expected.c_str(), &status), 0) << c.what;
    EXPECT_TRUE(S_ISLNK(status.st_mode)) << c.what;
  }
  EXPECT_EQ(readFile("victim"), "do not touch");
  EXPECT_FALSE(present("created"));
}

TEST_F(TempFile, RegularFileAtTheNameIsEmptied) {
  const std::string expected = nextTempPath();
  const std::string name = expected.substr(root.size());
  writeFile(name, "left over");
  EXPECT_EQ(Fs::createTempFile().toUniversalPath(), expected);
  EXPECT_EQ(readFile(name), "");
}

// Run only as the child of the next test, in a copy of this program under
// another name: writes the first temporary name of a fresh process.
TEST(TempNameChild, DISABLED_WritesItsTempName) {
  const char* out = getenv("ZU_TEMP_NAME_OUT");
  ASSERT_NE(out, nullptr);
  std::ofstream(out) << _getTempFileName();
}

TEST_F(TempFile, NameCarriesTheExecutablesBaseName) {
  struct Case {
    const char* executable;
    const char* baseName;
  };
  const Case cases[] = {
      {"viewer.bin.old", "viewer.bin"},  // the last extension goes
      {"viewer", "viewer"},              // no extension: the whole name
      {".viewer", ""},                   // all extension: an empty base
  };
  std::ifstream self("/proc/self/exe", std::ios::binary);
  const std::string image((std::istreambuf_iterator<char>(self)),
                          std::istreambuf_iterator<char>());
  ASSERT_FALSE(image.empty());
  const std::string out = at("child_out");
  setenv("ZU_TEMP_NAME_OUT", out.c_str(), 1);
  for (const Case& c : cases) {
    const std::string program = at(c.executable);
    writeFile(c.executable, image);
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
      freopen("/dev/null", "w", stdout);
      execl(program.c_str(), program.c_str(), "--gtest_also_run_disabled_tests",
            "--gtest_filter=TempNameChild.DISABLED_WritesItsTempName",
            static_cast<char*>(nullptr));
      _exit(127);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << c.executable;
    // A fresh process: its first name carries 1.
    EXPECT_EQ(readFile("child_out"),
              root + c.baseName + "_" + std::to_string(child) + "_1")
        << c.executable;
  }
  unsetenv("ZU_TEMP_NAME_OUT");
}

}  // namespace
