/*
 * A host that links an S3 account and lets its user pick the folder for transfers.
 *
 *   S3_ACCESS_KEY=... S3_SECRET_KEY=... link_s3 ENDPOINT
 *
 * Exit codes: 0 after a line "Chosen: BUCKET/FOLDER/", 1 if no folder was chosen, 2 on bad usage.
 */
#define _POSIX_C_SOURCE 200809L

#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "console.h"

/* Advice to the user on a result code. error-codes.md lists all codes. */
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

static void printFailure(const char *what, int code) {
  printf("Cannot %s (code %d). %s\n", what, code, adviceFor(code));
}

/* Returns the name that the user picked, to be released with free(), or null. */
static char *chooseBucket(session *account) {
  char **buckets = NULL;
  char *chosen = NULL;
  char *choice;
  int count = 0;
  int i;
  const int code = s3_list_bucket(account, &buckets, &count);

  if (code != 0) {
    printFailure("list the buckets", code);
    return NULL;
  }
  for (i = 0; i < count; ++i) printf("%d  %s\n", i + 1, buckets[i]);
  choice = readLine("Bucket number: ");
  i = indexOf(choice, count);
  if (i >= 0) chosen = strdup(buckets[i]);
  free(choice);
  free_buckets(buckets, count);
  return chosen;
}

/* Returns the full key of a subfolder, which ends with a slash, to be released with free(). */
static char *keyOf(const char *folder, const char *name) {
  const size_t size = strlen(folder) + strlen(name) + 2;
  char *key = malloc(size);
  snprintf(key, size, "%s%s/", folder, name);
  return key;
}

static void makeFolder(session *account, const char *bucket, const char *folder, const char *name) {
  char *key = keyOf(folder, name);
  const int code = s3_create_directory(account, bucket, key);
  if (code != 0) printFailure("make the folder", code);
  free(key);
}

/* Lists the subfolders of `folder` and carries out the user's choice. Releases `folder` and returns
 * the next folder; sets `*done` if the user chose this one. Returns null after a failure and at the
 * end of the input. */
static char *takeStep(session *account, const char *bucket, char *folder, int *done) {
  directory *children = NULL;
  char *choice;
  const char *newName;
  char *next = folder;
  int count = 0;
  int i;
  const int code = s3_list_directory(account, bucket, folder, &children, &count);

  if (code != 0) {
    printFailure("list the folders", code);
    free(folder);
    return NULL;
  }
  choice = readFolderChoice(children, count);
  i = indexOf(choice, count);
  newName = nameOfNewFolder(choice);
  *done = isCurrentFolder(choice);
  if (choice == NULL) next = NULL;
  if (i >= 0) next = strdup(children[i].name);
  if (newName != NULL) makeFolder(account, bucket, folder, newName);
  if (next != folder) free(folder);
  free(choice);
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
  /* Otherwise 1,000 files would hide all folders behind them. */
  vemlo_client_set_whole_s3_listings(1);
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
