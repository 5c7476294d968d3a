/*
 * A host that unloads the library and loads it again. The argument is the file of the library.
 *
 * The library keeps itself in memory, since the logger underneath cannot be started twice in one
 * process; this shows that a host may unload and load it nevertheless.
 */
#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "libvemlo.h"

struct functions {
  void (*global_init)(void);
  void (*global_cleanup)(void);
  session *(*s3_init)(const char *, const char *, const char *, const char *,
                      const proxy_setting *);
  void (*s3_cleanup)(session *);
  int (*s3_list_bucket)(session *, char ***, int *);
  location_contraint_name_mapping *(*locations)(void);
};

/* ISO C has no conversion from an object pointer to a function pointer. */
static int look_up(void *library, const char *name, void *function, size_t size) {
  void *symbol = dlsym(library, name);
  if (symbol == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 0;
  }
  memcpy(function, &symbol, size);
  return 1;
}

#define LOOK_UP(library, name, function) look_up(library, name, &(function), sizeof(function))

static int look_up_all(void *library, struct functions *f) {
  return LOOK_UP(library, "libvemlo_global_init", f->global_init) &&
         LOOK_UP(library, "libvemlo_global_cleanup", f->global_cleanup) &&
         LOOK_UP(library, "libvemlo_s3_init", f->s3_init) &&
         LOOK_UP(library, "libvemlo_s3_cleanup", f->s3_cleanup) &&
         LOOK_UP(library, "s3_list_bucket", f->s3_list_bucket) &&
         LOOK_UP(library, "s3_get_location_contraint_name_mappings", f->locations);
}

/* Binds a port without a listener, for as long as the returned socket is open. */
static int take_silent_port(char *endpoint, size_t size) {
  struct sockaddr_in address;
  socklen_t length = sizeof(address);
  int taken = socket(AF_INET, SOCK_STREAM, 0);
  memset(&address, 0, sizeof(address));
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(taken, (struct sockaddr *)&address, sizeof(address)) != 0 ||
      getsockname(taken, (struct sockaddr *)&address, &length) != 0) {
    perror("a port on the loopback interface");
    close(taken);
    return -1;
  }
  snprintf(endpoint, size, "http://127.0.0.1:%d", ntohs(address.sin_port));
  return taken;
}

static int is_still_loaded(const char *path) {
  void *library = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
  return library != NULL && dlclose(library) == 0;
}

static int use(const char *path, const char *endpoint) {
  struct functions f;
  char **buckets = NULL;
  int count = 4711;
  int result;
  session *handle;
  void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);

  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 0;
  }
  if (!look_up_all(library, &f)) return 0;

  f.global_init();
  handle = f.s3_init(endpoint, "us-east-1", "access", "secret", NULL);
  result = f.s3_list_bucket(handle, &buckets, &count);
  f.s3_cleanup(handle);
  f.global_cleanup();
  if (result <= 0 || buckets != NULL || count != 4711) {
    fprintf(stderr, "listing returned %d, count %d\n", result, count);
    return 0;
  }
  if (strcmp(f.locations()->name, "US Standard") != 0) return 0;
  return dlclose(library) == 0 && is_still_loaded(path);
}

int main(int argc, char **argv) {
  char endpoint[64];
  int port;
  int round;
  if (argc != 2) return 2;
  port = take_silent_port(endpoint, sizeof(endpoint));
  if (port < 0) return 1;

  for (round = 1; round <= 3; ++round) {
    if (!use(argv[1], endpoint)) {
      fprintf(stderr, "failed in round %d\n", round);
      close(port);
      return 1;
    }
  }
  close(port);
  puts("three rounds done");
  return 0;
}
