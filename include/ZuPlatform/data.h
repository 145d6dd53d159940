// Data utilities: the three MurmurHash3 variants, CRC-32 and conversions
// between byte strings and wide strings.
//
// All of them are pure functions of their arguments (the conversions also of
// the current LC_CTYPE locale, which this library never sets): no state, no
// lock, no message, safe on any number of threads at once.
#ifndef ZUPLATFORM_DATA_H
#define ZUPLATFORM_DATA_H

#include <string>

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

// The MurmurHash3 functions carry plain C names, as C callers and dlsym expect.
// Each hashes len bytes at key (any alignment; not read when len is 0, so key
// may then be null) from seed, and writes the result to out in native byte
// order. len must not be negative. The two 128-bit variants are different
// hashes: one works in 32-bit lanes, the other in 64-bit lanes.
extern "C" {

// 32-bit hash over 4-byte blocks; writes 4 bytes to out.
ZUPLATFORM_API void MurmurHash3_x86_32(const void* key, int len,
                                       unsigned int seed, void* out);

// 128-bit hash over four 32-bit lanes; writes h1..h4, 16 bytes, to out.
ZUPLATFORM_API void MurmurHash3_x86_128(const void* key, int len,
                                        unsigned int seed, void* out);

// 128-bit hash over two 64-bit lanes, seed widened with zeros; writes h1, h2,
// 16 bytes, to out.
ZUPLATFORM_API void MurmurHash3_x64_128(const void* key, int len,
                                        unsigned int seed, void* out);

}  // extern "C"

namespace Zu {

// The standard CRC-32 (reflected, polynomial 0xEDB88320) of length bytes at
// data, continued from seed: seed 0 starts afresh, and passing a result back as
// the seed of the next call continues it, so pieces give the CRC of the whole.
// length 0 returns seed unchanged without reading data (which may be null).
// length must not be negative. Only the 32 bits of seed and result count.
ZUPLATFORM_API unsigned int calculateCRC32(const void* data, int length,
                                           int seed);

}  // namespace Zu

namespace ZuPlatform {

// Conversions by the multibyte encoding of the current LC_CTYPE locale. Both
// stop at the first 0 element of the argument. A sequence that the locale
// cannot convert yields the empty string: no partial result, no report.
namespace StringConversions {

// The wide string of text, one element per character decoded; empty if text
// holds a byte sequence that is invalid in the locale.
ZUPLATFORM_API std::wstring stringToWString(const std::string& text);

// The multibyte text of text, at most text.size() bytes long: it ends before
// the first character that no longer fits into that many bytes. Empty if the
// conversion meets a character that the locale cannot express.
ZUPLATFORM_API std::string wStringToString(const std::wstring& text);

}  // namespace StringConversions
}  // namespace ZuPlatform

#endif  // ZUPLATFORM_DATA_H
