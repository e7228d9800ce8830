/* Core services of libqor_core.so: memory, locks, environment, numbered messages, exit and
   the processor test. libqor.so reaches the operating system only through these. */
#ifndef QOR_CORE_H_
#define QOR_CORE_H_

#include <stddef.h>

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* Returns `size` bytes aligned to `alignment` (a power of two; smaller than a pointer counts
   as a pointer), or NULL when the request cannot be met. */
QOR_API void* qor_serv_allocate(size_t size, int alignment);
/* Gives back memory of qor_serv_allocate; NULL is allowed. */
QOR_API void qor_serv_deallocate(void* memory);

/* Copies `count` bytes. Returns 0, or 22 (EINVAL) for a null pointer and 34 (ERANGE) when
   `count` exceeds `dest_size`; on such an error a non-null `dest` is cleared over `dest_size`. */
QOR_API int qor_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count);

/* A lock word starts as 0. The lock spins on the word, yielding the processor while it waits. */
QOR_API void qor_serv_lock(int* lock_word);
QOR_API void qor_serv_unlock(int* lock_word);

/* Copies the value of the variable `name` into `buffer` (NUL-terminated) and returns its
   length; returns 0 when the variable is absent. A value that does not fit in `size` bytes is
   not copied: the buffer holds the empty string and the needed length is returned. */
QOR_API int qor_serv_getenv(const char* name, char* buffer, int size);

/* Prints message `number` on stderr (`unit` 1) or stdout (`unit` 0) with its `count`
   arguments, as the message's text expects them. Returns the number of characters written, or
   -1 for an unknown message or an argument count the text does not take. */
QOR_API int qor_serv_print(int unit, int number, int count, ...);

/* Ends the process with `code`. */
QOR_API void qor_serv_exit(int code);

/* 1 when the processor has the vector AES instructions of the Ice Lake class (AVX-512F and
   VAES, with the operating system saving the AVX-512 state), else 0. */
QOR_API int qor_serv_cpuisicx(void);

QOR_EXTERN_C_END

#endif /* QOR_CORE_H_ */
