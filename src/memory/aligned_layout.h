// Where an aligned block starts inside its malloc block. Private to the
// library; a header of its own so the arithmetic can be checked at addresses
// that malloc would never hand out.
#ifndef ZUPLATFORM_SRC_MEMORY_ALIGNED_LAYOUT_H
#define ZUPLATFORM_SRC_MEMORY_ALIGNED_LAYOUT_H

#include <cstdint>

namespace Zu {
namespace detail {

// The distance from address to the aligned block: a multiple of alignment
// away from the next aligned address, and at least 4 so that the 32-bit pad
// word fits below the block. alignment 0 counts as 1.
unsigned long alignedPad(uintptr_t address, unsigned long alignment);

}  // namespace detail
}  // namespace Zu

#endif  // ZUPLATFORM_SRC_MEMORY_ALIGNED_LAYOUT_H
