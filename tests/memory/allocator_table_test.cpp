#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/memory.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <cstdint>
#include <cstring>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const unsigned long WIDEST = 4096;  // a sanitizer would shadow all 4 GB
#else
const unsigned long WIDEST = 0xFFFFFFFC;  // the widest alignment that fits
#endif
const char LOGGED[] =
    "DEBUG: MallocCreateAligned: Alignment must be a multiple of "
    "sizeof(unsigned int).\n";

// Blocks of sizes 0 to 39 at each alignment, through both families (the flat
// one alone beyond 32 bits), so that malloc hands out many remainders: each
// aligned, its pad word the smallest pad of at least 4, its bytes the
// caller's, and it goes back through either family. The second column: 1 where
// an alignment that is no multiple of 4 is logged for each block and served all
// the same, 2 where a pad that could pass its 32-bit word gives null with
// nothing allocated or logged.
TEST(AllocatorTable, AlignedBlocksKeepTheirLayout) {
  const unsigned long rows[][2] = {
      {4, 0},          {8, 0},        {16, 0},        {64, 0},
      {100, 0},        {4096, 0},     {WIDEST, 0},    {6, 1},
      {0, 1},          {1, 1},        {2, 1},         {3, 1},
      {0xFFFFFFFD, 2}, {UINT_MAX, 2}, {1ul << 32, 2}, {ULONG_MAX, 2}};
  for (const auto& [alignment, outcome] : rows) {
    const unsigned long step = alignment ? alignment : 1;
    for (unsigned long size = 0; size < 40; ++size) {
      testing::internal::CaptureStderr();
      void* block = size % 2 && alignment <= UINT_MAX
                        ? Zu::ZuMemory::createAligned(size, unsigned(alignment))
                        : KaMemoryAPI_createAligned(size, alignment);
      EXPECT_EQ(testing::internal::GetCapturedStderr(),
                outcome == 1 ? LOGGED : "");
      ASSERT_EQ(block == nullptr, outcome == 2) << alignment;
      if (block == nullptr) continue;
      uint32_t pad;
      memcpy(&pad, static_cast<char*>(block) - 4, sizeof pad);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % step, 0u) << alignment;
      EXPECT_TRUE(pad >= 4 && pad < step + 4) << alignment << ": " << pad;
      (size % 2 ? KaMemoryAPI_destroyAligned
                : Zu::ZuMemory::destroyAligned)(memset(block, 0xA5, size));
    }
  }
  // A total past 64 bits is refused as well.
  EXPECT_EQ(KaMemoryAPI_createAligned(ULONG_MAX - 7, 4), nullptr);
  EXPECT_EQ(Zu::ZuMemory::createAligned(ULONG_MAX, 64), nullptr);
  KaMemoryAPI_destroyAligned(nullptr);
  EXPECT_FALSE(KaMemoryCheckMemory() || KaMemoryCheckGetAllocatedBlockCount() ||
               KaMemoryCheckGetAllocatedByteCount());
}

// A block given back is freed, and so is one whose alignment warning meets a
// handler that throws: a hundred rounds of a megabyte leave the heap no
// bigger. (Sanitizers keep their own heap and report zeros here; they find
// leaks by themselves.)
TEST(AllocatorTable, AlignedBlocksGoBackToTheHeap) {
  const auto inUse = [] {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  const size_t before = inUse();
  for (int round = 0; round < 100; ++round) {
    (round % 2 ? KaMemoryAPI_destroyAligned : Zu::ZuMemory::destroyAligned)(
        KaMemoryAPI_createAligned(1 << 20, 64));
  }
  const Zu::LogHandler original =
      Zu::LogSetHandler([](Zu::eLogLevel, const char*, va_list) { throw 1; });
  for (int round = 0; round < 100; ++round) {
    EXPECT_THROW(KaMemoryAPI_createAligned(1 << 20, 6), int);
  }
  Zu::LogSetHandler(original);
  EXPECT_LT(inUse(), before + (1 << 20));
}

// Size 0 is no request to free: the block stays the caller's.
TEST(AllocatorTable, ResizeToZeroKeepsTheBlock) {
  void* block = memcpy(KaMemoryAPI_create(16), "fifteen chars..", 16);
  EXPECT_EQ(KaMemoryAPI_resize(block, 0), nullptr);
  block = Zu::ZuMemory::resize(block, 4096);
  EXPECT_STREQ(static_cast<char*>(block), "fifteen chars..");
  Zu::ZuMemory::destroy(block);
}

}  // namespace
