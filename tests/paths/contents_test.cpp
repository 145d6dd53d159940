// What a Directory finds on disk, over a scratch tree that holds one of each
// kind of entry, and where several directories meet.
#include "filesystem/scratch.h"

namespace {

using Contents = Scratch;

// Types come from stat through links; FIFOs, dangling links and a name that
// does not survive the backslash conversion are in neither list. The lists
// are appended to, never cleared, also when they hold the listed directory
// itself and must grow. Existence is access(): any type counts. A path
// holding a NUL byte names nothing, though the system would see a shorter
// one: it is neither listed, globbed nor copied.
TEST_F(Contents, ListsByTypeFollowingLinks) {
  lay("sub/ .../ plain .hidden sub/inner odd\\name fifo| dangling>nowhere "
      "dirlink>sub filelink>plain");
  std::vector<Directory> directories{Directory(root)};
  directories.shrink_to_fit();
  directories[0].directories(directories);
  EXPECT_EQ(below(directories, true), " .../ dirlink/ sub/ ");
  EXPECT_EQ(below(Directory(root).files(), true), ".hidden filelink plain ");
  EXPECT_EQ(Directory(root).directories().size() +
                Directory(at("sub")).files().size(),
            4u);
  const std::string cut("\0x", 2);
  for (const Directory& none :
       {Directory(at("plain")), Directory(), Directory(at("sub") + cut)}) {
    EXPECT_TRUE(none.directories().empty() && none.files().empty() &&
                Fs::glob(none, "*", true).empty());
    EXPECT_FALSE(none.exists() || none.hasFile("inner"));  // "plain/" too
  }
  EXPECT_TRUE(Directory(root).hasFile("sub") &&
              Directory(root).hasDirectory("plain"));
  EXPECT_FALSE(Fs::copy(Directory(at("sub") + cut), Directory(at("c")), true) ||
               mode("c"));
  EXPECT_FALSE(Directory(root).hasFile("dangling") ||
               File(at("plain") + cut).exists());
}

TEST_F(Contents, CommonRootClimbsWhileParentExists) {
  // Candidates, then "=" and the common root, "!" for an empty pointer;
  // below the scratch root unless they begin with "/"; "-" is the empty path;
  // "~x" the home directory with HOME set to x, which is taken literally.
  lay("a/ a/b/ a/b/c/ a/bc/ a/bd/ sub/");
  const std::string home = ZuPlatform::getEnv("HOME");
  const char* const rows[] = {
      "= !", "no/such/ = no/such/", "a/b/ a/b/c/ = a/b/", "a/b/c/ a/b/ = a/b/",
      "a/b/ a/bc/ = a/", "a/b/ sub/ a/bd/ = .", "a/b/ /elsewhere/ = /",
      "no/such/a/ no/such/b/ = !", "a/gone/ a/b/ = a/",
      // The empty path is an answer only as the first candidate.
      "- a/ = -", "a/ - = !",
      // Every climb tests all candidates again: a literal relative root
      // climbs to an absolute parent, which no longer covers the candidates
      // it covered before, so the climb goes on to "/" and gives up.
      "~./a ~./a/b = ~./a", "~./a ~./a/b a/ = !"};
  auto make = [&](const std::string& word) {
    if (word[0] == '~') setenv("HOME", word.c_str() + 1, 1);
    return word[0] == '~' ? Directory(Directory::WELL_KNOWN_HOME)
           : word == "-"  ? Directory()
                          : Directory(word[0] == '/' ? word : at(word));
  };
  for (const char* row : rows) {
    std::istringstream words(row);
    std::vector<Directory> candidates;
    std::string word;
    while (words >> word && word != "=") candidates.push_back(make(word));
    words >> word;
    const auto common = Directory::commonRootOf(candidates);
    EXPECT_EQ(common ? common->toUniversalPath() : "!",
              word == "!" ? "!" : make(word).toUniversalPath())
        << row;
  }
  setenv("HOME", home.c_str(), 1);
}

}  // namespace
