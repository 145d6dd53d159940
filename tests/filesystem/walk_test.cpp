// The tree walks (remove, copy, glob) on trees laid out to lead them astray.
#include <algorithm>

#include "scratch.h"

namespace {

using Walks = Scratch;

std::string found(const std::vector<File>& files) {
  std::string text;
  for (const File& file : files) text += file.getName() + " ";
  return text;
}

TEST_F(Walks, ActOnlyOnRealEntriesOfTheTree) {
  // Names that a path turns into "..", "." or a sibling, since a backslash
  // becomes a separator: as directories in t/ (each holding a file), as
  // files in t/f/.
  lay({"keep", "p/", "p/keep", "p/x/", "p/x/keep", "p/y/", "p/y/keep", "p/t/",
       "p/t/f/", "p/t/x", "p/t/y"});
  for (const std::string name :
       {"..\\..", "..\\x", "x\\..", "\\", ".\\..\\y"}) {
    lay({"p/t/" + name + "/", "p/t/" + name + "/in", "p/t/f/" + name});
  }
  const auto everything = snapshot("c");
  std::vector<File> files = Fs::glob(Directory(at("p/t")), "*", true);
  std::sort(files.begin(), files.end());
  EXPECT_EQ(found(files), "x y ");
  EXPECT_FALSE(Fs::copy(Directory(at("p/t")), Directory(at("c")), true));
  EXPECT_EQ(snapshot("c"), everything);  // nothing written outside c
  const auto outside = snapshot("p/t");
  EXPECT_FALSE(Fs::remove(Directory(at("p/t"))));
  EXPECT_EQ(snapshot("p/t"), outside);
}

TEST_F(Walks, FilesAreListedAfterTheSubdirectories) {
  // Copied onto its own parent, the subdirectory step writes p/a/f, which
  // the level's files then take.
  lay({"p/", "p/a/", "p/a/a/", "p/a/a/f"});
  EXPECT_TRUE(Fs::copy(Directory(at("p/a")), Directory(at("p")), true));
  EXPECT_EQ(read("p/f"), "p/a/a/f");
}

TEST_F(Walks, CopyFollowsNoCycleAndWritesThroughNoLink) {
  lay({"s/", "s/d/", "s/d/f", "out/", "c1/", "c2/", "c2/d/"});
  symlink(at("s").c_str(), at("s/d/up").c_str());
  symlink(at("s/d").c_str(), at("s/d/loop").c_str());
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("c")), true));
  EXPECT_EQ(read("c/d/f") + std::to_string(mode("c/d/up") | mode("c/d/loop")),
            "s/d/f0");
  // Links planted in a target tree, at a subdirectory's and a file's name.
  symlink(at("out").c_str(), at("c1/d").c_str());
  symlink(at("out/f").c_str(), at("c2/d/f").c_str());
  for (const char* target : {"c1", "c2"}) {
    EXPECT_FALSE(Fs::copy(Directory(at("s")), Directory(at(target)), true));
  }
  EXPECT_EQ(mode("out/f"), 0u);
}

TEST_F(Walks, APathHoldingNulNamesNothing) {
  lay({"d/", "d/f"});
  const std::string cut("\0x", 2);
  const Directory directory(at("d") + cut);
  const File file(at("d/f") + cut);
  EXPECT_EQ(file.getName(), "f" + cut);  // an ordinary byte to the text
  EXPECT_FALSE(file.exists() || directory.exists() || directory.hasFile("f"));
  EXPECT_FALSE(Fs::remove(file) || Fs::rename(file, "g") ||
               Fs::copy(file, Directory(at("d")), true) ||
               Fs::copy(directory, Directory(at("c")), true) ||
               Fs::remove(directory) || Fs::create(File(at("new") + cut)) ||
               Fs::create(Directory(at("new") + cut)));
  EXPECT_TRUE(directory.files().empty() && directory.directories().empty() &&
              Fs::glob(directory, "*", true).empty());
  EXPECT_EQ(read("d/f") + std::to_string(mode("new") | mode("c")), "d/f0");
}

}  // namespace
