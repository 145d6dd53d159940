// The well-known directories, the file that holds an address, the
// executable's path and the process environment.
#include <ZuPlatform/paths.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

using ZuPlatform::Directory;
using ZuPlatform::File;
using ZuPlatform::getEnv;
using ZuPlatform::putEnv;
using namespace std::string_literals;

namespace {

// Counts every exit registration of the process; the library's go through
// here like everyone's.
std::atomic<int> exitRegistrations(0);
// The next calls of readlink that are to stop inside, until released.
std::atomic<int> toStop(0), stopped(0);
std::atomic<bool> released(false);

template <typename Function>
Function following(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int __cxa_atexit(void (*run)(void*), void* argument,
                            void* owner) noexcept {
  static const auto next =
      following<int (*)(void (*)(void*), void*, void*)>("__cxa_atexit");
  ++exitRegistrations;
  return next(run, argument, owner);
}

extern "C" ssize_t readlink(const char* path, char* buffer,
                            size_t size) noexcept {
  static const auto next =
      following<ssize_t (*)(const char*, char*, size_t)>("readlink");
  if (toStop.fetch_sub(1) > 0) {
    ++stopped;
    while (!released) std::this_thread::yield();
  }
  return next(path, buffer, size);
}

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
      {"HOME", Directory::WELL_KNOWN_HOME, "a\\b/", "a\\b/"},
      {"HOME", Directory::WELL_KNOWN_HOME, nullptr, ""},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "rel/./x", "rel/./x/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, "", "/"},
      {"TMPDIR", Directory::WELL_KNOWN_TEMP, nullptr, "/tmp/"},
      {nullptr, Directory::WELL_KNOWN_ROOT, nullptr, "/"},
      {nullptr, Directory::WellKnownDirectory(6), nullptr, ""},
  };
  for (auto& row : rows) {
    if (row.name)
      row.value ? setenv(row.name, row.value, 1) : unsetenv(row.name);
    EXPECT_EQ(Directory(row.which).toUniversalPath(), row.want)
        << row.which << " with " << (row.value ? row.value : "(unset)");
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
  EXPECT_EQ(File::thatContains(nullptr).toUniversalPath(), "");
}

// "A=B" would otherwise read the tail of A's value, "A\0x" variable A.
TEST(Environment, NamesNoVariableCanHaveAreRefused) {
  SavedVariable saved("ZU_TEST_A");
  ASSERT_TRUE(putEnv("ZU_TEST_A", "B=tail"));
  for (std::string name : {""s, "="s, "ZU_TEST_A=B"s, "ZU_TEST_A\0x"s}) {
    EXPECT_EQ(getEnv(name), "") << name;
    EXPECT_FALSE(putEnv(name, "changed")) << name;
  }
  EXPECT_EQ(getEnv("ZU_TEST_A"), "B=tail");
}

[[noreturn]] void fail(const char* what) {
  fputs(what, stderr);
  _exit(1);
}

// Registered before the library's first use, so it runs after everything
// the library might register at exit has run.
void buildPathsAtExit() {
  const std::string here = Directory("").toUniversalPath();
  if (here.empty() || File("a").toUniversalPath() != here + "a" ||
      _getProcessFileName().empty()) {
    fail("no paths at exit\n");
  }
}

void firstCallsInAFreshProcess() {
  alarm(5);  // a wait that never ends fails the test
  atexit(buildPathsAtExit);
  const int registered = exitRegistrations;
  constexpr int THREADS = 4;
  toStop = THREADS;
  std::vector<const std::string*> seen(THREADS + 1);
  std::vector<std::thread> threads;
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&seen, i] { seen[i] = &_getProcessFileName(); });
  }
  while (stopped < THREADS) std::this_thread::yield();  // all in at once
  pid_t child = fork();
  if (child == 0) {
    alarm(2);
    _exit(_getProcessFileName().empty() ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  released = true;
  for (auto& thread : threads) thread.join();
  seen[THREADS] = &_getProcessFileName();
  if (status != 0) fail("a child forked during a first call got stuck\n");
  for (auto* name : seen) {
    if (name != seen[0] || name->empty()) fail("first calls disagree\n");
  }
  // The first paths of this process: they must leave nothing to run at exit.
  if (Directory("").toUniversalPath().empty() ||
      File("a").toUniversalPath().empty() || exitRegistrations != registered) {
    fail("building paths registered something at exit\n");
  }
  exit(0);
}

// Run in a process of its own, where the first calls are still to come.
TEST(ProcessFileName, FirstCallsNeitherWaitNorDisagreeNorRegisterAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(firstCallsInAFreshProcess(), testing::ExitedWithCode(0), "");
}

}  // namespace
