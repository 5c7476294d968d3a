/*
 * A host that links a Google Drive account, keeps the account's tokens, and lets its user pick the
 * folder that transfers will use.
 *
 *   link_google_drive TOKEN-FILE [PROXY-HOST PROXY-PORT]
 *
 * Ends with 0 and a line "Chosen: NAME (ID)", with 1 if nothing was chosen, with 2 on bad usage.
 */
#define _POSIX_C_SOURCE 200809L

#include <fcntl.h>
#include <libvemlo.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "console.h"

/* Writes a token as one line: the cipher text has a line break after every 72 characters, which
 * reading it back does not need. Returns 0 if that failed. */
static int writeToken(FILE *file, const char *token) {
  char *cipher = encrypt_string(token);
  const char *c;
  if (cipher == NULL) return 0;
  for (c = cipher; *c != '\0'; ++c) {
    if (*c != '\n' && *c != '\r') fputc(*c, file);
  }
  fputc('\n', file);
  free(cipher);
  return !ferror(file);
}

/* Returns 0 if the tokens could not be kept; there is no half-written file then. */
static int storeTokens(const char *path, const char *accessToken, const char *refreshToken) {
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
  FILE *file = descriptor < 0 ? NULL : fdopen(descriptor, "w");
  int written;
  if (file == NULL) return 0;
  written = writeToken(file, accessToken) && writeToken(file, refreshToken);
  written = fclose(file) == 0 && written;
  if (!written) unlink(path);
  return written;
}

/* The next token in `file`, to be released with free(); null if there is none. */
static char *readToken(FILE *file) {
  char *line = NULL;
  char *token = NULL;
  size_t size = 0;
  if (getline(&line, &size, file) > 0) {
    line[strcspn(line, "\n")] = '\0';
    token = decrypt_string(line);
  }
  free(line);
  return token;
}

/* Returns 0 if there are no stored tokens. That they are still good shows at the first call. */
static int useStoredTokens(session *account, const char *path) {
  FILE *file = fopen(path, "r");
  char *accessToken;
  char *refreshToken;
  int code = -1;
  if (file == NULL) return 0;
  accessToken = readToken(file);
  refreshToken = readToken(file);
  fclose(file);
  if (accessToken != NULL && refreshToken != NULL) {
    code = google_drive_set_token(account, accessToken, refreshToken);
  }
  free(accessToken);
  free(refreshToken);
  return code == 0;
}

/* Sends the user to the consent page. Returns 0 if that led to nothing. */
static int askForConsent(session *account, const char *path) {
  char *url = NULL;
  char *code = NULL;
  char *accessToken = NULL;
  char *refreshToken = NULL;
  int stored = 0;

  if (google_drive_get_authorize_url(account, &url) == 0) {
    printf("Open this address and allow access:\n%s\n", url);
    code = readLine("Code: ");
  }
  free(url);
  if (code != NULL && google_drive_get_token(account, code, &accessToken, &refreshToken) == 0) {
    stored = storeTokens(path, accessToken, refreshToken);
  }
  free(code);
  free(accessToken);
  free(refreshToken);
  return stored;
}

/* Releases a listing. One without folders may still be an array. */
static void releaseListing(directory *folders, int count) {
  if (count > 0) {
    free_diretories(folders, count);
  } else {
    free(folders);
  }
}

/* A folder that the caller may keep when the listing it came from is released. */
static directory *copyOf(const directory *folder) {
  directory *copy = malloc(sizeof *copy);
  copy->name = strdup(folder->name);
  copy->id = strdup(folder->id);
  return copy;
}

/* Shows what is in `folder` and asks what to do. Returns the folder to go on with, which takes the
 * place of `folder`; sets `*done` when the user has chosen it. Null if there is nothing to go on
 * with. */
static directory *takeStep(session *account, directory *folder, int *done) {
  directory *children = NULL;
  directory *next = NULL;
  char *answer;
  int count = 0;
  int i;

  if (google_drive_list_directory(account, folder, &children, &count) != 0) {
    free_directory(folder);
    return NULL;
  }
  for (i = 0; i < count; ++i) printf("%d  %s\n", i + 1, children[i].name);
  answer = readLine("Folder number, + and a name for a new one, or . for this one: ");
  i = answer == NULL ? -1 : indexOf(answer, count);
  *done = answer != NULL && strcmp(answer, ".") == 0;
  if (i >= 0) {
    next = copyOf(&children[i]);
  } else if (answer != NULL && answer[0] == '+') {
    google_drive_create_directory(account, folder, answer + 1, &next);
    if (next == NULL) puts("Cannot make the folder. The log says more.");
  }
  if (answer != NULL && next == NULL) next = copyOf(folder);
  free(answer);
  releaseListing(children, count);
  free_directory(folder);
  return next;
}

/* The account's root folder; null if the account cannot be reached. */
static directory *linkAccount(session *account, const char *path) {
  directory *root = NULL;
  if (useStoredTokens(account, path)) google_drive_get_root_directory(account, &root);
  /* The tokens may have been revoked; one code stands for that and all else. */
  if (root == NULL && askForConsent(account, path)) google_drive_get_root_directory(account, &root);
  return root;
}

static directory *chooseFolder(session *account, directory *folder) {
  int done = 0;
  while (folder != NULL && !done) folder = takeStep(account, folder, &done);
  return folder;
}

int main(int argc, char **argv) {
  proxy_setting proxy = {NULL, 0, NULL, NULL};
  session *account;
  directory *folder;

  if (argc != 2 && argc != 4) {
    fputs("usage: link_google_drive TOKEN-FILE [PROXY-HOST PROXY-PORT]\n", stderr);
    return 2;
  }
  if (argc == 4) {
    proxy.host = argv[2];
    proxy.port = (uint16_t)strtoul(argv[3], NULL, 10);
  }
  libvemlo_global_init();
  account = libvemlo_google_drive_init(&proxy);
  folder = chooseFolder(account, linkAccount(account, argv[1]));
  if (folder != NULL) printf("Chosen: %s (%s)\n", folder->name, folder->id);
  libvemlo_google_drive_cleanup(account);
  libvemlo_global_cleanup();

  if (folder == NULL) return 1;
  free_directory(folder);
  return 0;
}
