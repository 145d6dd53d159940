// The well-known directories, the file that holds an address, the
// executable's path and the process environment.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <optional>
#include <thread>
#include <vector>

using ZuPlatform::Directory;
using ZuPlatform::File;
using ZuPlatform::getEnv;
using ZuPlatform::putEnv;

namespace {

// Values are taken literally and read anew each time; nullptr means unset.
TEST(WellKnown, HomeAndTempComeFromEnvironment) {
  struct {
    const char* name;
    Directory::WellKnownDirectory which;
    const char *value, *want;
  } rows[] = {
      {"HOME", Directory::WELL_KNOWN_HOME, "/h", "/h/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "/h/", "/h/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "a\\b", "a\\b/"},
      {"HOME", Directory::WELL_KNOWN_HOME, nullptr, ""},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "rel/./x", "rel/./x/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "", "/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, nullptr, "/tmp/"},
  };
  std::map<std::string, std::optional<std::string>> saved;
  for (const char* name : {"HOME", "TMPDIR"}) {
    if (const char* value = getenv(name)) saved[name] = value;
  }
  for (auto& row : rows) {
    if (row.value) {
      EXPECT_TRUE(putEnv(row.name, row.value));
    } else {
      unsetenv(row.name);
    }
    EXPECT_EQ(Directory(row.which).toUniversalPath(), row.want)
        << row.name << "=" << (row.value ? row.value : "(unset)");
  }
  for (const char* name : {"HOME", "TMPDIR"}) {
    auto& value = saved[name];
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
  }
}

TEST(WellKnown, RootAndOutOfRange) {
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_ROOT).toUniversalPath(), "/");
  for (unsigned int which : {6u, 1000u, 0xffffffffu}) {
    EXPECT_EQ(Directory(Directory::WellKnownDirectory(which)).toUniversalPath(),
              "")
        << which;
  }
}

// This program is the executable; getEnv stands in the library.
TEST(WellKnown, ProcessAndLibraryLocateTheirFiles) {
  File executable(_getProcessFileName());
  EXPECT_EQ(_getProcessFileName(), executable.toUniversalPath());
  EXPECT_EQ(executable.getName(), "test_paths");
  EXPECT_TRUE(executable.exists());
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_PROCESS).toUniversalPath(),
            Directory(executable).toUniversalPath());

  File library = File::thatContains(reinterpret_cast<void*>(&getEnv));
  EXPECT_TRUE(library.exists());
  EXPECT_EQ(library.getName().rfind("libZuPlatform.so", 0), 0u);
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_LIBRARY).toUniversalPath(),
            Directory(library).toUniversalPath());

  File none = File::thatContains(reinterpret_cast<void*>(16));
  EXPECT_EQ(none.toUniversalPath(), "");
}

// Each test runs in a process of its own, so these are the first calls.
TEST(ProcessFileName, FirstCallsFromManyThreadsAgree) {
  constexpr int THREADS = 8;
  std::atomic<bool> go(false);
  std::vector<const std::string*> seen(THREADS);
  std::vector<std::string> texts(THREADS);
  std::vector<std::thread> threads;
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&, i] {
      while (!go) std::this_thread::yield();
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

TEST(Environment, PutEnvOverwritesOrRefuses) {
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", "one"));
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", "two"));
  EXPECT_EQ(getEnv("ZU_PATHS_TEST"), "two");
  EXPECT_TRUE(putEnv("ZU_PATHS_TEST", ""));
  EXPECT_EQ(getEnv("ZU_PATHS_TEST"), getEnv("ZU_PATHS_TEST_UNSET"));
  EXPECT_FALSE(putEnv("", "x"));
  EXPECT_FALSE(putEnv("A=B", "x"));
  unsetenv("ZU_PATHS_TEST");
  EXPECT_EQ(&ZuPlatform::getPathSeparator(), &ZuPlatform::getPathSeparator());
  EXPECT_EQ(ZuPlatform::getPathSeparator(), ":");
}

}  // namespace
