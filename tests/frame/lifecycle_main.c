/* Per-thread records over a whole library lifetime: threads that use libqor.so and end, and
   one that outlives the library's unload. Run under valgrind, nothing may leak and nothing may
   touch freed memory. Usage: frame_lifecycle <path of libqor.so> */
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>

typedef unsigned (*SetModeFn)(unsigned);
typedef int (*StatusFn)(int);
typedef void (*AddFn)(int, const double*, const double*, double*);

static SetModeFn set_mode;
static StatusFn set_status;
static AddFn add;

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static int outliver_used_library = 0;
static int library_closed = 0;

/* Uses the library and reports 1 when a result or the thread's own state is wrong. */
static int UseLibrary(unsigned id) {
  double a[9], b[9], r[9];
  int wrong = 0;
  set_mode(0x100 | (id % 3 + 1));
  for (int i = 0; i < 9; ++i) a[i] = i, b[i] = id;
  add(9, a, b, r);
  for (int i = 0; i < 9; ++i) wrong |= r[i] != a[i] + b[i];
  set_status((int)id);
  wrong |= set_status(0) != (int)id;
  wrong |= set_mode(0) != (0x100 | (id % 3 + 1));
  return wrong;
}

static void* Worker(void* arg) { return (void*)(long)UseLibrary((unsigned)(long)arg); }

static void* Outliver(void* arg) {
  long wrong = UseLibrary((unsigned)(long)arg);
  pthread_mutex_lock(&lock);
  outliver_used_library = 1;
  pthread_cond_broadcast(&changed);
  while (!library_closed) pthread_cond_wait(&changed, &lock);
  pthread_mutex_unlock(&lock);
  return (void*)wrong;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  set_mode = (SetModeFn)dlsym(library, "_temSetMode");
  set_status = (StatusFn)dlsym(library, "_temSetErrStatus");
  add = (AddFn)dlsym(library, "_temdAdd");
  if (!set_mode || !set_status || !add) return 2;

  long wrong = UseLibrary(99);
  void* result;
  pthread_t worker, outliver;
  pthread_create(&worker, NULL, Worker, (void*)7);
  pthread_join(worker, &result);
  wrong |= (long)result;

  pthread_create(&outliver, NULL, Outliver, (void*)42);
  pthread_mutex_lock(&lock);
  while (!outliver_used_library) pthread_cond_wait(&changed, &lock);
  pthread_mutex_unlock(&lock);
  /* Unload while the outliver's record is live: the heap takes it along, and the thread's end
     later finds no key to run. */
  dlclose(library);
  pthread_mutex_lock(&lock);
  library_closed = 1;
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&lock);
  pthread_join(outliver, &result);
  wrong |= (long)result;
  if (wrong) fprintf(stderr, "a thread saw wrong results or state\n");
  return wrong ? 1 : 0;
}
