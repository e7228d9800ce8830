// Spin locks on a caller's int word: 0 free, 1 held.
#include <sched.h>

#include "qor/core.h"

extern "C" {

QOR_API void qor_serv_lock(int* lock_word) {
  for (;;) {
    if (__atomic_exchange_n(lock_word, 1, __ATOMIC_ACQUIRE) == 0) return;
    // Wait on plain loads so that the word's cache line is not written while it is held.
    while (__atomic_load_n(lock_word, __ATOMIC_RELAXED) != 0) sched_yield();
  }
}

QOR_API void qor_serv_unlock(int* lock_word) { __atomic_store_n(lock_word, 0, __ATOMIC_RELEASE); }

}  // extern "C"
