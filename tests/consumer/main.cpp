// A client built outside the source tree against the installed library: it
// touches every family once and fails loudly if anything is off.
#include <ZuPlatform/ZuPlatform.h>

#include <cstdio>
#include <cstring>

int main() {
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
  std::printf("consumer: %s\n", failures == 0 ? "ok" : "FAILED");
  return failures == 0 ? 0 : 1;
}
