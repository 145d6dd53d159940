#include <ZuPlatform/concurrency.h>
#include <ZuPlatform/diagnostics.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ZuPlatform {

// Declared in this order so that the record's destruction takes the mutex
// first, then the bytes, then the key.
class SharedMemoryBase::Impl {
 public:
  std::string key;
  std::vector<std::uint8_t> bytes;
  Mutex mutex;
};

SharedMemoryBase::SharedMemoryBase() : impl(new Impl()) {}

SharedMemoryBase::~SharedMemoryBase() {
  close();
  delete impl;
}

bool SharedMemoryBase::open(const std::string& key, unsigned long size) {
  if (isOpen()) {
    Zu::LogWarn("SharedMemory::open: called while already open");
    return false;
  }
  impl->key = key;
  impl->bytes.resize(size);
  return true;
}

// Keeps the storage: an open that fits reuses it, and resize zeroes every
// byte it brings back below the new size.
void SharedMemoryBase::close() {
  impl->key.clear();
  impl->bytes.clear();
}

bool SharedMemoryBase::isOpen() const { return !impl->key.empty(); }

unsigned char* SharedMemoryBase::data() { return impl->bytes.data(); }

const unsigned char* SharedMemoryBase::data() const {
  return impl->bytes.data();
}

const std::string& SharedMemoryBase::key() const { return impl->key; }

unsigned long SharedMemoryBase::size() const { return impl->bytes.size(); }

int SharedMemoryBase::lock() { return impl->mutex.lock(); }

int SharedMemoryBase::unlock() { return impl->mutex.unlock(); }

}  // namespace ZuPlatform
