// A scratch directory for one test: made fresh, removed with all it holds,
// and the working directory put back where it was.
#ifndef ZUPLATFORM_TESTS_PATHS_SCRATCH_H
#define ZUPLATFORM_TESTS_PATHS_SCRATCH_H

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

class Scratch {
 public:
  Scratch() : previous(std::filesystem::current_path()) {
    char name[] = "/tmp/zu-paths-XXXXXX";
    root = mkdtemp(name) ? std::string(name) + "/" : std::string();
  }
  ~Scratch() {
    std::filesystem::current_path(previous);
    if (!root.empty()) std::filesystem::remove_all(root);
  }
  // The scratch directory's text, ending in "/".
  const std::string& path() const { return root; }
  // Makes relative (and the directories above it) under the scratch root.
  void makeDirectory(const std::string& relative) const {
    std::filesystem::create_directories(root + relative);
  }

 private:
  std::filesystem::path previous;
  std::string root;
};

#endif  // ZUPLATFORM_TESTS_PATHS_SCRATCH_H
