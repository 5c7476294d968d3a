/*
 * A host program in C: links an account of one of the four drives and makes a folder.
 *
 *   drive_host SERVICE url          prints the authorization address
 *   drive_host SERVICE make NAME    reads the authorization code from standard input, makes a
 *                                   folder in the root folder and lists the root folder
 *
 * SERVICE is google_drive, one_drive, dropbox or amazon_drive. "make" prints "code N", where N is
 * the result of the first call that failed or of the last one, and then a line for each folder.
 * Proxy and verbosity are read from HOST_ variables. Exits with 1 if the library breaks a promise,
 * with 2 on bad usage.
 */
#include <libvemlo.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kServices = 4, kLongestCode = 4096 };

typedef struct Service {
  const char *name;
  session *(*init)(const proxy_setting *);
  void (*cleanup)(session *);
  int (*getAuthorizeUrl)(session *, char **);
  int (*getToken)(session *, const char *, char **, char **);
  int (*getRoot)(session *, directory **);
  int (*list)(session *, const directory *, directory **, int *);
  int (*create)(session *, const directory *, const char *, directory **);
} Service;

/* For Dropbox the library returns no refresh token. */
static int getDropboxToken(session *opened, const char *code, char **access, char **refresh) {
  *refresh = NULL;
  return dropbox_get_token(opened, code, access);
}

/* The root of Dropbox has a fixed id, so that no call is needed. */
static int getDropboxRoot(session *opened, directory **root) {
  (void)opened;
  *root = calloc(1, sizeof **root);
  (*root)->id = calloc(2, 1);
  (*root)->id[0] = '/';
  return 0;
}

static const Service kTable[kServices] = {
    {"google_drive", libvemlo_google_drive_init, libvemlo_google_drive_cleanup,
     google_drive_get_authorize_url, google_drive_get_token, google_drive_get_root_directory,
     google_drive_list_directory, google_drive_create_directory},
    {"one_drive", libvemlo_one_drive_init, libvemlo_one_drive_cleanup, one_drive_get_authorize_url,
     one_drive_get_token, one_drive_get_root_directory, one_drive_list_directory,
     one_drive_create_directory},
    {"dropbox", libvemlo_dropbox_init, libvemlo_dropbox_cleanup, dropbox_get_authorize_url,
     getDropboxToken, getDropboxRoot, dropbox_list_directory, dropbox_create_directory},
    {"amazon_drive", libvemlo_amazon_drive_init, libvemlo_amazon_drive_cleanup,
     amazon_drive_get_authorize_url, amazon_drive_get_token, amazon_drive_get_root_directory,
     amazon_drive_list_directory, amazon_drive_create_directory}};

static const Service *find(const char *name) {
  int i;
  for (i = 0; i < kServices; ++i) {
    if (strcmp(kTable[i].name, name) == 0) return &kTable[i];
  }
  return NULL;
}

static int printUrl(const Service *service, session *opened) {
  char *url = NULL;
  if (service->getAuthorizeUrl(opened, &url) != 0) return 1;
  puts(url);
  free(url);
  return 0;
}

static int authorize(const Service *service, session *opened) {
  char code[kLongestCode];
  char *access = NULL;
  char *refresh = NULL;
  int result;

  if (fgets(code, sizeof code, stdin) == NULL) return -1;
  code[strcspn(code, "\n")] = '\0';
  result = service->getToken(opened, code, &access, &refresh);
  free(access);
  free(refresh);
  return result;
}

static int make(const Service *service, session *opened, const char *name) {
  directory *root = NULL;
  directory *created = NULL;
  directory *children = NULL;
  int count = 0;
  int i;
  int code = authorize(service, opened);

  if (code == 0) code = service->getRoot(opened, &root);
  if (code == 0) code = service->create(opened, root, name, &created);
  if (code == 0) code = service->list(opened, root, &children, &count);
  printf("code %d\n", code);
  for (i = 0; i < count; ++i) puts(children[i].name);
  if (code != 0 && (children != NULL || count != 0)) return 1;
  if (code == 0 && strcmp(created->name, name) != 0) return 1;
  free_directory(root);
  free_directory(created);
  free_diretories(children, count);
  return 0;
}

int main(int argc, char **argv) {
  const Service *service = argc < 3 ? NULL : find(argv[1]);
  const char *proxyPort = getenv("HOST_PROXY_PORT");
  const char *verbosity = getenv("HOST_VERBOSE");
  proxy_setting proxy = {NULL, 0, NULL, NULL};
  session *opened;
  int status = 2;

  if (service == NULL) return 2;
  if (verbosity != NULL) verbose = (int)strtol(verbosity, NULL, 10);
  proxy.host = getenv("HOST_PROXY_HOST");
  if (proxyPort != NULL) proxy.port = (uint16_t)strtoul(proxyPort, NULL, 10);
  libvemlo_global_init();
  opened = service->init(&proxy);
  if (strcmp(argv[2], "url") == 0 && argc == 3) status = printUrl(service, opened);
  if (strcmp(argv[2], "make") == 0 && argc == 4) status = make(service, opened, argv[3]);
  service->cleanup(opened);
  libvemlo_global_cleanup();
  return status;
}
