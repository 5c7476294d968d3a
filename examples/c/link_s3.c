/*
 * A host that links an S3 account and lets its user pick the folder that transfers will use.
 *
 *   S3_ACCESS_KEY=... S3_SECRET_KEY=... link_s3 ENDPOINT
 *
 * Ends with 0 and a line "Chosen: BUCKET/FOLDER/", with 1 if nothing was chosen, with 2 on bad
 * usage.
 */
#define _POSIX_C_SOURCE 200809L

#include <libvemlo.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "console.h"

/* What to tell the user about a result code; docs/error-codes.md has them all. */
static const char *adviceFor(int code) {
  switch (code) {
    case -1:
      return "That is a fault of this program.";
    case 2:
    case 3:
    case 9:
    case 26:
    case 27:
      return "Try again later.";
    case 4:
      return "The server cannot be trusted. Ask who runs it.";
    case 11:
    case 12:
    case 13:
      return "Check the keys.";
    case 14:
      return "Set this computer's clock.";
    case 15:
      return "Ask the account's administrator for access.";
    default:
      return "The log says more.";
  }
}

static void complain(const char *what, int code) {
  printf("Cannot %s (code %d). %s\n", what, code, adviceFor(code));
}

/* A heap copy of the name that the user picked; null if there is none. */
static char *chooseBucket(session *account) {
  char **buckets = NULL;
  char *chosen = NULL;
  char *answer;
  int count = 0;
  int i;
  const int code = s3_list_bucket(account, &buckets, &count);

  if (code != 0) {
    complain("list the buckets", code);
    return NULL;
  }
  for (i = 0; i < count; ++i) printf("%d  %s\n", i + 1, buckets[i]);
  answer = readLine("Bucket number: ");
  i = answer == NULL ? -1 : indexOf(answer, count);
  if (i >= 0) chosen = strdup(buckets[i]);
  free(answer);
  free_buckets(buckets, count);
  return chosen;
}

/* A heap text that holds `folder`, `name` and a slash: the full key of a folder. */
static char *keyOf(const char *folder, const char *name) {
  const size_t size = strlen(folder) + strlen(name) + 2;
  char *key = malloc(size);
  snprintf(key, size, "%s%s/", folder, name);
  return key;
}

static void makeFolder(session *account, const char *bucket, const char *folder, const char *name) {
  char *key = keyOf(folder, name);
  const int code = s3_create_directory(account, bucket, key);
  if (code != 0) complain("make the folder", code);
  free(key);
}

/* Shows what is in `folder` and asks what to do. Returns the folder to go on with, which takes the
 * place of `folder`; sets `*done` when the user has chosen it. Null if there is nothing to go on
 * with. */
static char *takeStep(session *account, const char *bucket, char *folder, int *done) {
  directory *children = NULL;
  char *answer;
  char *next = folder;
  int count = 0;
  int i;
  const int code = s3_list_directory(account, bucket, folder, &children, &count);

  if (code != 0) {
    complain("list the folders", code);
    free(folder);
    return NULL;
  }
  for (i = 0; i < count; ++i) printf("%d  %s\n", i + 1, children[i].name);
  answer = readLine("Folder number, + and a name for a new one, or . for this one: ");
  *done = answer != NULL && strcmp(answer, ".") == 0;
  i = answer == NULL ? -1 : indexOf(answer, count);
  if (i >= 0) next = strdup(children[i].name);
  if (answer != NULL && answer[0] == '+') makeFolder(account, bucket, folder, answer + 1);
  if (answer == NULL) next = NULL;
  if (next != folder) free(folder);
  free(answer);
  free_diretories(children, count);
  return next;
}

static char *chooseFolder(session *account, const char *bucket) {
  char *folder = strdup("");
  int done = 0;
  while (folder != NULL && !done) folder = takeStep(account, bucket, folder, &done);
  return folder;
}

int main(int argc, char **argv) {
  const char *accessKey = getenv("S3_ACCESS_KEY");
  const char *secretKey = getenv("S3_SECRET_KEY");
  session *account;
  char *bucket;
  char *folder = NULL;

  if (argc != 2 || accessKey == NULL || secretKey == NULL) {
    fputs("usage: S3_ACCESS_KEY=... S3_SECRET_KEY=... link_s3 ENDPOINT\n", stderr);
    return 2;
  }
  libvemlo_global_init();
  account = libvemlo_s3_init(argv[1], "", accessKey, secretKey, NULL);
  bucket = chooseBucket(account);
  if (bucket != NULL) folder = chooseFolder(account, bucket);
  if (folder != NULL) printf("Chosen: %s/%s\n", bucket, folder);
  libvemlo_s3_cleanup(account);
  libvemlo_global_cleanup();

  free(bucket);
  if (folder == NULL) return 1;
  free(folder);
  return 0;
}
