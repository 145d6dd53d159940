// Normalises the paths given on the command line, as a directory and as a
// file, and prints the six well-known directories of this process.
#include <ZuPlatform/paths.h>

#include <cstdio>

using ZuPlatform::Directory;
using ZuPlatform::File;

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::printf("%-24s directory %-32s file %s\n", argv[i],
                Directory(argv[i]).toUniversalPath().c_str(),
                File(argv[i]).toUniversalPath().c_str());
  }
  const struct {
    const char* label;
    Directory::WellKnownDirectory which;
  } wellKnown[] = {
      {"current", Directory::WELL_KNOWN_CURRENT},
      {"root", Directory::WELL_KNOWN_ROOT},
      {"home", Directory::WELL_KNOWN_HOME},
      {"process", Directory::WELL_KNOWN_PROCESS},
      {"library", Directory::WELL_KNOWN_LIBRARY},
      {"temp", Directory::WELL_KNOWN_TEMP},
  };
  for (const auto& entry : wellKnown) {
    std::printf("%-8s %s\n", entry.label,
                Directory(entry.which).toUniversalPath().c_str());
  }
  return 0;
}
