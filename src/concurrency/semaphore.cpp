#include <ZuPlatform/concurrency.h>
#include <semaphore.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ZuPlatform {

// A cache line of its own: pool units are often made side by side, and two
// threads posting neighbouring semaphores must not fight over one line.
struct alignas(64) Semaphore::Block {
  sem_t semaphore;
  bool initialised;
};

namespace {

void writeError(const char* text) { fwrite(text, 1, strlen(text), stderr); }

}  // namespace

Semaphore::Semaphore() : Semaphore(0u) {}

// Value-initialised, so the sem_t is zero-filled before sem_init sees it.
Semaphore::Semaphore(unsigned int count) : semaphore(new Block()) {
  semaphore->initialised = sem_init(&semaphore->semaphore, 0, count) == 0;
  if (!semaphore->initialised) writeError("Semaphore: sem_init failed\n");
}

Semaphore::~Semaphore() {
  if (semaphore->initialised) sem_destroy(&semaphore->semaphore);
  delete semaphore;
}

// A dead semaphore reports each use instead of handing an uninitialised sem_t
// to the platform, and never blocks.
void Semaphore::acquire() {
  if (!semaphore->initialised) {
    writeError("Semaphore::acquire(): sem_wait failed\n");
    return;
  }
  while (sem_wait(&semaphore->semaphore) != 0) {
    if (errno == EINTR) continue;  // a signal never ends the wait
    writeError("Semaphore::acquire(): sem_wait failed\n");
    return;
  }
}

bool Semaphore::tryAcquire() {
  return semaphore->initialised && sem_trywait(&semaphore->semaphore) == 0;
}

void Semaphore::release() {
  if (!semaphore->initialised || sem_post(&semaphore->semaphore) != 0)
    writeError("Semaphore::release(): sem_post failed\n");
}

}  // namespace ZuPlatform
