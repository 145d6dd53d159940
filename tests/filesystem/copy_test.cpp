#include "scratch.h"

namespace {

using Copy = Scratch;

// The same bytes for the same size, every byte value likely.
std::string bytes(size_t size) {
  std::string text(size, '\0');
  for (size_t i = 0; i < size; ++i) text[i] = char((i * 7919 + size) >> 3);
  return text;
}

TEST_F(Copy, ContentModeAndOverwriteRules) {
  lay({"to/", "old/", "new/"});
  for (size_t size : {0, 32768, 32769, 1 << 20}) {
    write(std::to_string(size), bytes(size));
    EXPECT_TRUE(
        Fs::copy(File(at(std::to_string(size))), Directory(at("to")), false));
    EXPECT_TRUE(read("to/" + std::to_string(size)) == bytes(size)) << size;
  }
  write("src", "new");
  chmod(at("src").c_str(), 0777);
  write("old/src", "longer old content");
  chmod(at("old/src").c_str(), 0600);
  const mode_t saved = umask(022);
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("old")), false));
  EXPECT_EQ(read("old/src"), "longer old content");
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("old")), true));
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("new")), true));
  umask(saved);
  // Overwritten: cut to the source, own mode kept. New: the source's mode,
  // less the umask. The target directory is never made for a single file.
  EXPECT_EQ(read("old/src") + read("new/src"), "newnew");
  EXPECT_EQ(mode("old/src") + mode("new/src"), 2 * S_IFREG + 0600u + 0755u);
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("nowhere")), true));
}

TEST_F(Copy, NothingBlocksAndOnlyARegularTargetIsWritten) {
  lay({"to/", "src", "dir/", "ln/"});
  mkfifo(at("fifo").c_str(), 0666);
  mkfifo(at("to/src").c_str(), 0666);
  symlink(at("victim").c_str(), at("ln/src").c_str());
  // A FIFO or a device as the source; a FIFO or a link at the target name;
  // a directory as the source, whose first read fails.
  for (const std::string& source :
       {at("fifo"), std::string("/dev/zero"), at("src"), at("dir")}) {
    for (const char* into : {"to", "ln"}) {
      EXPECT_FALSE(Fs::copy(File(source), Directory(at(into)), true))
          << source << " into " << into;
    }
  }
  EXPECT_EQ(mode("to/fifo") | mode("to/zero") | mode("victim"), 0u);
  EXPECT_TRUE(S_ISFIFO(mode("to/src")) && S_ISLNK(mode("ln/src")));
  EXPECT_TRUE(S_ISREG(mode("to/dir")) && read("to/dir").empty());
}

TEST_F(Copy, NeverReadsItsOwnOutput) {
  lay({"s/", "s/a/", "s/hard/"});
  write("s/f", bytes(100000));
  link(at("s/f").c_str(), at("s/hard/f").c_str());
  // The same path and a hard link reach the source, which a truncating open
  // would empty before the first read.
  for (const char* into : {"s", "s/hard"}) {
    EXPECT_FALSE(Fs::copy(File(at("s/f")), Directory(at(into)), true)) << into;
  }
  EXPECT_TRUE(read("s/f") == bytes(100000));
  // Into its own subtree, twice: the second run finds the first one's output
  // in the listing and must pass it over.
  for (int run = 0; run < 2; ++run) {
    EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("s/a/out")), true));
    EXPECT_TRUE(read("s/a/out/hard/f") == bytes(100000));
    EXPECT_EQ(mode("s/a/out/a/out"), 0u);
  }
}

TEST_F(Copy, TreeIntoMissingTargetAndMerge) {
  lay({"s/", "s/a/", "s/a/b/", "s/e/", "t/", "t/a/", "s/top", "s/a/f",
       "s/a/b/low", "t/a/theirs"});
  mkfifo(at("s/pipe").c_str(), 0666);  // in neither listing: passed over
  symlink("/no/such", at("s/dangling").c_str());
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("x/y")), false));
  EXPECT_EQ(read("x/y/top") + read("x/y/a/f") + read("x/y/a/b/low"),
            "s/tops/a/fs/a/b/low");
  EXPECT_TRUE(S_ISDIR(mode("x/y/e")));
  EXPECT_EQ(mode("x/y/pipe") | mode("x/y/dangling"), 0u);
  write("t/a/f", "old");
  // The walk stops at the first file there already; "top" is not started.
  EXPECT_FALSE(Fs::copy(Directory(at("s")), Directory(at("t")), false));
  EXPECT_EQ(read("t/a/f") + read("t/top"), "old");
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("t")), true));
  EXPECT_EQ(read("t/a/f") + read("t/a/theirs") + read("t/top"),
            "s/a/ft/a/theirss/top");
}

}  // namespace
