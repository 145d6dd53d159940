// Memory: one writable table of allocator functions and two families of entry
// points that go through it.
//
// Every entry point reads its slot of KaMemoryAPI at each call and jumps to
// what stands there, so a function stored into a slot serves the very next
// call of either family. The table starts out on malloc, calloc, realloc and
// free, plus aligned blocks that keep a 32-bit pad word just below the pointer
// handed out. Replace slots before any block exists and before other threads
// allocate: the table has no lock. A block goes back to the family of slots
// that made it: createAligned blocks to destroyAligned only, all others to
// destroy (and resize).
#ifndef ZUPLATFORM_MEMORY_H
#define ZUPLATFORM_MEMORY_H

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

extern "C" {

// The six allocator slots, in this order. Sizes and alignments are in bytes.
struct KaMemoryAPITable {
  // A new block of size bytes, or null.
  void* (*create)(unsigned long size);
  // A new block of size zero bytes, or null.
  void* (*createZeroed)(unsigned long size);
  // A new block of size bytes at a multiple of alignment, or null.
  void* (*createAligned)(unsigned long size, unsigned long alignment);
  // Releases a block of create, createZeroed or resize; null does nothing.
  void (*destroy)(void* block);
  // Releases a block of createAligned; null does nothing.
  void (*destroyAligned)(void* block);
  // The block grown or shrunk to size, perhaps moved; null on failure, with
  // block left as it was.
  void* (*resize)(void* block, unsigned long size);
};

// The process's allocator table. Store into a slot to replace an allocator;
// read it first to keep the previous one.
//
// The defaults: create is malloc, createZeroed is calloc(1, size), destroy is
// free. resize is realloc, except that size 0 returns null and leaves block
// allocated. createAligned takes size + alignment + 4 bytes from malloc and
// returns the first multiple of alignment at least 4 bytes into them, with the
// pad word below it; any alignment works, not only powers of two. An alignment
// that is not a multiple of 4 is still honoured but logged through
// Zu::LogDebug; so are 1 to 3 (the pad grows by whole alignments until the
// pad word fits) and 0 (served as 1). A block that cannot be laid out gives
// null, as an exhausted heap does, with nothing allocated or logged: an
// alignment above 0xFFFFFFFC, whose pad (up to alignment + 3) would not fit
// the 32-bit pad word, or a size for which size + alignment + 4 passes 64
// bits.
extern ZUPLATFORM_API KaMemoryAPITable KaMemoryAPI;

// The flat entry points: each passes its arguments to its slot of KaMemoryAPI
// and returns what the slot returns.
ZUPLATFORM_API void* KaMemoryAPI_create(unsigned long size);
ZUPLATFORM_API void* KaMemoryAPI_createZeroed(unsigned long size);
ZUPLATFORM_API void* KaMemoryAPI_createAligned(unsigned long size,
                                               unsigned long alignment);
ZUPLATFORM_API void KaMemoryAPI_destroy(void* block);
ZUPLATFORM_API void KaMemoryAPI_destroyAligned(void* block);
ZUPLATFORM_API void* KaMemoryAPI_resize(void* block, unsigned long size);

// Kept for callers of the checking interface. Nothing is counted or examined:
// each returns 0 at every call, whatever is allocated.
ZUPLATFORM_API unsigned long KaMemoryCheckGetAllocatedByteCount(void);
ZUPLATFORM_API unsigned long KaMemoryCheckGetAllocatedBlockCount(void);
ZUPLATFORM_API int KaMemoryCheckMemory(void);

}  // extern "C"

namespace Zu {

// The same six entry points in a scope: each passes its arguments to its slot
// of KaMemoryAPI and returns what the slot returns.
class ZUPLATFORM_API ZuMemory {
 public:
  ZuMemory() = delete;

  static void* create(unsigned long size);
  static void* createZeroed(unsigned long size);
  // alignment is widened with zeros to the slot's 64 bits; under the default
  // slot 0xFFFFFFFD and above give null.
  static void* createAligned(unsigned long size, unsigned int alignment);
  static void destroy(void* block);
  static void destroyAligned(void* block);
  static void* resize(void* block, unsigned long size);
};

}  // namespace Zu

#endif  // ZUPLATFORM_MEMORY_H
