#include <set>
#include <thread>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::File;

// The number at the end of prefix_pid_number; 0 for any other form.
unsigned long numberOf(const std::string& name, const std::string& prefix) {
  const std::string head = prefix + "_" + std::to_string(getpid()) + "_";
  const std::string tail = name.substr(std::min(head.size(), name.size()));
  if (name.compare(0, head.size(), head) != 0 || tail.empty() ||
      tail.find_first_not_of("0123456789") != std::string::npos) {
    return 0;
  }
  return std::stoul(tail);
}

TEST(UniqueName, FormsAndNumbersAcrossThreads) {
  const unsigned long first = numberOf(Fs::createUniqueName("job"), "job");
  ASSERT_GT(first, 0u);
  EXPECT_EQ(numberOf(Fs::createUniqueName(""), ""), first + 1);
  const std::string nul("a\0b", 3);  // the prefix is taken whole
  EXPECT_EQ(numberOf(Fs::createUniqueName(nul), nul), first + 2);

  std::vector<std::vector<unsigned long>> numbers(8);
  std::vector<std::thread> threads;
  for (auto& list : numbers) {
    threads.emplace_back([&list] {
      for (int i = 0; i < 2000; ++i) {
        list.push_back(numberOf(Fs::createUniqueName("t"), "t"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<unsigned long> all;
  for (const auto& list : numbers) all.insert(list.begin(), list.end());
  // 16000 different numbers in one unbroken run: none twice, none skipped.
  EXPECT_EQ(all.size(), 16000u);
  EXPECT_EQ(*all.rbegin() - *all.begin(), 15999u);
  EXPECT_EQ(*all.begin(), first + 3);
}

// TMPDIR points at the scratch directory for the test.
class TempFile : public Scratch {
 protected:
  void SetUp() override {
    Scratch::SetUp();
    if (const char* old = getenv("TMPDIR")) saved = old;
    setenv("TMPDIR", root.c_str(), 1);
  }
  void TearDown() override {
    saved.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", saved.c_str(), 1);
    Scratch::TearDown();
  }
  // The name of the next temporary file, below root; spends a number to see
  // where the counter stands.
  std::string nextName() const {
    const unsigned long last = numberOf(Fs::createUniqueName("p"), "p");
    return File(_getProcessFileName()).getBaseName() + "_" +
           std::to_string(getpid()) + "_" + std::to_string(last + 1);
  }
  std::string saved;
};

TEST_F(TempFile, CreatesAnEmptyFileUnderTheComposedName) {
  const std::string name = nextName();
  write(name, "left over");  // a regular file there already is emptied
  const mode_t mask = umask(022);
  EXPECT_EQ(Fs::createTempFile().toUniversalPath(), at(name));
  EXPECT_EQ(read(name), "");
  const std::string fresh = nextName();
  const File file = Fs::createTempFile();
  umask(mask);
  EXPECT_EQ(mode(fresh), S_IFREG | 0755u);
  EXPECT_TRUE(Fs::remove(file));
  const File a = Fs::createTempFileName(), b = Fs::createTempFileName();
  EXPECT_NE(a.toUniversalPath(), b.toUniversalPath());
  EXPECT_FALSE(a.exists() || b.exists() || a.toUniversalPath().empty());
}

TEST_F(TempFile, MissingTemporaryDirectorySpendsNoNumber) {
  setenv("TMPDIR", at("missing").c_str(), 1);
  const unsigned long before = numberOf(Fs::createUniqueName("n"), "n");
  EXPECT_EQ(_getTempFileName(), "");
  EXPECT_EQ(Fs::createTempFile().toUniversalPath(), "");
  EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), "");
  EXPECT_EQ(numberOf(Fs::createUniqueName("n"), "n"), before + 1);
}

TEST_F(TempFile, PlantedLinkIsNotFollowed) {
  write("victim", "do not touch");
  for (const char* target : {"victim", "created"}) {
    const std::string name = nextName();
    symlink(at(target).c_str(), at(name).c_str());
    // As a failed creat: the composed path, nothing made or written.
    EXPECT_EQ(Fs::createTempFile().toUniversalPath(), at(name));
    EXPECT_TRUE(S_ISLNK(mode(name))) << target;
  }
  EXPECT_EQ(read("victim"), "do not touch");
  EXPECT_EQ(mode("created"), 0u);
}

}  // namespace
