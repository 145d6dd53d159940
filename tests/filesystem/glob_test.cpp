#include "scratch.h"

namespace {

// One subdirectory and one regular file per level, so the listing order
// can't blur the walk's own order.
class Glob : public Scratch {
 protected:
  void SetUp() override {
    Scratch::SetUp();
    mkdirs({"d", "d/.sub", "d/.sub/deep"});
    for (const char* file : {"d/.top", "d/.sub/Mid.txt", "d/.sub/deep/low.txt"})
      write(file, "");
    // In neither listing, so never a match.
    mkfifo(at("d/pipe.txt").c_str(), 0666);
    symlink("/no/such", at("d/dangling.txt").c_str());
  }
  // The paths below root, each followed by a space, in the vector's order.
  std::string found(const std::vector<File>& files) const {
    std::string text;
    for (const File& file : files)
      text += file.toUniversalPath().substr(root.size()) + " ";
    return text;
  }
  std::string glob(const char* directory, const char* pattern,
                   bool recursive) const {
    return found(Fs::glob(Directory(at(directory)), pattern, recursive));
  }
};

TEST_F(Glob, DepthFirstOverEveryRegularFile) {
  // Hidden names need no dot in the pattern, and hidden directories are
  // entered; what a subdirectory holds comes before its parent's own.
  EXPECT_EQ(glob("d", "*", true), "d/.sub/deep/low.txt d/.sub/Mid.txt d/.top ");
  EXPECT_EQ(glob("d", "*.txt", true), "d/.sub/deep/low.txt d/.sub/Mid.txt ");
  EXPECT_EQ(glob("d", "*", false), "d/.top ");
  EXPECT_EQ(glob("d", "", true), "");
  EXPECT_EQ(glob("missing", "*", true), "");
  // The vector is only ever appended to, the same files again if asked twice.
  std::vector<File> result = {File(at("kept"))};
  Fs::glob(Directory(at("d/.sub")), "mid.*", true, result);
  Fs::glob(Directory(at("d/.sub")), "mid.*", false, result);
  EXPECT_EQ(found(result), "kept d/.sub/Mid.txt d/.sub/Mid.txt ");
}

TEST_F(Glob, LinkBackUpTheTreeIsNotFollowedRound) {
  symlink(at("d").c_str(), at("d/.sub/deep/up").c_str());
  EXPECT_EQ(glob("d", "*", true), "d/.sub/deep/low.txt d/.sub/Mid.txt d/.top ");
  // Only the directories on the walk's own path are passed over: started
  // below the link, the walk goes up once and stops at the start.
  EXPECT_EQ(glob("d/.sub", "*", true),
            "d/.sub/deep/up/.top d/.sub/deep/low.txt d/.sub/Mid.txt ");
}

}  // namespace
