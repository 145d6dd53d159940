// Linked with the library's objects: the unique-name counter is in reach, so
// every name is known in advance and the end of the numbers is one store
// away; and the library's stat() calls land in the definition below, which
// fails with an I/O error on any path holding "/eio".
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "filesystem/unique_name.h"
#include "scratch.h"

extern "C" int stat(const char* path, struct stat* status) {
  if (std::strstr(path, "/eio") != nullptr) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(syscall(SYS_newfstatat, AT_FDCWD, path, status, 0));
}

// Likewise a directory stream cannot be made for a directory whose path
// holds "/nodir".
extern "C" DIR* fdopendir(int fd) {
  char path[PATH_MAX] = {};
  readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, PATH_MAX - 1);
  if (std::strstr(path, "/nodir") != nullptr) {
    errno = EIO;
    return nullptr;
  }
  static const auto next =
      reinterpret_cast<DIR* (*)(int)>(dlsym(RTLD_NEXT, "fdopendir"));
  return next(fd);
}

namespace {

const std::string PID = "_" + std::to_string(getpid()) + "_";

using Scratched = Scratch;  // TMPDIR is the scratch directory

TEST_F(Scratched, TempFileTakesOnlyARegularFileAndNeverBlocks) {
  // At the names numbers 1 to 4 give: a leftover regular file (emptied), a
  // link to a file, a dangling link and a FIFO, each a failed creation that
  // comes back with its path and creates, writes or follows nothing.
  const std::string base = File(_getProcessFileName()).getBaseName() + PID;
  lay(base + "1 " + base + "2>victim " + base + "3>made " + base + "4| victim");
  Fs::uniqueNameCounter = 0;
  const mode_t mask = umask(022);
  for (const char* n : {"1", "2", "3", "4", "5"}) {
    EXPECT_EQ(Fs::createTempFile().toUniversalPath(), at(base + n));
  }
  umask(mask);
  EXPECT_EQ(read(base + "1") + read("victim"), "victim");
  EXPECT_TRUE(S_ISLNK(mode(base + "2")) && S_ISFIFO(mode(base + "4")));
  EXPECT_EQ(mode("made") + mode(base + "5"), S_IFREG | 0755u);
  EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), at(base + "6"));
  EXPECT_EQ(mode(base + "6"), 0u);
  // The last number is taken, whole prefix and all. A missing temporary
  // directory spends no number; after the last number the counter stays put
  // and never wraps.
  Fs::uniqueNameCounter = 4294967294u;
  EXPECT_EQ(Fs::createUniqueName(std::string("a\0b", 3)),
            std::string("a\0b", 3) + PID + "4294967295");
  for (const uint32_t counter : {7u, 4294967295u}) {
    Fs::uniqueNameCounter = counter;
    setenv("TMPDIR", at(counter == 7 ? "missing" : "").c_str(), 1);
    EXPECT_EQ(_getTempFileName() + Fs::createTempFile().toUniversalPath() +
                  Fs::createTempFileName().toUniversalPath(),
              "");
    EXPECT_EQ(Fs::uniqueNameCounter.load(), counter);
  }
}

// A listing that can't tell whether an entry is there makes the tree copy
// fail, where a missing entry (a dangling link) is left out; so does a write
// that fails, here past a file size limit of nothing.
TEST_F(Scratched, IoErrorsFailTheCopy) {
  lay("s/ s/ok s/gone>none");
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("c")), true));
  struct rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  const struct rlimit none = {0, saved.rlim_max};
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &none);
  const bool written = Fs::copy(File(at("s/ok")), Directory(at("c")), true);
  setrlimit(RLIMIT_FSIZE, &saved);
  lay("s/eio n/ n/nodir/ n/nodir/f");
  const long before = openDescriptors();
  EXPECT_FALSE(written ||
               Fs::copy(Directory(at("s")), Directory(at("c")), true) ||
               Fs::copy(Directory(at("n")), Directory(at("c")), true));
  EXPECT_EQ(openDescriptors(), before);
  // Short of descriptors, the copy answers true only when it is whole.
  lay("m/ m/d/ m/d/f");
  const int lowestFree = ::open("/dev/null", O_RDONLY);
  ::close(lowestFree);
  struct rlimit descriptors;
  getrlimit(RLIMIT_NOFILE, &descriptors);
  for (int room = 0; room < 10; ++room) {
    const std::string target = "k" + std::to_string(room);
    const struct rlimit few = {rlim_t(lowestFree + room), descriptors.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    const bool copied =
        Fs::copy(Directory(at("m")), Directory(at(target)), true);
    setrlimit(RLIMIT_NOFILE, &descriptors);
    EXPECT_EQ(copied, read(target + "/d/f") == "m/d/f") << room;
  }
  EXPECT_EQ(read("k9/d/f"), "m/d/f");
}

}  // namespace
