#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/memory.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "memory/aligned_layout.h"

namespace Zu {
namespace detail {

// One true division: the alignment need not be a power of two. For an
// alignment of 4 or more one step up is enough to make room for the pad
// word; smaller ones take as many steps as it needs, which keeps the word
// inside the size + alignment + 4 bytes all the same (pad ends up at most
// alignment + 3 in every case).
unsigned long alignedPad(uintptr_t address, unsigned long alignment) {
  const unsigned long step = alignment == 0 ? 1 : alignment;
  const unsigned long remainder = address % step;
  unsigned long pad = remainder == 0 ? 0 : step - remainder;
  while (pad < sizeof(uint32_t)) pad += step;
  return pad;
}

}  // namespace detail

namespace {

void* MallocCreate(unsigned long size) { return malloc(size); }

void* MallocCreateZeroed(unsigned long size) { return calloc(1, size); }

// The pad can reach alignment + 3, and it has to fit its 32-bit word.
constexpr unsigned long MAX_ALIGNMENT = UINT32_MAX - 3;

// An aligned block lives inside a larger malloc block: a gap, the pad word
// holding the gap's length plus 4, then the caller's bytes. The pad word is
// what lets MallocDestroyAligned find the malloc block again.
void* MallocCreateAligned(unsigned long size, unsigned long alignment) {
  // A layout whose pad could outgrow its word, or whose total would wrap past
  // 64 bits, cannot be served: null, as for an exhausted heap, before
  // anything is allocated or logged.
  if (alignment > MAX_ALIGNMENT) return nullptr;
  const unsigned long overhead = alignment + sizeof(uint32_t);
  if (size > ULONG_MAX - overhead) return nullptr;
  unsigned char* block = static_cast<unsigned char*>(malloc(size + overhead));
  if (block == nullptr) return nullptr;
  if (alignment % sizeof(uint32_t) != 0 || alignment == 0) {
    // A handler that throws must not cost the caller the block.
    try {
      LogDebug(
          "MallocCreateAligned: Alignment must be a multiple of "
          "sizeof(unsigned int).\n");
    } catch (...) {
      free(block);
      throw;
    }
  }
  const unsigned long pad =
      detail::alignedPad(reinterpret_cast<uintptr_t>(block), alignment);
  const uint32_t padWord = static_cast<uint32_t>(pad);
  memcpy(block + pad - sizeof padWord, &padWord, sizeof padWord);
  return block + pad;
}

void MallocDestroy(void* block) { free(block); }

void MallocDestroyAligned(void* block) {
  if (block == nullptr) return;
  unsigned char* start = static_cast<unsigned char*>(block);
  uint32_t padWord;
  memcpy(&padWord, start - sizeof padWord, sizeof padWord);
  free(start - padWord);
}

// Size 0 is no request to free: the block stays the caller's.
void* MallocResize(void* block, unsigned long size) {
  if (size == 0) return nullptr;
  return realloc(block, size);
}

}  // namespace
}  // namespace Zu

extern "C" {

KaMemoryAPITable KaMemoryAPI = {
    Zu::MallocCreate,  Zu::MallocCreateZeroed,   Zu::MallocCreateAligned,
    Zu::MallocDestroy, Zu::MallocDestroyAligned, Zu::MallocResize,
};

// Each entry point is a tail call through its slot. The table is read through
// the global offset table like any exported variable: an executable may have
// taken a copy of KaMemoryAPI at load, and its stores land in that copy.
void* KaMemoryAPI_create(unsigned long size) {
  return KaMemoryAPI.create(size);
}

void* KaMemoryAPI_createZeroed(unsigned long size) {
  return KaMemoryAPI.createZeroed(size);
}

void* KaMemoryAPI_createAligned(unsigned long size, unsigned long alignment) {
  return KaMemoryAPI.createAligned(size, alignment);
}

void KaMemoryAPI_destroy(void* block) { KaMemoryAPI.destroy(block); }

void KaMemoryAPI_destroyAligned(void* block) {
  KaMemoryAPI.destroyAligned(block);
}

void* KaMemoryAPI_resize(void* block, unsigned long size) {
  return KaMemoryAPI.resize(block, size);
}

unsigned long KaMemoryCheckGetAllocatedByteCount(void) { return 0; }

unsigned long KaMemoryCheckGetAllocatedBlockCount(void) { return 0; }

int KaMemoryCheckMemory(void) { return 0; }

}  // extern "C"

namespace Zu {

void* ZuMemory::create(unsigned long size) { return KaMemoryAPI.create(size); }

void* ZuMemory::createZeroed(unsigned long size) {
  return KaMemoryAPI.createZeroed(size);
}

void* ZuMemory::createAligned(unsigned long size, unsigned int alignment) {
  return KaMemoryAPI.createAligned(size, alignment);
}

void ZuMemory::destroy(void* block) { KaMemoryAPI.destroy(block); }

void ZuMemory::destroyAligned(void* block) {
  KaMemoryAPI.destroyAligned(block);
}

void* ZuMemory::resize(void* block, unsigned long size) {
  return KaMemoryAPI.resize(block, size);
}

}  // namespace Zu
