// CRC-32 and MurmurHash3 next to the loops they should match: an ideal
// single-table CRC byte loop and a plain transcription of each hash, both
// compiled into this program, plus zlib's crc32 as an outside peer. Compare
// the bytes_per_second of rows with the same size.
#include <ZuPlatform/data.h>
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

const std::vector<uint8_t>& input() {
  static const std::vector<uint8_t> bytes = [] {
    std::vector<uint8_t> data((1 << 20) + 16);
    std::mt19937 random(1);
    for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
    return data;
  }();
  return bytes;
}

// --- CRC-32 -----------------------------------------------------------------

std::array<uint32_t, 256> makeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit)
      value = (value & 1) ? (value >> 1) ^ 0xEDB88320u : value >> 1;
    table[i] = value;
  }
  return table;
}

const std::array<uint32_t, 256> IDEAL_TABLE = makeTable();

uint32_t idealCrc32(uint32_t seed, const uint8_t* data, size_t length) {
  uint32_t crc = ~seed;
  for (size_t i = 0; i < length; ++i)
    crc = (crc >> 8) ^ IDEAL_TABLE[(crc ^ data[i]) & 0xFF];
  return ~crc;
}

void crcOurs(benchmark::State& state) {
  const int length = static_cast<int>(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(Zu::calculateCRC32(input().data(), length, 0));
  state.SetBytesProcessed(state.iterations() * length);
}

void crcIdeal(benchmark::State& state) {
  const size_t length = state.range(0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(input().data());
    benchmark::DoNotOptimize(idealCrc32(0, input().data(), length));
  }
  state.SetBytesProcessed(state.iterations() * length);
}

void crcZlib(benchmark::State& state) {
  const uInt length = static_cast<uInt>(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(crc32(0, input().data(), length));
  state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK(crcOurs)->Arg(64)->Arg(4 << 10)->Arg(1 << 20);
BENCHMARK(crcIdeal)->Arg(64)->Arg(4 << 10)->Arg(1 << 20);
BENCHMARK(crcZlib)->Arg(64)->Arg(4 << 10)->Arg(1 << 20);

// --- MurmurHash3 ------------------------------------------------------------

// A plain transcription of the three hashes: blocks read through casts as the
// algorithm's description reads them (x86-64 allows the unaligned loads), the
// tail by the usual fall-through switch. Kept out of line, as the library's
// functions are to their callers.
uint32_t rotl32(uint32_t x, int r) { return (x << r) | (x >> (32 - r)); }
uint64_t rotl64(uint64_t x, int r) { return (x << r) | (x >> (64 - r)); }
uint32_t fmix32(uint32_t h) {
  h ^= h >> 16;
  h *= 0x85ebca6b;
  h ^= h >> 13;
  h *= 0xc2b2ae35;
  h ^= h >> 16;
  return h;
}
uint64_t fmix64(uint64_t k) {
  k ^= k >> 33;
  k *= 0xff51afd7ed558ccdull;
  k ^= k >> 33;
  k *= 0xc4ceb9fe1a85ec53ull;
  k ^= k >> 33;
  return k;
}
uint32_t block32(const uint8_t* p, int i) {
  uint32_t v;
  memcpy(&v, p + 4 * i, 4);
  return v;
}
uint64_t block64(const uint8_t* p, int i) {
  uint64_t v;
  memcpy(&v, p + 8 * i, 8);
  return v;
}

__attribute__((noinline)) void modelX86_32(const void* key, int len,
                                           uint32_t seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int nblocks = len / 4;
  uint32_t h1 = seed;
  const uint32_t c1 = 0xcc9e2d51, c2 = 0x1b873593;
  for (int i = 0; i < nblocks; i++) {
    uint32_t k1 = block32(data, i);
    k1 *= c1;
    k1 = rotl32(k1, 15);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl32(h1, 13);
    h1 = h1 * 5 + 0xe6546b64;
  }
  const uint8_t* tail = data + nblocks * 4;
  uint32_t k1 = 0;
  switch (len & 3) {
    case 3:
      k1 ^= tail[2] << 16;
      [[fallthrough]];
    case 2:
      k1 ^= tail[1] << 8;
      [[fallthrough]];
    case 1:
      k1 ^= tail[0];
      k1 *= c1;
      k1 = rotl32(k1, 15);
      k1 *= c2;
      h1 ^= k1;
  }
  h1 ^= len;
  h1 = fmix32(h1);
  memcpy(out, &h1, 4);
}

__attribute__((noinline)) void modelX86_128(const void* key, int len,
                                            uint32_t seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int nblocks = len / 16;
  uint32_t h1 = seed, h2 = seed, h3 = seed, h4 = seed;
  const uint32_t c1 = 0x239b961b, c2 = 0xab0e9789, c3 = 0x38b34ae5,
                 c4 = 0xa1e38b93;
  for (int i = 0; i < nblocks; i++) {
    uint32_t k1 = block32(data, i * 4 + 0), k2 = block32(data, i * 4 + 1);
    uint32_t k3 = block32(data, i * 4 + 2), k4 = block32(data, i * 4 + 3);
    k1 *= c1;
    k1 = rotl32(k1, 15);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl32(h1, 19);
    h1 += h2;
    h1 = h1 * 5 + 0x561ccd1b;
    k2 *= c2;
    k2 = rotl32(k2, 16);
    k2 *= c3;
    h2 ^= k2;
    h2 = rotl32(h2, 17);
    h2 += h3;
    h2 = h2 * 5 + 0x0bcaa747;
    k3 *= c3;
    k3 = rotl32(k3, 17);
    k3 *= c4;
    h3 ^= k3;
    h3 = rotl32(h3, 15);
    h3 += h4;
    h3 = h3 * 5 + 0x96cd1c35;
    k4 *= c4;
    k4 = rotl32(k4, 18);
    k4 *= c1;
    h4 ^= k4;
    h4 = rotl32(h4, 13);
    h4 += h1;
    h4 = h4 * 5 + 0x32ac3b17;
  }
  const uint8_t* tail = data + nblocks * 16;
  uint32_t k1 = 0, k2 = 0, k3 = 0, k4 = 0;
  switch (len & 15) {
    case 15:
      k4 ^= tail[14] << 16;
      [[fallthrough]];
    case 14:
      k4 ^= tail[13] << 8;
      [[fallthrough]];
    case 13:
      k4 ^= tail[12] << 0;
      k4 *= c4;
      k4 = rotl32(k4, 18);
      k4 *= c1;
      h4 ^= k4;
      [[fallthrough]];
    case 12:
      k3 ^= uint32_t(tail[11]) << 24;
      [[fallthrough]];
    case 11:
      k3 ^= tail[10] << 16;
      [[fallthrough]];
    case 10:
      k3 ^= tail[9] << 8;
      [[fallthrough]];
    case 9:
      k3 ^= tail[8] << 0;
      k3 *= c3;
      k3 = rotl32(k3, 17);
      k3 *= c4;
      h3 ^= k3;
      [[fallthrough]];
    case 8:
      k2 ^= uint32_t(tail[7]) << 24;
      [[fallthrough]];
    case 7:
      k2 ^= tail[6] << 16;
      [[fallthrough]];
    case 6:
      k2 ^= tail[5] << 8;
      [[fallthrough]];
    case 5:
      k2 ^= tail[4] << 0;
      k2 *= c2;
      k2 = rotl32(k2, 16);
      k2 *= c3;
      h2 ^= k2;
      [[fallthrough]];
    case 4:
      k1 ^= uint32_t(tail[3]) << 24;
      [[fallthrough]];
    case 3:
      k1 ^= tail[2] << 16;
      [[fallthrough]];
    case 2:
      k1 ^= tail[1] << 8;
      [[fallthrough]];
    case 1:
      k1 ^= tail[0] << 0;
      k1 *= c1;
      k1 = rotl32(k1, 15);
      k1 *= c2;
      h1 ^= k1;
  }
  h1 ^= len;
  h2 ^= len;
  h3 ^= len;
  h4 ^= len;
  h1 += h2;
  h1 += h3;
  h1 += h4;
  h2 += h1;
  h3 += h1;
  h4 += h1;
  h1 = fmix32(h1);
  h2 = fmix32(h2);
  h3 = fmix32(h3);
  h4 = fmix32(h4);
  h1 += h2;
  h1 += h3;
  h1 += h4;
  h2 += h1;
  h3 += h1;
  h4 += h1;
  const uint32_t result[4] = {h1, h2, h3, h4};
  memcpy(out, result, 16);
}

__attribute__((noinline)) void modelX64_128(const void* key, int len,
                                            uint32_t seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int nblocks = len / 16;
  uint64_t h1 = seed, h2 = seed;
  const uint64_t c1 = 0x87c37b91114253d5ull, c2 = 0x4cf5ad432745937full;
  for (int i = 0; i < nblocks; i++) {
    uint64_t k1 = block64(data, i * 2 + 0), k2 = block64(data, i * 2 + 1);
    k1 *= c1;
    k1 = rotl64(k1, 31);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl64(h1, 27);
    h1 += h2;
    h1 = h1 * 5 + 0x52dce729;
    k2 *= c2;
    k2 = rotl64(k2, 33);
    k2 *= c1;
    h2 ^= k2;
    h2 = rotl64(h2, 31);
    h2 += h1;
    h2 = h2 * 5 + 0x38495ab5;
  }
  const uint8_t* tail = data + nblocks * 16;
  uint64_t k1 = 0, k2 = 0;
  switch (len & 15) {
    case 15:
      k2 ^= uint64_t(tail[14]) << 48;
      [[fallthrough]];
    case 14:
      k2 ^= uint64_t(tail[13]) << 40;
      [[fallthrough]];
    case 13:
      k2 ^= uint64_t(tail[12]) << 32;
      [[fallthrough]];
    case 12:
      k2 ^= uint64_t(tail[11]) << 24;
      [[fallthrough]];
    case 11:
      k2 ^= uint64_t(tail[10]) << 16;
      [[fallthrough]];
    case 10:
      k2 ^= uint64_t(tail[9]) << 8;
      [[fallthrough]];
    case 9:
      k2 ^= uint64_t(tail[8]) << 0;
      k2 *= c2;
      k2 = rotl64(k2, 33);
      k2 *= c1;
      h2 ^= k2;
      [[fallthrough]];
    case 8:
      k1 ^= uint64_t(tail[7]) << 56;
      [[fallthrough]];
    case 7:
      k1 ^= uint64_t(tail[6]) << 48;
      [[fallthrough]];
    case 6:
      k1 ^= uint64_t(tail[5]) << 40;
      [[fallthrough]];
    case 5:
      k1 ^= uint64_t(tail[4]) << 32;
      [[fallthrough]];
    case 4:
      k1 ^= uint64_t(tail[3]) << 24;
      [[fallthrough]];
    case 3:
      k1 ^= uint64_t(tail[2]) << 16;
      [[fallthrough]];
    case 2:
      k1 ^= uint64_t(tail[1]) << 8;
      [[fallthrough]];
    case 1:
      k1 ^= uint64_t(tail[0]) << 0;
      k1 *= c1;
      k1 = rotl64(k1, 31);
      k1 *= c2;
      h1 ^= k1;
  }
  h1 ^= len;
  h2 ^= len;
  h1 += h2;
  h2 += h1;
  h1 = fmix64(h1);
  h2 = fmix64(h2);
  h1 += h2;
  h2 += h1;
  const uint64_t result[2] = {h1, h2};
  memcpy(out, result, 16);
}

using Hash = void (*)(const void*, int, unsigned int, void*);

// Both sides are reached through a pointer the compiler cannot see through,
// as a call into the shared library goes through its PLT slot.
template <Hash target>
void hashBench(benchmark::State& state) {
  const int length = static_cast<int>(state.range(0));
  alignas(16) uint8_t out[16];
  Hash hash = target;
  benchmark::DoNotOptimize(hash);
  for (auto _ : state) {
    benchmark::DoNotOptimize(input().data());
    hash(input().data(), length, 42, out);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(state.iterations() * length);
}

void hashX86_32Ours(benchmark::State& s) { hashBench<MurmurHash3_x86_32>(s); }
void hashX86_32Model(benchmark::State& s) { hashBench<modelX86_32>(s); }
void hashX86_128Ours(benchmark::State& s) { hashBench<MurmurHash3_x86_128>(s); }
void hashX86_128Model(benchmark::State& s) { hashBench<modelX86_128>(s); }
void hashX64_128Ours(benchmark::State& s) { hashBench<MurmurHash3_x64_128>(s); }
void hashX64_128Model(benchmark::State& s) { hashBench<modelX64_128>(s); }

#define ZU_HASH_SIZES ->Arg(16)->Arg(256)->Arg(4 << 10)->Arg(1 << 20)
BENCHMARK(hashX86_32Ours) ZU_HASH_SIZES;
BENCHMARK(hashX86_32Model) ZU_HASH_SIZES;
BENCHMARK(hashX86_128Ours) ZU_HASH_SIZES;
BENCHMARK(hashX86_128Model) ZU_HASH_SIZES;
BENCHMARK(hashX64_128Ours) ZU_HASH_SIZES;
BENCHMARK(hashX64_128Model) ZU_HASH_SIZES;

// The transcription must compute the same hashes, or the comparison means
// nothing: checked once before the timings.
bool modelsAgree() {
  const Hash pairs[3][2] = {{MurmurHash3_x86_32, modelX86_32},
                            {MurmurHash3_x86_128, modelX86_128},
                            {MurmurHash3_x64_128, modelX64_128}};
  for (const auto& pair : pairs) {
    for (int len = 0; len < 300; ++len) {
      uint8_t ours[16] = {}, model[16] = {};
      pair[0](input().data() + 1, len, 7, ours);
      pair[1](input().data() + 1, len, 7, model);
      if (memcmp(ours, model, 16) != 0) return false;
    }
  }
  for (int len = 0; len < 300; ++len)
    if (Zu::calculateCRC32(input().data(), len, 0) !=
        idealCrc32(0, input().data(), len))
      return false;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (!modelsAgree()) {
    fprintf(stderr, "model and library disagree\n");
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
