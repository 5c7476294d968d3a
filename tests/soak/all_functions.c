/*
 * A host that calls each function of the library, for tools that watch a process.
 *
 *   all_functions PORT
 *
 * PORT is that of an HTTP proxy on this machine, behind which there are all services. The sessions
 * are opened, authorized, used by several threads at a time, and closed. Prints what has failed,
 * and the number of functions. Exits with 1 if any call failed or any function was not called.
 */
#include <libvemlo.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kThreads = 4, kRounds = 3, kFunctions = 57, kMaxFunctions = 100 };

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static const char *called[kMaxFunctions];
static int functions = 0;
static int failures = 0;

/* Records a call of `function` and whether it did what it should. */
static void note(const char *function, int isDone) {
  int i;
  pthread_mutex_lock(&lock);
  for (i = 0; i < functions && strcmp(called[i], function) != 0; ++i) {
  }
  if (i == functions) called[functions++] = function;
  if (!isDone) {
    fprintf(stderr, "%s failed\n", function);
    ++failures;
  }
  pthread_mutex_unlock(&lock);
}

typedef struct Service {
  const char *initName;
  session *(*init)(const proxy_setting *);
  const char *cleanupName;
  void (*cleanup)(session *);
  int (*authorize)(session *);
  void (*use)(session *);
} Service;

/* -------------------------------------------------------------------------- object stores --- */

static void freeFolders(int code, directory *list, int count) {
  if (code == 0 && count > 0) free_diretories(list, count);
  if (code == 0 && count == 0) free(list);
}

static void freeBuckets(int code, char **list, int count) {
  if (code == 0 && count > 0) free_buckets(list, count);
  if (code == 0 && count == 0) free(list);
}

static session *openS3(const proxy_setting *proxy) {
  return libvemlo_s3_init("https://store.example.test", "", "access key", "secret key", proxy);
}

static session *openAzure(const proxy_setting *proxy) {
  return libvemlo_azure_ssb_init("", "vemloacct", "c2VjcmV0", proxy);
}

static void useS3(session *opened) {
  char **buckets = NULL;
  directory *folders = NULL;
  int count = 0;
  int code = s3_list_bucket(opened, &buckets, &count);
  note("s3_list_bucket", code == 0 && count > 0);
  freeBuckets(code, buckets, count);
  note("free_buckets", 1);
  note("s3_create_bucket", s3_create_bucket(opened, "new-box", 16) == 0);
  code = s3_list_directory(opened, "box", "parent/", &folders, &count);
  note("s3_list_directory", code == 0);
  freeFolders(code, folders, count);
  note("s3_create_directory", s3_create_directory(opened, "box", "parent/new/") == 0);
}

static void useAzure(session *opened) {
  char **buckets = NULL;
  directory *folders = NULL;
  int count = 0;
  int code = azure_ssb_list_bucket(opened, &buckets, &count);
  note("azure_ssb_list_bucket", code == 0 && count > 0);
  freeBuckets(code, buckets, count);
  note("azure_ssb_create_bucket", azure_ssb_create_bucket(opened, "new-box") == 0);
  code = azure_ssb_list_directory(opened, "box", "parent/", &folders, &count);
  note("azure_ssb_list_directory", code == 0);
  freeFolders(code, folders, count);
  note("azure_ssb_create_directory", azure_ssb_create_directory(opened, "box", "parent/new/") == 0);
}

/* --------------------------------------------------------------------------------- drives --- */

/* The name of a folder that no other thread creates. */
static void newName(char *name, size_t size) {
  static int last = 0;
  pthread_mutex_lock(&lock);
  snprintf(name, size, "new-%d", ++last);
  pthread_mutex_unlock(&lock);
}

typedef int (*GetUrl)(session *, char **);
typedef int (*GetToken)(session *, const char *, char **, char **);
typedef int (*SetToken)(session *, const char *, const char *);
typedef int (*GetRoot)(session *, directory **);
typedef int (*List)(session *, const directory *, directory **, int *);
typedef int (*Create)(session *, const directory *, const char *, directory **);

