// SPDX-License-Identifier: Apache-2.0
// To be preloaded: lets an allocation fail. FAIL_ALLOCATION=N is the N-th from the start of main
// on, N+ that one and all behind it. 0 lets none fail and tells on standard error how many there
// were; FAIL_ALLOCATION_SHOW tells who called the one that fails. What the dynamic linker and
// constructors allocate before main is not counted, what forked children do is.
#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static bool counting, forEver, show;
static unsigned long failing, allocations;

static void showCallers(void) {
  static __thread bool inside;
  void* callers[32];
  if (inside) return;
  inside = true;
  backtrace_symbols_fd(callers, backtrace(callers, 32), STDERR_FILENO);
  inside = false;
}

static bool fails(void) {
  if (!counting) return false;
  const unsigned long number = __atomic_add_fetch(&allocations, 1, __ATOMIC_RELAXED);
  if (failing == 0 || (forEver ? number < failing : number != failing)) return false;
  if (show && number == failing) showCallers();
  errno = ENOMEM;
  return true;
}

void* malloc(size_t size) {
  return fails() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  return fails() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* old, size_t size) {
  return fails() ? NULL : __libc_realloc(old, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return fails() ? NULL : __libc_memalign(alignment, size);
}

void* memalign(size_t alignment, size_t size) {
  return aligned_alloc(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
  void* made = aligned_alloc(alignment, size);
  if (made == NULL) return ENOMEM;
  *memory = made;
  return 0;
}

typedef int (*Main)(int, char**, char**);
static Main programMain;

static int countedMain(int argc, char** argv, char** environment) {
  counting = true;
  const int status = programMain(argc, argv, environment);
  counting = false;
  if (failing == 0) dprintf(STDERR_FILENO, "%lu allocations\n", allocations);
  return status;
}

// Called by the program's entry point; the first place that knows main.
int __libc_start_main(Main main, int argc, char** argv, void (*init)(void), void (*fini)(void),
                      void (*linkerFini)(void), void* stackEnd) {
  typedef int (*Start)(Main, int, char**, void (*)(void), void (*)(void), void (*)(void), void*);
  void* next = dlsym(RTLD_NEXT, "__libc_start_main");
  Start start;
  memcpy(&start, &next, sizeof(start));
  const char* setting = getenv("FAIL_ALLOCATION");
  if (setting != NULL) {
    char* end;
    failing = strtoul(setting, &end, 10);
    forEver = *end == '+';
    show = getenv("FAIL_ALLOCATION_SHOW") != NULL;
    programMain = main;
    main = countedMain;
    void* caller;
    if (show) backtrace(&caller, 1);  // the first call of it allocates
  }
  return start(main, argc, argv, init, fini, linkerFini, stackEnd);
}
