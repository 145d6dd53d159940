// The well-known directories, the file that holds an address, the
// executable's path and the process environment.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

using ZuPlatform::Directory;
using ZuPlatform::File;
using ZuPlatform::getEnv;
using ZuPlatform::putEnv;

namespace {

// Puts an environment variable back as it was.
struct SavedVariable {
  explicit SavedVariable(const char* name) : name(name) {
    if (const char* old = getenv(name)) value = old;
  }
  ~SavedVariable() { value ? setenv(name, value->c_str(), 1) : unsetenv(name); }
  const char* name;
  std::optional<std::string> value;
};

// Values are taken literally and read anew each time; a value of nullptr
// means unset, a name of nullptr that nothing is set.
TEST(WellKnown, DirectoriesByName) {
  SavedVariable home("HOME"), temp("TMPDIR");
  struct {
    const char* name;
    Directory::WellKnownDirectory which;
    const char *value, *want;
  } rows[] = {
      {"HOME", Directory::WELL_KNOWN_HOME, "/h", "/h/"},
      {"HOME", Directory::WELL_KNOWN_HOME, "a\\b", "a\\b/"},
      {"HOME", Directory::WELL_KNOWN_HOME, nullptr, ""},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "rel/./x/", "rel/./x/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "", "/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, nullptr, "/tmp/"},
      {nullptr, Directory::WELL_KNOWN_ROOT, nullptr, "/"},
      {nullptr, Directory::WellKnownDirectory(6), nullptr, ""},
      {nullptr, Directory::WellKnownDirectory(0xffffffffu), nullptr, ""},
  };
  for (auto& row : rows) {
    if (row.name) {
      row.value ? setenv(row.name, row.value, 1) : unsetenv(row.name);
    }
    EXPECT_EQ(Directory(row.which).toUniversalPath(), row.want)
        << row.which << " with " << (row.name ? row.name : "-") << "="
        << (row.value ? row.value : "(unset)");
  }
}

// This program is the executable; getEnv stands in the library.
TEST(WellKnown, ProcessAndLibraryLocateTheirFiles) {
  File executable(_getProcessFileName());
  EXPECT_EQ(executable.getName(), "test_paths");
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_PROCESS).toUniversalPath(),
            Directory(executable).toUniversalPath());

  File library = File::thatContains(reinterpret_cast<void*>(&getEnv));
  EXPECT_EQ(library.getName().rfind("libZuPlatform.so", 0), 0u);
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_LIBRARY).toUniversalPath(),
            Directory(library).toUniversalPath());
  EXPECT_EQ(File::thatContains(reinterpret_cast<void*>(16)).toUniversalPath(),
            "");
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

}  // namespace
