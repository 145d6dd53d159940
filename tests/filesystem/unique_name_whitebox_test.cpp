// Linked with the library's objects: the unique-name counter is in reach, so
// every name is known in advance and the end of the numbers is one store
// away; and the copy's write() calls land in the definition below, which
// moves at most 1000 bytes a call while asked to.
#include <sys/syscall.h>

#include <atomic>
#include <thread>

#include "filesystem/unique_name.h"
#include "scratch.h"

namespace {
std::atomic<int> shortened{-1};  // negative: writes go through whole
}  // namespace

extern "C" ssize_t write(int fd, const void* buffer, size_t count) {
  if (shortened >= 0 && fd > 2 && count > 1000) {
    count = 1000;
    ++shortened;
  }
  return syscall(SYS_write, fd, buffer, count);
}

namespace {

const std::string PID = "_" + std::to_string(getpid()) + "_";

TEST(UniqueName, FormsAndNoNumberTwiceAcrossThreads) {
  Fs::uniqueNameCounter = 0;
  const std::string nul("a\0b", 3);  // the prefix is taken whole
  EXPECT_EQ(Fs::createUniqueName(nul), nul + PID + "1");
  std::vector<std::set<std::string>> names(8);
  std::vector<std::thread> threads;
  for (auto& set : names) {
    threads.emplace_back([&set] {
      for (int i = 0; i < 2000; ++i) set.insert(Fs::createUniqueName(""));
    });
  }
  std::set<std::string> all, want;
  for (int n = 2; n < 16002; ++n) want.insert(PID + std::to_string(n));
  for (int i = 0; i < 8; ++i) threads[i].join();
  for (const auto& set : names) all.insert(set.begin(), set.end());
  EXPECT_TRUE(all == want) << all.size();  // each number once, none skipped
  Fs::uniqueNameCounter = 4294967294u;
  EXPECT_EQ(Fs::createUniqueName("job"), "job" + PID + "4294967295");
  EXPECT_EQ(Fs::createUniqueName("job"), "");
}

using Scratched = Scratch;  // TMPDIR is the scratch directory

TEST_F(Scratched, TempFileTakesOnlyARegularFileAndNeverBlocks) {
  // At the names numbers 1 to 4 give: a leftover regular file (emptied), a
  // link to a file, a dangling link and a FIFO, each a failed creation that
  // comes back with its path and creates, writes or follows nothing.
  const std::string base = File(_getProcessFileName()).getBaseName() + PID;
  lay({base + "1", base + "2>victim", base + "3>made", base + "4|", "victim"});
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
  // A missing temporary directory spends no number; after the last number
  // the counter stays put and never wraps.
  for (const uint32_t counter : {7u, 4294967295u}) {
    Fs::uniqueNameCounter = counter;
    setenv("TMPDIR", at(counter == 7 ? "missing" : "").c_str(), 1);
    EXPECT_EQ(_getTempFileName() + Fs::createTempFile().toUniversalPath() +
                  Fs::createTempFileName().toUniversalPath(),
              "");
    EXPECT_EQ(Fs::uniqueNameCounter.load(), counter);
  }
}

TEST_F(Scratched, ShortWritesContinueAtTheFirstByteLeftBehind) {
  std::string content(100000, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = char(i * 31 / 7);
  write("src", content);
  lay({"to/"});
  shortened = 0;
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("to")), false));
  EXPECT_GT(shortened.exchange(-1), 90);
  EXPECT_TRUE(read("to/src") == content);
}

}  // namespace
