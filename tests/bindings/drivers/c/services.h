/* The functions of the six services: one table for the drives, one for the object stores. */
#ifndef SERVICES_H
#define SERVICES_H

#include <libvemlo.h>
#include <stdint.h>

typedef struct drive_functions {
  session *(*open)(const proxy_setting *proxy);
  void (*close)(session *handle);
  int (*authorizeUrl)(session *handle, char **url);
  /* Null if the service has none. */
  int (*logoutUrl)(session *handle, char **url);
  int (*getToken)(session *handle, const char *code, char **accessToken, char **refreshToken);
  int (*setToken)(session *handle, const char *accessToken, const char *refreshToken);
  /* Null if the root folder is "/" without a request. */
  int (*root)(session *handle, directory **root);
  int (*list)(session *handle, const directory *parent, directory **children, int *count);
  int (*create)(session *handle, const directory *parent, const char *name, directory **created);
} drive_functions;

typedef struct store_functions {
  /* `arguments` are the endpoint, region and both keys, or the region, account and key. */
  session *(*open)(char *const *arguments, const proxy_setting *proxy);
  int argumentCount;
  void (*close)(session *handle);
  int (*buckets)(session *handle, char ***buckets, int *count);
  int (*createBucket)(session *handle, const char *bucket, int location);
  int (*list)(session *handle, const char *bucket, const char *prefix, directory **directories,
              int *count);
  int (*create)(session *handle, const char *bucket, const char *path);
} store_functions;

typedef struct service_entry {
  /* The name of the service in the lines. */
  const char *word;
  /* A vemlo_client_service. */
  int32_t number;
  /* One of the two is null. */
  const drive_functions *drive;
  const store_functions *store;
} service_entry;

/* Returns null if there is no such service. */
const service_entry *serviceCalled(const char *word);
const service_entry *serviceOfNumber(int32_t number);

#endif
