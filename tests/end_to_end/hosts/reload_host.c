/*
 * A host program in C that twice loads the library at run time, uses it and unloads it.
 *
 *   reload_host LIBRARY ENDPOINT
 *
 * Prints "code N" for each listing. Keys are read from HOST_ACCESS_KEY and HOST_SECRET_KEY.
 */
#include <dlfcn.h>
#include <libvemlo.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef void (*GlobalFunction)(void);
typedef session *(*InitFunction)(const char *, const char *, const char *, const char *,
                                 const proxy_setting *);
typedef int (*ListFunction)(session *, char ***, int *);
typedef void (*CleanupFunction)(session *);
typedef void (*FreeFunction)(char **, int);

/* ISO C has no conversion from the result of dlsym() to a function pointer, so it is copied. */
static void find(void *library, const char *name, void *function) {
  void *symbol = dlsym(library, name);
  if (symbol == NULL) exit(1);
  memcpy(function, &symbol, sizeof symbol);
}

static int useOnce(const char *path, const char *endpoint) {
  void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  GlobalFunction globalInit, globalCleanup;
  InitFunction init;
  ListFunction list;
  CleanupFunction cleanup;
  FreeFunction freeBuckets;
  session *opened;
  char **buckets = NULL;
  int count = 0;
  int code;

  if (library == NULL) return 0;
  find(library, "libvemlo_global_init", &globalInit);
  find(library, "libvemlo_global_cleanup", &globalCleanup);
  find(library, "libvemlo_s3_init", &init);
  find(library, "s3_list_bucket", &list);
  find(library, "libvemlo_s3_cleanup", &cleanup);
  find(library, "free_buckets", &freeBuckets);

  globalInit();
  opened = init(endpoint, "", getenv("HOST_ACCESS_KEY"), getenv("HOST_SECRET_KEY"), NULL);
  code = list(opened, &buckets, &count);
  printf("code %d\n", code);
  freeBuckets(buckets, count);
  cleanup(opened);
  globalCleanup();
  return dlclose(library) == 0;
}

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  return useOnce(argv[1], argv[2]) && useOnce(argv[1], argv[2]) ? 0 : 1;
}
