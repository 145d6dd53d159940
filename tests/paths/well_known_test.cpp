// The well-known directories, the file that holds an address, the
// executable's path and the process environment.
#include <ZuPlatform/paths.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace ZuPlatform;
using namespace std::string_literals;

// Every exit registration of the process passes here and is counted. Calls
// of readlink fill the whole buffer with "/" (a link too long for it) while
// toFill says so, fail while toFail says so, then stop inside while toStop
// says so, until released.
static std::atomic<int> exitRegistrations(0), toFill(0), toFail(0), toStop(0),
    stopped(0), released(0);
#define NEXT(f) reinterpret_cast<decltype(&f)>(dlsym(RTLD_NEXT, #f))

extern "C" int __cxa_atexit(void (*run)(void*), void* argument,
                            void* owner) noexcept {
  static const auto next = NEXT(__cxa_atexit);
  ++exitRegistrations;
  return next(run, argument, owner);
}

extern "C" ssize_t readlink(const char* path, char* buffer,
                            size_t size) noexcept {
  static const auto next = NEXT(readlink);
  if (toFill.fetch_sub(1) > 0) {
    for (size_t i = 0; i < size; ++i) buffer[i] = '/';
    return size;
  }
  if (toFail.fetch_sub(1) > 0) return -1;
  if (toStop.fetch_sub(1) > 0) {
    ++stopped;
    while (!released) std::this_thread::yield();
  }
  return next(path, buffer, size);
}

namespace {

// The process directory is that of this program, the library's that of the
// file that holds getEnv. HOME and TMPDIR are taken literally and read anew
// each time, only gaining a last "/"; nullptr is unset.
TEST(WellKnown, DirectoriesByName) {
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_PROCESS).toUniversalPath() +
                "test_paths " +
                Directory(Directory::WELL_KNOWN_LIBRARY).toUniversalPath() +
                "libZuPlatform.so.6",
            _getProcessFileName() + " " +
                File::thatContains(reinterpret_cast<void*>(&getEnv))
                    .toUniversalPath());
  EXPECT_EQ(File::thatContains(nullptr).toUniversalPath(), "");
  const std::string home = getEnv("HOME"), temp = getEnv("TMPDIR");
  const struct {
    const char *name, *value;
    unsigned which;  // 1 root, 2 home, 5 temp, 6 none
    const char* want;
  } rows[] = {{"HOME", "rel/./x", 2, "rel/./x/"}, {"HOME", nullptr, 2, ""},
              {"TMPDIR", "a\\b/", 5, "a\\b/"},    {"TMPDIR", "", 5, "/"},
              {"TMPDIR", nullptr, 5, "/tmp/"},    {"HOME", nullptr, 1, "/"},
              {"HOME", nullptr, 6, ""},           {"HOME", "/h", 2, "/h/"}};
  for (auto& row : rows) {
    row.value ? setenv(row.name, row.value, 1) : unsetenv(row.name);
    EXPECT_EQ(
        Directory(Directory::WellKnownDirectory(row.which)).toUniversalPath(),
        row.want)
        << row.which << " with " << (row.value ? row.value : "(unset)");
  }
  setenv("HOME", home.c_str(), 1);
  temp.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", temp.c_str(), 1);
  // A link longer than the buffer is cut to its first 2047 bytes, here all
  // "/", whose parent is one shorter.
  toFill = 1;
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_PROCESS).toUniversalPath(),
            std::string(2046, '/'));
}

// "A=B" would read the tail of A's value, "A\0x" variable A itself.
TEST(Environment, NamesNoVariableCanHaveAreRefused) {
  ASSERT_TRUE(putEnv("ZU_TEST_A", "B=tail"));
  for (std::string name : {""s, "="s, "ZU_TEST_A=B"s, "ZU_TEST_A\0x"s}) {
    EXPECT_EQ(getEnv(name), "") << name;
    EXPECT_FALSE(putEnv(name, "changed")) << name;
  }
  EXPECT_EQ(getEnv("ZU_TEST_A"), "B=tail");
}

// Registered before the library's first use, so it runs after anything the
// library might register at exit has run.
void buildPathAtExit() {
  fprintf(stderr, "at exit %s\n", Directory("").toUniversalPath().c_str());
}

// A failed read is not kept. Then two threads stop inside their first calls,
// at once, and a child is forked meanwhile: it must make a first call of its
// own, and the threads must agree on one string. Neither that nor building
// the first path registers anything at exit.
void firstCallsInAFreshProcess() {
  alarm(5);  // a wait that never ends fails the test
  atexit(buildPathAtExit);
  const int registered = exitRegistrations;
  toFail = 1;
  const bool failed = _getProcessFileName().empty();
  const std::string* seen[2];
  toStop = 2;
  std::thread first([&] { seen[0] = &_getProcessFileName(); });
  std::thread second([&] { seen[1] = &_getProcessFileName(); });
  while (stopped < 2) std::this_thread::yield();
  if (fork() == 0) {
    alarm(2);
    _exit(_getProcessFileName().empty());
  }
  int status = -1;
  wait(&status);
  released = 1;
  first.join();
  second.join();
  const bool agree = !seen[0]->empty() && seen[0] == seen[1] &&
                     seen[0] == &_getProcessFileName();
  Directory("");  // the first path built
  fprintf(stderr, "failed %d, child %d, agree %d, registered %d\n", failed,
          status, agree, exitRegistrations - registered);
  exit(0);
}

// In a process of its own, where the first calls are still to come.
TEST(ProcessFileName, FirstCallsNeitherWaitNorDisagreeNorRegisterAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(firstCallsInAFreshProcess(), testing::ExitedWithCode(0),
              "^failed 1, child 0, agree 1, registered 0\nat exit /.*/\n$");
}

}  // namespace
