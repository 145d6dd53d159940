// The process's one counter of unique names, shared by createUniqueName and
// the temporary-file operations. Private to the library; white-box tests set
// it to reach the end of the numbers.
#ifndef ZU_SRC_FILESYSTEM_UNIQUE_NAME_H
#define ZU_SRC_FILESYSTEM_UNIQUE_NAME_H

#include <atomic>
#include <cstdint>

namespace ZuPlatform {
namespace Filesystem {

// The last number handed out; 0 before the first. Never passes
// LAST_UNIQUE_NUMBER.
extern std::atomic<uint32_t> uniqueNameCounter;

constexpr uint32_t LAST_UNIQUE_NUMBER = 4294967295u;

}  // namespace Filesystem
}  // namespace ZuPlatform

#endif  // ZU_SRC_FILESYSTEM_UNIQUE_NAME_H
