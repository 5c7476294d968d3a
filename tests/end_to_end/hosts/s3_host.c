/*
 * A host program in C: makes one call in one S3 session and prints the result.
 *
 *   s3_host ENDPOINT REGION list
 *   s3_host ENDPOINT REGION create NAME LOCATION
 *
 * Prints "code N" and, after a listing, a line for each bucket. Keys and proxy are read from HOST_
 * variables. Exits with 1 if the library breaks a promise, with 2 on bad usage.
 */
#include <libvemlo.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kUntouchedCount = -77 };

static const char *variable(const char *name) {
  const char *value = getenv(name);
  return value == NULL ? "" : value;
}

static session *openSession(const char *endpoint, const char *region) {
  proxy_setting proxy;
  proxy.host = getenv("HOST_PROXY_HOST");
  proxy.port = (uint16_t)strtoul(variable("HOST_PROXY_PORT"), NULL, 10);
  proxy.username = getenv("HOST_PROXY_USER");
  proxy.password = getenv("HOST_PROXY_PASSWORD");
  return libvemlo_s3_init(endpoint, region, variable("HOST_ACCESS_KEY"),
                          variable("HOST_SECRET_KEY"), proxy.host == NULL ? NULL : &proxy);
}

static int list(session *opened) {
  char *untouched = NULL;
  char **buckets = &untouched;
  int count = kUntouchedCount;
  const int code = s3_list_bucket(opened, &buckets, &count);
  int i;

  printf("code %d\n", code);
  if (code != 0) return buckets == &untouched && count == kUntouchedCount ? 0 : 1;
  for (i = 0; i < count; ++i) printf("%s\n", buckets[i]);
  if (count == 0 && buckets != NULL) return 1;
  free_buckets(buckets, count);
  return 0;
}

static int create(session *opened, const char *name, const char *location) {
  const int code = s3_create_bucket(opened, name, (int)strtol(location, NULL, 10));
  printf("code %d\n", code);
  return 0;
}

int main(int argc, char **argv) {
  session *opened;
  int status = 2;

  if (argc < 4) return 2;
  verbose = (int)strtol(variable("HOST_VERBOSE"), NULL, 10);
  libvemlo_global_init();
  opened = openSession(argv[1], argv[2]);
  if (strcmp(argv[3], "list") == 0 && argc == 4) status = list(opened);
  if (strcmp(argv[3], "create") == 0 && argc == 6) status = create(opened, argv[4], argv[5]);
  libvemlo_s3_cleanup(opened);
  libvemlo_global_cleanup();
  return status;
}
