#include <ZuPlatform/memory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char ALIGNMENT_MESSAGE[] =
    "DEBUG: MallocCreateAligned: Alignment must be a multiple of "
    "sizeof(unsigned int).\n";

// Every test leaves the table as it found it.
class AllocatorTable : public testing::Test {
 protected:
  void SetUp() override { saved = KaMemoryAPI; }
  void TearDown() override { KaMemoryAPI = saved; }
  KaMemoryAPITable saved;
};

uint32_t padWordBelow(const void* block) {
  uint32_t pad;
  memcpy(&pad, static_cast<const unsigned char*>(block) - 4, sizeof pad);
  return pad;
}

// Allocates many blocks at each alignment, so that malloc hands out addresses
// at many remainders, and checks the layout of each: aligned pointer, the
// smallest pad that leaves room for the pad word, and the caller's bytes all
// inside the malloc block (the sanitizer sees every byte written).
TEST_F(AllocatorTable, AlignedBlocksKeepTheirLayout) {
  testing::internal::CaptureStderr();
  for (unsigned long alignment :
       {4ul, 8ul, 16ul, 64ul, 4096ul, 6ul, 12ul, 100ul}) {
    for (unsigned long size : {0ul, 1ul, 37ul, 256ul}) {
      std::vector<void*> blocks;
      for (int i = 0; i < 64; ++i) {
        void* block = KaMemoryAPI_createAligned(size, alignment);
        ASSERT_NE(block, nullptr);
        const uintptr_t address = reinterpret_cast<uintptr_t>(block);
        ASSERT_EQ(address % alignment, 0u) << "alignment " << alignment;
        const uint32_t pad = padWordBelow(block);
        const uintptr_t start = address - pad;
        const unsigned long gap = (alignment - start % alignment) % alignment;
        const unsigned long want = gap < 4 ? gap + alignment : gap;
        ASSERT_EQ(pad, want) << "alignment " << alignment << " start " << start;
        memset(block, 0xA5, size);
        blocks.push_back(block);
      }
      for (void* block : blocks) KaMemoryAPI_destroyAligned(block);
    }
  }
  testing::internal::GetCapturedStderr();
}

// Alignments below 4 lie outside what callers may ask for; they still get a
// usable block, aligned as asked, with the pad word inside the malloc block.
TEST_F(AllocatorTable, TinyAlignmentsStillGiveUsableBlocks) {
  for (unsigned long alignment : {0ul, 1ul, 2ul, 3ul}) {
    for (int i = 0; i < 32; ++i) {
      testing::internal::CaptureStderr();
      void* block = Zu::ZuMemory::createAligned(24, alignment);
      EXPECT_EQ(testing::internal::GetCapturedStderr(), ALIGNMENT_MESSAGE);
      ASSERT_NE(block, nullptr);
      if (alignment > 1) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
      }
      EXPECT_GE(padWordBelow(block), 4u);
      EXPECT_LE(padWordBelow(block), 6u);
      memset(block, 0x5A, 24);
      Zu::ZuMemory::destroyAligned(block);
    }
  }
}

TEST_F(AllocatorTable, AlignmentNotAMultipleOfFourIsLoggedOnce) {
  const struct {
    unsigned long alignment;
    std::string want;
  } rows[] = {
      {4, ""},
      {16, ""},
      {64, ""},
      {6, ALIGNMENT_MESSAGE},
      {10, ALIGNMENT_MESSAGE},
  };
  for (const auto& row : rows) {
    testing::internal::CaptureStderr();
    void* block = KaMemoryAPI_createAligned(0, row.alignment);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.want)
        << "alignment " << row.alignment;
    KaMemoryAPI_destroyAligned(block);
  }
}

TEST_F(AllocatorTable, ResizeToZeroKeepsTheBlock) {
  char* block = static_cast<char*>(KaMemoryAPI_create(16));
  ASSERT_NE(block, nullptr);
  memcpy(block, "fifteen chars..", 16);
  EXPECT_EQ(KaMemoryAPI_resize(block, 0), nullptr);
  EXPECT_STREQ(block, "fifteen chars..");
  EXPECT_EQ(Zu::ZuMemory::resize(nullptr, 0), nullptr);

  char* grown = static_cast<char*>(KaMemoryAPI_resize(block, 4096));
  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(grown, "fifteen chars..");
  KaMemoryAPI_destroy(grown);

  void* fresh = Zu::ZuMemory::resize(nullptr, 8);
  EXPECT_NE(fresh, nullptr);
  Zu::ZuMemory::destroy(fresh);
}

