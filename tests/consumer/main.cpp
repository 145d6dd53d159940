// A client built outside the source tree against the installed library: it
// touches every family once and fails loudly if anything is off.
//
// ZU_PACKAGE_VERSION is the version that the build system found (CMake's
// package version or pkg-config's); an argument, when given, is the version
// of the installed system package. Both must equal the header's.
#include <ZuPlatform/ZuPlatform.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
  int failures = 0;
  auto expect = [&failures](bool ok, const char* what) {
    if (!ok) {
      std::fprintf(stderr, "consumer: %s failed\n", what);
      ++failures;
    }
  };
  expect(ZuPlatform::Directory("/a/./b/../c").toUniversalPath() == "/a/c/",
         "Directory normalisation");
  expect(Zu::LogGetLevel() == Zu::LOG_LEVEL_DEBUG, "log threshold after load");
  expect(Zu::calculateCRC32("123456789", 9, 0) ==
             static_cast<decltype(Zu::calculateCRC32("", 0, 0))>(0xCBF43926u),
         "CRC-32 check value");
  expect(libwdmatch_match_i("*.TXT", "readme.txt") == 1, "wildcard match");
  void* block = KaMemoryAPI_createAligned(100, 64);
  expect(block != nullptr && reinterpret_cast<unsigned long>(block) % 64 == 0,
         "aligned allocation");
  KaMemoryAPI_destroyAligned(block);
  ZuPlatform::Mutex mutex;
  mutex.lock();
  mutex.unlock();
  expect(ZuPlatform::CPU::getCoreCount() > 0, "core count");
  expect(Zu::ZuTimer::now() >= 0.0, "time since load");
  char composed[32];
  std::snprintf(composed, sizeof composed, "%d.%d.%d", ZUPLATFORM_VERSION_MAJOR,
                ZUPLATFORM_VERSION_MINOR, ZUPLATFORM_VERSION_PATCH);
  std::printf("consumer: ZuPlatform %s\n", ZUPLATFORM_VERSION_STRING);
  expect(std::strcmp(composed, ZUPLATFORM_VERSION_STRING) == 0,
         "version macros agree");
  expect(std::strcmp(ZU_PACKAGE_VERSION, ZUPLATFORM_VERSION_STRING) == 0,
         "version found by the build system");
  expect(argc < 2 || std::strcmp(argv[1], ZUPLATFORM_VERSION_STRING) == 0,
         "version of the installed package");
  std::printf("consumer: %s\n", failures == 0 ? "ok" : "FAILED");
  return failures == 0 ? 0 : 1;
}
