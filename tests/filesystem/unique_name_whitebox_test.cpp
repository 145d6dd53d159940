// Unique names and temporary files with the library's counter in reach: each
// test sets it first, so every name is known in advance, the end of the
// numbers is one store away, and a number spent shows.
#include <thread>

#include "filesystem/unique_name.h"
#include "scratch.h"

namespace {

const std::string PID = "_" + std::to_string(getpid()) + "_";

TEST(UniqueName, FormsAndNoNumberTwiceAcrossThreads) {
  Fs::uniqueNameCounter = 0;
  EXPECT_EQ(Fs::createUniqueName("job"), "job" + PID + "1");
  const std::string nul("a\0b", 3);  // the prefix is taken whole
  EXPECT_EQ(Fs::createUniqueName(nul), nul + PID + "2");
  std::vector<std::set<std::string>> names(8);
  std::vector<std::thread> threads;
  for (auto& set : names) {
    threads.emplace_back([&set] {
      for (int i = 0; i < 2000; ++i) set.insert(Fs::createUniqueName(""));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> all, want;
  for (const auto& set : names) all.insert(set.begin(), set.end());
  for (int n = 3; n < 16003; ++n) want.insert(PID + std::to_string(n));
  EXPECT_TRUE(all == want) << all.size();  // each number once, none skipped
  Fs::uniqueNameCounter = 4294967294u;
  EXPECT_EQ(Fs::createUniqueName("job"), "job" + PID + "4294967295");
  EXPECT_EQ(Fs::createUniqueName("job"), "");
}

using TempFile = Scratch;  // TMPDIR is the scratch directory

TEST_F(TempFile, WhatStandsAtTheNameDecides) {
  // The names numbers 1 to 5 give. A regular file there is emptied; a link
  // (to a file or dangling) or a FIFO is a failed creation that comes back
  // with its path, creates nothing, writes nothing and does not block.
  std::vector<std::string> names;
  for (int n = 1; n <= 5; ++n) {
    names.push_back(File(_getProcessFileName()).getBaseName() + PID +
                    std::to_string(n));
  }
  write(names[0], "left over");
  lay({"victim"});
  symlink(at("victim").c_str(), at(names[1]).c_str());
  symlink(at("created").c_str(), at(names[2]).c_str());
  mkfifo(at(names[3]).c_str(), 0666);
  Fs::uniqueNameCounter = 0;
  const mode_t mask = umask(022);
  for (const std::string& name : names) {
    EXPECT_EQ(Fs::createTempFile().toUniversalPath(), at(name));
  }
  umask(mask);
  EXPECT_EQ(read(names[0]) + read("victim"), "victim");
  EXPECT_TRUE(S_ISLNK(mode(names[1])) && S_ISFIFO(mode(names[3])));
  EXPECT_EQ(mode("created") + mode(names[4]), S_IFREG | 0755u);
  EXPECT_EQ(Fs::createTempFileName().toUniversalPath(),
            at(names[4].substr(0, names[4].size() - 1) + "6"));
  EXPECT_EQ(mode(names[4].substr(0, names[4].size() - 1) + "6"), 0u);
}

TEST_F(TempFile, NoNameAndNoFileWithoutANumber) {
  // A missing temporary directory spends no number; after the last number
  // the counter stays put and never wraps.
  const struct {
    uint32_t counter;
    const char* temporaryDirectory;
  } rows[] = {{7, "missing"}, {4294967295u, ""}};
  for (const auto& row : rows) {
    Fs::uniqueNameCounter = row.counter;
    setenv("TMPDIR", at(row.temporaryDirectory).c_str(), 1);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(_getTempFileName() + Fs::createTempFile().toUniversalPath() +
                    Fs::createTempFileName().toUniversalPath(),
                "")
          << row.counter;
    }
    EXPECT_EQ(Fs::uniqueNameCounter.load(), row.counter);
  }
}

}  // namespace
