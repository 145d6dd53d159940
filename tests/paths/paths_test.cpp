// What a path value says about itself and about another; the well-known
// directories, the file that holds an address, the executable's path and the
// process environment.
#include <ZuPlatform/paths.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace ZuPlatform;
using namespace std::string_literals;

// Calls of readlink fill the whole buffer with "/" (a link too long for it)
// while toFill says so, fail while toFail says so, then stop inside while
// toStop says so, until released.
static std::atomic<int> toFill(0), toFail(0), toStop(0), stopped(0),
    released(0);

extern "C" ssize_t readlink(const char* path, char* buffer,
                            size_t size) noexcept {
  static const auto next =
      reinterpret_cast<decltype(&readlink)>(dlsym(RTLD_NEXT, "readlink"));
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

// Leaves the stack below the caller full of a pointer to nowhere.
[[gnu::noinline]] void paintStack() {
  volatile char bytes[16384];
  for (volatile char& byte : bytes) byte = 0x41;
}

// Only the last component counts, split at its last "."; base name and
// extension always join back to the name. Rows: the path, a blank, then
// name|base name|extension. A directory's name is its last component too;
// the root has none.
TEST(PathValue, NameSplitsAtItsLastDot) {
  for (const std::string row :
       {"/d.x/ ||", "/d.x/a.b.c a.b.c|a.b|.c", "/d/.b .b||.b", "/a. a.|a|."}) {
    File file(row.substr(0, row.find(' ')));
    EXPECT_EQ(file.toUniversalPath() + " " + file.getName() + "|" +
                  file.getBaseName() + "|" + file.getExtension(),
              row);
  }
  EXPECT_EQ(Directory("/a/bc/").getName() + Directory("/").getName(), "bc");
}

// Only a prefix is taken away: a later hit, or a name that merely begins
// like the base, is no ancestor. Rows: path, base, the path relative to it.
TEST(PathValue, RelativeToTakesAwayOnlyAPrefix) {
  const char* rows[][3] = {{"/a/b/c/", "/a/", "b/c/"},
                           {"/a/b/", "/a/b/", ""},
                           {"/a/bc/", "/a/b/", "/a/bc/"},
                           {"/a/b/c/", "/b/", "/a/b/c/"}};
  for (auto& row : rows) {
    EXPECT_EQ(Directory(row[0]).relativeTo(Directory(row[1])), row[2])
        << row[0] << " from " << row[1];
  }
}

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
  // After paintStack, a read of anything dladdr did not fill would show.
  EXPECT_EQ((paintStack(), File::thatContains(nullptr)).toUniversalPath(), "");
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

// A failed read is not kept. Then, while a thread is stopped inside its first
// call, a child is forked: it makes a first call of its own, which must not
// wait for anything the thread holds.
void forkDuringAFirstCall() {
  alarm(5);  // a wait that never ends fails the test
  toFail = 1;
  const bool failed = _getProcessFileName().empty();
  toStop = 1;
  std::thread first([] { _getProcessFileName(); });
  while (!stopped) std::this_thread::yield();
  if (fork() == 0) {
    alarm(2);
    _exit(_getProcessFileName().empty());
  }
  int status = -1;
  wait(&status);
  released = 1;
  first.join();
  exit(!failed || status != 0 || _getProcessFileName().empty());
}

// In a process of its own, where the first calls are still to come.
TEST(ProcessFileName, AFirstCallHoldsNothingAForkedChildWaitsFor) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(forkDuringAFirstCall(), testing::ExitedWithCode(0), "");
}

}  // namespace
