#include <ZuPlatform/concurrency.h>
#include <pthread.h>

#include <cstring>

namespace ZuPlatform {

// Always recursive: the stepper and the pool rely on an owner being able to
// lock again, and on a stranger's unlock being refused.
Mutex::Mutex() {
  memset(&mutex, 0, sizeof mutex);
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

Mutex::~Mutex() { pthread_mutex_destroy(&mutex); }

int Mutex::lock() { return pthread_mutex_lock(&mutex); }

int Mutex::unlock() { return pthread_mutex_unlock(&mutex); }

}  // namespace ZuPlatform
