/* Per-thread records over a whole library lifetime: a thread that uses libqor.so and ends, and
   one that outlives the library's unload. Under valgrind nothing may leak or touch freed memory.
   Usage: frame_lifecycle <path of libqor.so> */
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>

static unsigned (*set_mode)(unsigned);
static void (*add)(int, const double*, const double*, double*);
static sem_t outliver_used_library, library_closed;

/* Makes the calling thread's record: a mode of its own and one vector call. */
static void* UseLibrary(void* arg) {
  double a[9] = {0}, r[9];
  set_mode(0x100 | ((long)arg % 3 + 1));
  add(9, a, a, r);
  return NULL;
}

static void* Outliver(void* arg) {
  UseLibrary(arg);
  sem_post(&outliver_used_library);
  sem_wait(&library_closed);
  return NULL;
}

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return 2;
  *(void**)&set_mode = dlsym(library, "_temSetMode");
  *(void**)&add = dlsym(library, "_temdAdd");
  if (!set_mode || !add) return 2;
  sem_init(&outliver_used_library, 0, 0);
  sem_init(&library_closed, 0, 0);
  UseLibrary((void*)99);
  pthread_t worker, outliver;
  pthread_create(&worker, NULL, UseLibrary, (void*)7);
  pthread_join(worker, NULL);
  pthread_create(&outliver, NULL, Outliver, (void*)42);
  sem_wait(&outliver_used_library);
  /* Unload while the outliver's record is live: the heap takes it along, and the thread's end
     later finds no key to run. */
  dlclose(library);
  sem_post(&library_closed);
  pthread_join(outliver, NULL);
  return 0;
}