static void getUrl(const char *name, GetUrl function, session *opened) {
  char *url = NULL;
  note(name, function(opened, &url) == 0 && url != NULL);
  free(url);
}

static int authorize(session *opened, const char *getName, GetToken get, const char *setName,
                     SetToken set) {
  char *access = NULL;
  char *refresh = NULL;
  const int code = get(opened, "code", &access, &refresh);
  note(getName, code == 0 && access != NULL);
  if (code == 0) note(setName, set(opened, access, refresh == NULL ? "" : refresh) == 0);
  free(access);
  free(refresh);
  return code;
}

static void getRoot(const char *name, GetRoot function, session *opened) {
  directory *root = NULL;
  note(name, function(opened, &root) == 0 && root != NULL);
  free_directory(root);
  note("free_directory", 1);
}

static void listAndCreate(session *opened, char *parentId, const char *listName, List list,
                          const char *createName, Create create) {
  directory parent;
  directory *folders = NULL;
  directory *created = NULL;
  int count = 0;
  char name[32];
  int code;
  parent.name = NULL;
  parent.id = parentId;
  newName(name, sizeof name);
  note(createName, create(opened, &parent, name, &created) == 0 && created != NULL);
  free_directory(created);
  code = list(opened, &parent, &folders, &count);
  note(listName, code == 0 && count > 0);
  freeFolders(code, folders, count);
  note("free_diretories", 1);
}

static int authorizeAmazon(session *opened) {
  getUrl("amazon_drive_get_authorize_url", amazon_drive_get_authorize_url, opened);
  return authorize(opened, "amazon_drive_get_token", amazon_drive_get_token,
                   "amazon_drive_set_token", amazon_drive_set_token);
}

static void useAmazon(session *opened) {
  char id[] = "parent-1";
  note("amazon_drive_get_endpoint", amazon_drive_get_endpoint(opened) == 0);
  note("amazon_drive_test_api", amazon_drive_test_api(opened) == 0);
  getRoot("amazon_drive_get_root_directory", amazon_drive_get_root_directory, opened);
  listAndCreate(opened, id, "amazon_drive_list_directory", amazon_drive_list_directory,
                "amazon_drive_create_directory", amazon_drive_create_directory);
}

static int authorizeGoogle(session *opened) {
  getUrl("google_drive_get_authorize_url", google_drive_get_authorize_url, opened);
  return authorize(opened, "google_drive_get_token", google_drive_get_token,
                   "google_drive_set_token", google_drive_set_token);
}

static void useGoogle(session *opened) {
  char id[] = "parent-1";
  getRoot("google_drive_get_root_directory", google_drive_get_root_directory, opened);
  listAndCreate(opened, id, "google_drive_list_directory", google_drive_list_directory,
                "google_drive_create_directory", google_drive_create_directory);
}

static int authorizeOneDrive(session *opened) {
  getUrl("one_drive_get_authorize_url", one_drive_get_authorize_url, opened);
  getUrl("one_drive_get_logout_url", one_drive_get_logout_url, opened);
  return authorize(opened, "one_drive_get_token", one_drive_get_token, "one_drive_set_token",
                   one_drive_set_token);
}

static void useOneDrive(session *opened) {
  char id[] = "parent-1";
  getRoot("one_drive_get_root_directory", one_drive_get_root_directory, opened);
  listAndCreate(opened, id, "one_drive_list_directory", one_drive_list_directory,
                "one_drive_create_directory", one_drive_create_directory);
}

static int getDropboxToken(session *opened, const char *code, char **access, char **refresh) {
  *refresh = NULL;
  return dropbox_get_token(opened, code, access);
}

static int setDropboxToken(session *opened, const char *access, const char *refresh) {
  (void)refresh;
  return dropbox_set_token(opened, access);
}

static int authorizeDropbox(session *opened) {
  getUrl("dropbox_get_authorize_url", dropbox_get_authorize_url, opened);
  return authorize(opened, "dropbox_get_token", getDropboxToken, "dropbox_set_token",
                   setDropboxToken);
}

