// A client built outside the source tree against the installed library: it
// calls into several families and fails loudly if anything is off.
//
// ZU_PACKAGE_VERSION is the version that the build system found (CMake's
// package version or pkg-config's); an argument, when given, is the version
// of the installed system package. Both must equal the header's.
#include <ZuPlatform/ZuPlatform.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  const std::string version = ZUPLATFORM_VERSION_STRING;
  std::printf("consumer: ZuPlatform %s\n", version.c_str());
  const bool ok =
      ZuPlatform::Directory("/a/./b/../c").toUniversalPath() == "/a/c/" &&
      Zu::calculateCRC32("123456789", 9, 0) == 0xCBF43926u &&
      libwdmatch_match_i("*.TXT", "readme.txt") == 1 &&
      ZuPlatform::CPU::getCoreCount() > 0 &&
      version == std::to_string(ZUPLATFORM_VERSION_MAJOR) + "." +
                     std::to_string(ZUPLATFORM_VERSION_MINOR) + "." +
                     std::to_string(ZUPLATFORM_VERSION_PATCH) &&
      version == ZU_PACKAGE_VERSION && (argc < 2 || version == argv[1]);
  std::printf("consumer: %s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
