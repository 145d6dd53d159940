#include <ZuPlatform/memory.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

namespace {

// Every test leaves the table as it found it.
class AllocatorTable : public testing::Test {
 protected:
  void SetUp() override { saved = KaMemoryAPI; }
  void TearDown() override { KaMemoryAPI = saved; }
  KaMemoryAPITable saved;
};

// Allocates many blocks at each alignment, so that malloc hands out addresses
// at many remainders, and checks each: aligned as asked, the pad word below
// it at least 4 and the smallest such pad, and the caller's bytes inside the
// malloc block (the sanitizer sees every byte written). Alignments that are
// no multiple of 4 are logged once per block, and still served.
TEST_F(AllocatorTable, AlignedBlocksKeepTheirLayout) {
  const std::string message =
      "DEBUG: MallocCreateAligned: Alignment must be a multiple of "
      "sizeof(unsigned int).\n";
  const struct {
    unsigned long alignment;
    bool logged;
  } rows[] = {{4, false},  {8, false},   {16, false},   {64, false},
              {12, false}, {100, false}, {4096, false}, {6, true},
              {10, true},  {0, true},    {1, true},     {2, true},
              {3, true}};
  for (const auto& row : rows) {
    const unsigned long step = row.alignment ? row.alignment : 1;
    std::string want;
    testing::internal::CaptureStderr();
    for (unsigned long size : {0ul, 1ul, 37ul, 256ul}) {
      std::vector<void*> blocks;
      for (int i = 0; i < 32; ++i) {
        if (row.logged) want += message;
        void* block = KaMemoryAPI_createAligned(size, row.alignment);
        ASSERT_NE(block, nullptr);
        uint32_t pad;
        memcpy(&pad, static_cast<char*>(block) - 4, sizeof pad);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % step, 0u)
            << "alignment " << row.alignment;
        EXPECT_GE(pad, 4u) << "alignment " << row.alignment;
        EXPECT_LT(pad, step + 4) << "alignment " << row.alignment;
        memset(block, 0xA5, size);
        blocks.push_back(block);
      }
      for (void* block : blocks) KaMemoryAPI_destroyAligned(block);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), want)
        << "alignment " << row.alignment;
  }
  KaMemoryAPI_destroyAligned(nullptr);
  Zu::ZuMemory::destroy(nullptr);
}

// Size 0 is no request to free: the block stays the caller's.
TEST_F(AllocatorTable, ResizeToZeroKeepsTheBlock) {
  char* block = static_cast<char*>(KaMemoryAPI_create(16));
  memcpy(block, "fifteen chars..", 16);
  EXPECT_EQ(KaMemoryAPI_resize(block, 0), nullptr);
  EXPECT_EQ(Zu::ZuMemory::resize(nullptr, 0), nullptr);
  char* grown = static_cast<char*>(Zu::ZuMemory::resize(block, 4096));
  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(grown, "fifteen chars..");
  KaMemoryAPI_destroy(grown);
}

// Fakes that record what reached the table.
struct Call {
  int slot;
  unsigned long size, alignment;
  void* block;
};
Call lastCall;
char fakeBlock[1];
void* returned;

void* record(Call call) {
  lastCall = call;
  return fakeBlock;
}
void* fakeCreate(unsigned long size) { return record({1, size, 0, nullptr}); }
void* fakeCreateZeroed(unsigned long size) {
  return record({2, size, 0, nullptr});
}
void* fakeCreateAligned(unsigned long size, unsigned long alignment) {
  return record({3, size, alignment, nullptr});
}
void fakeDestroy(void* block) { record({4, 0, 0, block}); }
void fakeDestroyAligned(void* block) { record({5, 0, 0, block}); }
void* fakeResize(void* block, unsigned long size) {
  return record({6, size, 0, block});
}

// A store into a slot holds from the very next call of either family, and
// what the slot returns comes back to the caller.
TEST_F(AllocatorTable, ReplacedSlotsServeBothFamilies) {
  KaMemoryAPI = {fakeCreate,  fakeCreateZeroed,   fakeCreateAligned,
                 fakeDestroy, fakeDestroyAligned, fakeResize};
  static char block[1];
  const struct {
    void (*call)();
    Call want;
  } rows[] = {
      {[] { returned = KaMemoryAPI_create(11); }, {1, 11, 0, nullptr}},
      {[] { returned = Zu::ZuMemory::create(12); }, {1, 12, 0, nullptr}},
      {[] { returned = KaMemoryAPI_createZeroed(13); }, {2, 13, 0, nullptr}},
      {[] { returned = Zu::ZuMemory::createZeroed(14); }, {2, 14, 0, nullptr}},
      {[] { returned = KaMemoryAPI_createAligned(15, 1ul << 40); },
       {3, 15, 1ul << 40, nullptr}},
      // The 32-bit alignment is widened with zeros, never sign-extended.
      {[] { returned = Zu::ZuMemory::createAligned(16, 0xFFFFFFF0u); },
       {3, 16, 0xFFFFFFF0ul, nullptr}},
      {[] { KaMemoryAPI_destroy(block); }, {4, 0, 0, block}},
      {[] { Zu::ZuMemory::destroy(block); }, {4, 0, 0, block}},
      {[] { KaMemoryAPI_destroyAligned(block); }, {5, 0, 0, block}},
      {[] { Zu::ZuMemory::destroyAligned(block); }, {5, 0, 0, block}},
      {[] { returned = KaMemoryAPI_resize(block, 17); }, {6, 17, 0, block}},
      {[] { returned = Zu::ZuMemory::resize(block, 18); }, {6, 18, 0, block}},
  };
  auto fields = [](const Call& call) {
    return std::make_tuple(call.slot, call.size, call.alignment, call.block);
  };
  // Odd rows call the Zu::ZuMemory family.
  for (size_t i = 0; i < std::size(rows); ++i) {
    const auto& row = rows[i];
    lastCall = Call();
    returned = nullptr;
    row.call();
    EXPECT_EQ(fields(lastCall), fields(row.want)) << "row " << i;
    const bool destroys = row.want.slot == 4 || row.want.slot == 5;
    EXPECT_EQ(returned, destroys ? nullptr : fakeBlock) << "row " << i;
  }
}

}  // namespace