TEST_F(AllocatorTable, ZeroedBlocksAreZero) {
  // The sanitizer fills malloc blocks with garbage, so plain malloc fails this.
  const unsigned long size = 3000;
  for (auto createZeroed :
       {KaMemoryAPI_createZeroed, Zu::ZuMemory::createZeroed}) {
    unsigned char* block = static_cast<unsigned char*>(createZeroed(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::vector<unsigned char>(block, block + size),
              std::vector<unsigned char>(size, 0));
    KaMemoryAPI_destroy(block);
  }
}

TEST_F(AllocatorTable, NullReleasesDoNothing) {
  KaMemoryAPI_destroy(nullptr);
  KaMemoryAPI_destroyAligned(nullptr);
  Zu::ZuMemory::destroy(nullptr);
  Zu::ZuMemory::destroyAligned(nullptr);
}

// Fakes that record what reached the table.
struct Call {
  int slot = 0;
  unsigned long size = 0;
  unsigned long alignment = 0;
  void* block = nullptr;
};
Call lastCall;
char fakeBlock[1];

void* fakeCreate(unsigned long size) {
  lastCall = {1, size, 0, nullptr};
  return fakeBlock;
}
void* fakeCreateZeroed(unsigned long size) {
  lastCall = {2, size, 0, nullptr};
  return fakeBlock;
}
void* fakeCreateAligned(unsigned long size, unsigned long alignment) {
  lastCall = {3, size, alignment, nullptr};
  return fakeBlock;
}
void fakeDestroy(void* block) { lastCall = {4, 0, 0, block}; }
void fakeDestroyAligned(void* block) { lastCall = {5, 0, 0, block}; }
void* fakeResize(void* block, unsigned long size) {
  lastCall = {6, size, 0, block};
  return fakeBlock;
}

// A store into a slot holds from the very next call of either family.
TEST_F(AllocatorTable, ReplacedSlotsServeBothFamilies) {
  KaMemoryAPI = {fakeCreate,  fakeCreateZeroed,   fakeCreateAligned,
                 fakeDestroy, fakeDestroyAligned, fakeResize};
  void* const block = &lastCall;
  const struct {
    const char* name;
    void* (*call)(void* block);
    int slot;
    unsigned long size, alignment;
    bool passesBlock;
  } rows[] = {
      {"KaMemoryAPI_create", [](void*) { return KaMemoryAPI_create(11); }, 1,
       11, 0, false},
      {"ZuMemory::create", [](void*) { return Zu::ZuMemory::create(12); }, 1,
       12, 0, false},
      {"KaMemoryAPI_createZeroed",
       [](void*) { return KaMemoryAPI_createZeroed(13); }, 2, 13, 0, false},
      {"ZuMemory::createZeroed",
       [](void*) { return Zu::ZuMemory::createZeroed(14); }, 2, 14, 0, false},
      {"KaMemoryAPI_createAligned",
       [](void*) { return KaMemoryAPI_createAligned(15, 1ul << 40); }, 3, 15,
       1ul << 40, false},
      // The 32-bit alignment is widened with zeros, never sign-extended.
      {"ZuMemory::createAligned",
       [](void*) { return Zu::ZuMemory::createAligned(16, 0xFFFFFFF0u); }, 3,
       16, 0xFFFFFFF0ul, false},
      {"KaMemoryAPI_destroy",
       [](void* b) -> void* {
         KaMemoryAPI_destroy(b);
         return fakeBlock;
       },
       4, 0, 0, true},
      {"ZuMemory::destroy",
       [](void* b) -> void* {
         Zu::ZuMemory::destroy(b);
         return fakeBlock;
       },
       4, 0, 0, true},
      {"KaMemoryAPI_destroyAligned",
       [](void* b) -> void* {
         KaMemoryAPI_destroyAligned(b);
         return fakeBlock;
       },
       5, 0, 0, true},
      {"ZuMemory::destroyAligned",
       [](void* b) -> void* {
         Zu::ZuMemory::destroyAligned(b);
         return fakeBlock;
       },
       5, 0, 0, true},
      {"KaMemoryAPI_resize", [](void* b) { return KaMemoryAPI_resize(b, 17); },
       6, 17, 0, true},
      {"ZuMemory::resize", [](void* b) { return Zu::ZuMemory::resize(b, 18); },
       6, 18, 0, true},
  };
  for (const auto& row : rows) {
    lastCall = Call();
    EXPECT_EQ(row.call(block), fakeBlock) << row.name;
    EXPECT_EQ(lastCall.slot, row.slot) << row.name;
    EXPECT_EQ(lastCall.size, row.size) << row.name;
    EXPECT_EQ(lastCall.alignment, row.alignment) << row.name;
    EXPECT_EQ(lastCall.block, row.passesBlock ? block : nullptr) << row.name;
  }
}

TEST_F(AllocatorTable, CheckFunctionsReadZeroWithBlocksLive) {
  void* block = KaMemoryAPI_create(100);
  void* aligned = KaMemoryAPI_createAligned(100, 32);
  EXPECT_EQ(KaMemoryCheckGetAllocatedByteCount(), 0u);
  EXPECT_EQ(KaMemoryCheckGetAllocatedBlockCount(), 0u);
  EXPECT_EQ(KaMemoryCheckMemory(), 0);
  KaMemoryAPI_destroy(block);
  KaMemoryAPI_destroyAligned(aligned);
}

}  // namespace
