// The well-known directories, the file that holds an address, the
// executable's path and the process environment.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <thread>
#include <vector>

using ZuPlatform::Directory;
using ZuPlatform::File;
using ZuPlatform::getEnv;
using ZuPlatform::putEnv;

namespace {

// Saves HOME and TMPDIR and puts them back, set or unset as they were.
class WellKnown : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"HOME", "TMPDIR"}) {
      const char* value = getenv(name);
      saved.push_back(
          {name, value ? std::optional<std::string>(value) : std::nullopt});
    }
  }
  void TearDown() override {
    for (auto& [name, value] : saved) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }
  std::vector<std::pair<std::string, std::optional<std::string>>> saved;
};

// Values are taken literally and read anew each time; nullptr means unset.
TEST_F(WellKnown, HomeAndTempComeFromEnvironment) {
  struct {
    const char* name;
    Directory::WellKnownDirectory which;
    const char *value, *want;
  } rows[] = {
      {"HOME", Directory::WELL_KNOWN_HOME, "/h", "/h/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "/h/", "/h/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "a\\b", "a\\b/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "", "/"},
      {"HOME", Directory::WELL_KNOWN_HOME, nullptr, ""},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "/t", "/t/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "rel/./x", "rel/./x/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "", "/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, nullptr, "/tmp/"},
  };
  for (auto& row : rows) {
    if (row.value) {
      ASSERT_TRUE(putEnv(row.name, row.value));
    } else {
      unsetenv(row.name);
    }
    EXPECT_EQ(Directory(row.which).toUniversalPath(), row.want)
        << row.name << "=" << (row.value ? row.value : "(unset)");
  }
}

TEST_F(WellKnown, RootAndOutOfRange) {
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_ROOT).toUniversalPath(), "/");
  for (unsigned int which : {6u, 7u, 1000u, 0xffffffffu}) {
    EXPECT_EQ(Directory(static_cast<Directory::WellKnownDirectory>(which))
                  .toUniversalPath(),
              "")
        << which;
  }
}

// This program is the executable; the library is the shared object beside
// whose functions getEnv stands.
TEST_F(WellKnown, ProcessAndLibraryLocateTheirFiles) {
  const std::string& executable = _getProcessFileName();
  ASSERT_FALSE(executable.empty());
  EXPECT_EQ(executable[0], '/');
  EXPECT_TRUE(File(executable).exists());
  EXPECT_EQ(File(executable).getName(), "test_paths");
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_PROCESS).toUniversalPath(),
            Directory(File(executable)).toUniversalPath());

  File library = File::thatContains(reinterpret_cast<void*>(&getEnv));
  EXPECT_TRUE(library.exists());
  EXPECT_EQ(library.getName().rfind("libZuPlatform.so", 0), 0u)
      << library.toUniversalPath();
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_LIBRARY).toUniversalPath(),
            Directory(library).toUniversalPath());
}

TEST(ThatContains, AddressOutsideAnyObjectGivesEmptyFile) {
  File none = File::thatContains(reinterpret_cast<void*>(16));
  EXPECT_EQ(none.toUniversalPath(), "");
  EXPECT_FALSE(none.exists());
}

// Each test runs in a fresh process, so these are the first calls.
TEST(ProcessFileName, FirstCallsFromManyThreadsAgree) {
  constexpr int THREADS = 8;
  std::atomic<bool> go(false);
  std::vector<const std::string*> seen(THREADS);
  std::vector<std::string> texts(THREADS);
  std::vector<std::thread> threads;
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&, i] {
      while (!go.load()) std::this_thread::yield();
      seen[i] = &_getProcessFileName();
      texts[i] = *seen[i];
    });
  }
  go = true;
  for (auto& thread : threads) thread.join();
  for (int i = 0; i < THREADS; ++i) {
    EXPECT_EQ(seen[i], seen[0]);
    EXPECT_FALSE(texts[i].empty());
    EXPECT_EQ(texts[i], texts[0]);
  }
}

TEST(Environment, PutEnvSetsOrRefuses) {
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", "one"));
  EXPECT_EQ(getEnv("ZU_PATHS_TEST"), "one");
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", "two"));  // overwrites
  EXPECT_EQ(getEnv("ZU_PATHS_TEST"), "two");
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", ""));
  EXPECT_EQ(getEnv("ZU_PATHS_TEST"), getEnv("ZU_PATHS_TEST_UNSET"));
  EXPECT_FALSE(putEnv("", "x"));
  EXPECT_FALSE(putEnv("A=B", "x"));
  unsetenv("ZU_PATHS_TEST");
}

TEST(Environment, PathSeparatorIsOneLastingString) {
  EXPECT_EQ(ZuPlatform::getPathSeparator(), ":");
  EXPECT_EQ(&ZuPlatform::getPathSeparator(), &ZuPlatform::getPathSeparator());
}

}  // namespace
