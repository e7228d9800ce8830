/* Per-thread records over a whole library lifetime: a thread that uses libqor.so and ends, and
   one that outlives the library's unload. Run under valgrind, nothing may leak and nothing may
   touch freed memory. Usage: frame_lifecycle <path of libqor.so> */
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdio.h>

static unsigned (*set_mode)(unsigned);
static int (*set_status)(int);
static void (*add)(int, const double*, const double*, double*);
static sem_t outliver_used_library, library_closed;

/* Uses the library and returns 1 when a result or the thread's own state is wrong. */
static void* UseLibrary(void* arg) {
  const long id = (long)arg;
  double a[9], b[9], r[9];
  long wrong = 0;
  set_mode(0x100 | (id % 3 + 1));
  for (int i = 0; i < 9; ++i) a[i] = i, b[i] = id;
  add(9, a, b, r);
  for (int i = 0; i < 9; ++i) wrong |= r[i] != a[i] + b[i];
  set_status((int)id);
  wrong |= set_status(0) != (int)id;
  wrong |= set_mode(0) != (0x100 | (id % 3 + 1));
  return (void*)wrong;
}

static void* Outliver(void* arg) {
  void* wrong = UseLibrary(arg);
  sem_post(&outliver_used_library);
  sem_wait(&library_closed);
  return wrong;
}

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return 2;
  *(void**)&set_mode = dlsym(library, "_temSetMode");
  *(void**)&set_status = dlsym(library, "_temSetErrStatus");
  *(void**)&add = dlsym(library, "_temdAdd");
  if (!set_mode || !set_status || !add) return 2;
  sem_init(&outliver_used_library, 0, 0);
  sem_init(&library_closed, 0, 0);

  long wrong = (long)UseLibrary((void*)99);
  void *worker_wrong, *outliver_wrong;
  pthread_t worker, outliver;
  pthread_create(&worker, NULL, UseLibrary, (void*)7);
  pthread_join(worker, &worker_wrong);
  pthread_create(&outliver, NULL, Outliver, (void*)42);
  sem_wait(&outliver_used_library);
  /* Unload while the outliver's record is live: the heap takes it along, and the thread's end
     later finds no key to run. */
  dlclose(library);
  sem_post(&library_closed);
  pthread_join(outliver, &outliver_wrong);
  wrong |= (long)worker_wrong | (long)outliver_wrong;
  if (wrong) fprintf(stderr, "a thread saw wrong results or state\n");
  return wrong ? 1 : 0;
}
