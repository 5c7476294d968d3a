/* Preloaded into the programs of the tests: records the requests of those that use the library, in
 * a file of their own in the folder RECORDINGS_FOLDER. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

__attribute__((constructor)) static void begin(void) {
  char path[4096];
  struct timespec now;
  int (*start_recording)(const char *) = NULL;
  const char *folder = getenv("RECORDINGS_FOLDER");
  void *symbol = dlsym(RTLD_DEFAULT, "vemlo_client_start_recording");
  if (folder == NULL || symbol == NULL) return;

  *(void **)&start_recording = symbol;
  clock_gettime(CLOCK_REALTIME, &now);
  snprintf(path, sizeof path, "%s/%s.%d.%lld%09ld.har", folder, program_invocation_short_name,
           (int)getpid(), (long long)now.tv_sec, now.tv_nsec);
  if (start_recording(path) != 0) abort();
}
