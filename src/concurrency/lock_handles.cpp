#include <ZuPlatform/concurrency.h>
#include <pthread.h>

#include <cstdlib>

// The handles are pthread objects in malloc blocks; the opaque structs exist
// only so that each family has a type of its own.
namespace Zu {

struct ZuMutex {
  pthread_mutex_t mutex;
};
struct ZuThreadMutex {
  pthread_mutex_t mutex;
};
struct ZuConditionVariable {
  pthread_cond_t condition;
};

ZuMutex* ZuMutexCreate() {
  auto* handle = static_cast<ZuMutex*>(malloc(sizeof(ZuMutex)));
  if (handle == nullptr) return nullptr;
  pthread_mutex_init(&handle->mutex, nullptr);
  return handle;
}

void ZuMutexDestroy(ZuMutex* mutex) {
  if (mutex == nullptr) return;
  pthread_mutex_destroy(&mutex->mutex);
  free(mutex);
}

int ZuMutexLock(ZuMutex* mutex) { return pthread_mutex_lock(&mutex->mutex); }

int ZuMutexUnlock(ZuMutex* mutex) {
  return pthread_mutex_unlock(&mutex->mutex);
}

int ZuMutexTryLock(ZuMutex* mutex) {
  return pthread_mutex_trylock(&mutex->mutex);
}

ZuThreadMutex* ZuThreadMutexCreate() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  auto* handle = static_cast<ZuThreadMutex*>(malloc(sizeof(ZuThreadMutex)));
  if (handle != nullptr) pthread_mutex_init(&handle->mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return handle;
}

void ZuThreadMutexDestroy(ZuThreadMutex* mutex) {
  if (mutex == nullptr) return;
  pthread_mutex_destroy(&mutex->mutex);
  free(mutex);
}

int ZuThreadMutexLock(ZuThreadMutex* mutex) {
  return pthread_mutex_lock(&mutex->mutex);
}

int ZuThreadMutexUnlock(ZuThreadMutex* mutex) {
  return pthread_mutex_unlock(&mutex->mutex);
}

int ZuThreadMutexTryLock(ZuThreadMutex* mutex) {
  return pthread_mutex_trylock(&mutex->mutex);
}

ZuConditionVariable* ZuConditionVariableCreate() {
  auto* handle =
      static_cast<ZuConditionVariable*>(malloc(sizeof(ZuConditionVariable)));
  if (handle == nullptr) return nullptr;
  pthread_cond_init(&handle->condition, nullptr);
  return handle;
}

void ZuConditionVariableDestroy(ZuConditionVariable* condition) {
  if (condition == nullptr) return;
  pthread_cond_destroy(&condition->condition);
  free(condition);
}

int ZuConditionVariableWait(ZuConditionVariable* condition, ZuMutex* mutex) {
  return pthread_cond_wait(&condition->condition, &mutex->mutex);
}

int ZuConditionVariableSignal(ZuConditionVariable* condition) {
  return pthread_cond_signal(&condition->condition);
}

}  // namespace Zu
