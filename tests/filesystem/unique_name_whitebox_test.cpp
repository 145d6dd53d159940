// Unique names and temporary files with the library's counter in reach: each
// test sets it first, so every name is known in advance, the end of the
// numbers is one store away, and a number spent shows.
#include <set>
#include <thread>

#include "filesystem/unique_name.h"
#include "scratch.h"

namespace {

const std::string PID = "_" + std::to_string(getpid()) + "_";

// The temporary file name number n gives, below the scratch directory.
std::string tempName(unsigned n) {
  return File(_getProcessFileName()).getBaseName() + PID + std::to_string(n);
}

TEST(UniqueName, FormsAndNoNumberTwiceAcrossThreads) {
  Fs::uniqueNameCounter = 0;
  EXPECT_EQ(Fs::createUniqueName("job"), "job" + PID + "1");
  EXPECT_EQ(Fs::createUniqueName(""), PID + "2");
  const std::string nul("a\0b", 3);  // the prefix is taken whole
  EXPECT_EQ(Fs::createUniqueName(nul), nul + PID + "3");
  std::vector<std::vector<std::string>> names(8);
  std::vector<std::thread> threads;
  for (auto& list : names) {
    threads.emplace_back([&list] {
      for (int i = 0; i < 2000; ++i) list.push_back(Fs::createUniqueName("t"));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> all, want;
  for (const auto& list : names) all.insert(list.begin(), list.end());
  for (int n = 4; n < 16004; ++n) want.insert("t" + PID + std::to_string(n));
  EXPECT_TRUE(all == want) << all.size();  // each number once, none skipped
  Fs::uniqueNameCounter = 4294967294u;
  EXPECT_EQ(Fs::createUniqueName("job"), "job" + PID + "4294967295");
  EXPECT_EQ(Fs::createUniqueName("job"), "");
}

using TempFile = Scratch;  // TMPDIR is the scratch directory

TEST_F(TempFile, WhatStandsAtTheNameDecides) {
  Fs::uniqueNameCounter = 0;
  write(tempName(1), "left over");  // a regular file there is emptied
  // A planted link is not followed: as a failed creat, the composed path
  // comes back and nothing is made or written through the link.
  write("victim", "do not touch");
  symlink(at("victim").c_str(), at(tempName(2)).c_str());
  symlink(at("created").c_str(), at(tempName(3)).c_str());
  const mode_t mask = umask(022);
  for (unsigned n = 1; n <= 4; ++n) {
    EXPECT_EQ(Fs::createTempFile().toUniversalPath(), at(tempName(n)));
  }
  umask(mask);
  EXPECT_EQ(read(tempName(1)) + read("victim"), "do not touch");
  EXPECT_TRUE(S_ISLNK(mode(tempName(2))) && S_ISLNK(mode(tempName(3))));
  EXPECT_EQ(mode("created"), 0u);
  EXPECT_EQ(mode(tempName(4)), S_IFREG | 0755u);
  EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), at(tempName(5)));
  EXPECT_EQ(mode(tempName(5)), 0u);
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
      EXPECT_EQ(_getTempFileName(), "") << row.counter;
      EXPECT_EQ(Fs::createTempFile().toUniversalPath(), "") << row.counter;
      EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), "") << row.counter;
    }
    EXPECT_EQ(Fs::uniqueNameCounter.load(), row.counter);
  }
}

}  // namespace