static void useDropbox(session *opened) {
  char id[] = "/parent";
  listAndCreate(opened, id, "dropbox_list_directory", dropbox_list_directory,
                "dropbox_create_directory", dropbox_create_directory);
}

/* ---------------------------------------------------------------------------- all of them --- */

static const Service kServices[] = {
    {"libvemlo_s3_init", openS3, "libvemlo_s3_cleanup", libvemlo_s3_cleanup, NULL, useS3},
    {"libvemlo_azure_ssb_init", openAzure, "libvemlo_azure_ssb_cleanup", libvemlo_azure_ssb_cleanup,
     NULL, useAzure},
    {"libvemlo_amazon_drive_init", libvemlo_amazon_drive_init, "libvemlo_amazon_drive_cleanup",
     libvemlo_amazon_drive_cleanup, authorizeAmazon, useAmazon},
    {"libvemlo_google_drive_init", libvemlo_google_drive_init, "libvemlo_google_drive_cleanup",
     libvemlo_google_drive_cleanup, authorizeGoogle, useGoogle},
    {"libvemlo_one_drive_init", libvemlo_one_drive_init, "libvemlo_one_drive_cleanup",
     libvemlo_one_drive_cleanup, authorizeOneDrive, useOneDrive},
    {"libvemlo_dropbox_init", libvemlo_dropbox_init, "libvemlo_dropbox_cleanup",
     libvemlo_dropbox_cleanup, authorizeDropbox, useDropbox}};

typedef struct Use {
  const Service *service;
  session *opened;
} Use;

static void *useRepeatedly(void *argument) {
  const Use *use = argument;
  int round;
  for (round = 0; round < kRounds; ++round) use->service->use(use->opened);
  return NULL;
}

static void run(const Service *service, const proxy_setting *proxy) {
  pthread_t threads[kThreads];
  Use use;
  int i;
  use.service = service;
  use.opened = service->init(proxy);
  note(service->initName, use.opened != NULL);
  if (use.opened == NULL) return;
  if (service->authorize == NULL || service->authorize(use.opened) == 0) {
    for (i = 0; i < kThreads; ++i) pthread_create(&threads[i], NULL, useRepeatedly, &use);
    for (i = 0; i < kThreads; ++i) pthread_join(threads[i], NULL);
  }
  service->cleanup(use.opened);
  note(service->cleanupName, 1);
}

static void useStrings(void) {
  char *cipher = encrypt_string("a secret");
  char *plain = cipher == NULL ? NULL : decrypt_string(cipher);
  note("encrypt_string", cipher != NULL);
  note("decrypt_string", plain != NULL && strcmp(plain, "a secret") == 0);
  free(cipher);
  free(plain);
}

static void useTables(void) {
  note("s3_get_location_contraint_name_mappings",
       s3_get_location_contraint_name_mappings() != NULL);
  note("s3_cn_get_location_contraint_name_mappings",
       s3_cn_get_location_contraint_name_mappings() != NULL);
  note("wasabi_get_location_contraint_name_mappings",
       wasabi_get_location_contraint_name_mappings() != NULL);
  note("customized_get_location_contraint_name_mappings",
       customized_get_location_contraint_name_mappings() != NULL);
}

int main(int argc, char **argv) {
  proxy_setting proxy;
  size_t i;
  if (argc != 2) {
    fprintf(stderr, "usage: all_functions PORT\n");
    return 2;
  }
  memset(&proxy, 0, sizeof proxy);
  proxy.host = "127.0.0.1";
  proxy.port = (uint16_t)atoi(argv[1]);

  libvemlo_global_init();
  note("libvemlo_global_init", 1);
  useStrings();
  useTables();
  for (i = 0; i < sizeof kServices / sizeof kServices[0]; ++i) run(&kServices[i], &proxy);
  libvemlo_global_cleanup();
  note("libvemlo_global_cleanup", 1);
  printf("%d functions, %d failures\n", functions, failures);
  return failures == 0 && functions == kFunctions ? 0 : 1;
}
