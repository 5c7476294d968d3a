/*
 * A host that links a Google Drive account, stores the account's tokens, and lets its user pick the
 * folder for transfers. Ctrl-C ends a call.
 *
 *   link_google_drive TOKEN-FILE [PROXY-HOST PROXY-PORT]
 *
 * Exit codes: 0 after a line "Chosen: NAME (ID)", 1 if no folder was chosen, 2 on bad usage.
 */
#define _POSIX_C_SOURCE 200809L

#include <ctype.h>
#include <fcntl.h>
#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "calls.h"
#include "console.h"

/* Writes a token as one line: the ciphertext has a line break after every 72 characters, which
 * decryption does not need. Returns 0 on failure. */
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

static int writeTokens(const char *path, const char *accessToken, const char *refreshToken) {
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
  FILE *file = descriptor < 0 ? NULL : fdopen(descriptor, "w");
  int written;
  if (file == NULL) return 0;
  written = writeToken(file, accessToken) && writeToken(file, refreshToken) && fflush(file) == 0 &&
            fsync(descriptor) == 0;
  return fclose(file) == 0 && written;
}

/* Replaces the stored tokens. The file is complete at any time, also if the program is killed.
 * Returns 0 if the tokens could not be stored; those that were there before are then kept. */
static int storeTokens(const char *path, const char *accessToken, const char *refreshToken) {
  const size_t size = strlen(path) + sizeof ".new";
  char *const newPath = malloc(size);
  int stored;
  if (newPath == NULL) return 0;
  snprintf(newPath, size, "%s.new", path);
  stored = writeTokens(newPath, accessToken, refreshToken) && rename(newPath, path) == 0;
  if (!stored) unlink(newPath);
  free(newPath);
  return stored;
}

/* Called by the library when it has renewed the tokens. A host with several accounts looks for the
 * one whose stored refresh token is `used_refresh_token`. */
static void storeRenewedTokens(const vemlo_client_tokens *tokens, void *path) {
  if (!storeTokens(path, tokens->access_token, tokens->refresh_token)) {
    puts("Cannot store the renewed tokens. The account may have to be linked again later.");
  }
}

/* Returns the next token in `file`, to be released with free(), or null if there is none. */
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

/* Returns 0 if there are no stored tokens. Whether they are still valid shows at the first call. */
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

/* Decodes each %XX in `text`, in place. */
static void decodePercent(char *text) {
  const char *next = text;
  while (*next != '\0') {
    const int isEncoded =
        next[0] == '%' && isxdigit((unsigned char)next[1]) && isxdigit((unsigned char)next[2]);
    const char digits[] = {isEncoded ? next[1] : '0', isEncoded ? next[2] : '0', '\0'};
    *text++ = isEncoded ? (char)strtol(digits, NULL, 16) : *next;
    next += isEncoded ? 3 : 1;
  }
  *text = '\0';
}

/* Returns the authorization code in what the user has pasted, as a part of it: `pasted` is the
 * address of the redirect page, or the code alone, which is percent-encoded if it was copied out of
 * the address. Returns null if there is no code. Changes `pasted`. */
static char *codeIn(char *pasted) {
  char *const query = strchr(pasted, '?');
  char *code = pasted;
  if (query != NULL) {
    code = strstr(query, "?code=");
    if (code == NULL) code = strstr(query, "&code=");
    if (code == NULL) return NULL;
    code += strlen("?code=");
    code[strcspn(code, "&#")] = '\0';
  }
  decodePercent(code);
  return code;
}

/* Authorizes the session with a code, and stores the tokens. Returns 0 on failure. */
static int useCode(session *account, const char *code, const char *path) {
  char *accessToken = NULL;
  char *refreshToken = NULL;
  int stored;

  beginCall();
  if (google_drive_get_token(account, code, &accessToken, &refreshToken) != 0) {
    printFailure("link the account");
    return 0;
  }
  stored = storeTokens(path, accessToken, refreshToken);
  if (!stored) puts("Cannot store the tokens.");
  free(accessToken);
  free(refreshToken);
  return stored;
}

/* Links the account with the user's consent. Returns 0 if no tokens were stored. */
static int linkByConsent(session *account, const char *path) {
  char *url = NULL;
  char *pasted = NULL;
  char *code = NULL;
  int stored = 0;

  if (google_drive_get_authorize_url(account, &url) == 0) {
    printf("Open this address and allow access:\n%s\n", url);
    pasted = readLine("Paste the code, or the address that you were sent to: ");
  }
  free(url);
  if (pasted != NULL) code = codeIn(pasted);
  if (pasted != NULL && code == NULL) puts("There is no code in that address.");
  if (code != NULL) stored = useCode(account, code, path);
  free(pasted);
  return stored;
}

/* Releases a listing. An empty listing may still be an array. */
static void releaseListing(directory *folders, int count) {
  if (count > 0) {
    free_diretories(folders, count);
  } else {
    free(folders);
  }
}

/* Returns a copy that stays valid when the listing of `folder` is released. */
static directory *copyOf(const directory *folder) {
  directory *copy = malloc(sizeof *copy);
  copy->name = strdup(folder->name);
  copy->id = strdup(folder->id);
  return copy;
}

/* Lists the subfolders of `folder` and carries out the user's choice. Releases `folder` and returns
 * the next folder; sets `*done` if the user chose this one. Returns null after a failure and at the
 * end of the input. */
static directory *takeStep(session *account, directory *folder, int *done) {
  directory *children = NULL;
  directory *next = NULL;
  char *choice;
  const char *newName;
  int count = 0;
  int i;

  beginCall();
  if (google_drive_list_directory(account, folder, &children, &count) != 0) {
    printFailure("list the folders");
    free_directory(folder);
    return NULL;
  }
  choice = readFolderChoice(children, count);
  i = indexOf(choice, count);
  newName = nameOfNewFolder(choice);
  *done = isCurrentFolder(choice);
  if (i >= 0) next = copyOf(&children[i]);
  if (newName != NULL) {
    beginCall();
    google_drive_create_directory(account, folder, newName, &next);
    if (next == NULL) printFailure("make the folder");
  }
  if (choice != NULL && next == NULL) next = copyOf(folder);
  free(choice);
  releaseListing(children, count);
  free_directory(folder);
  return next;
}

/* Returns the account's root folder, or null if the account is not reached. */
static directory *rootOf(session *account) {
  directory *root = NULL;
  beginCall();
  if (google_drive_get_root_directory(account, &root) != 0) printFailure("reach the account");
  return root;
}

/* Asks for consent only if there are no stored tokens, or if the service no longer accepts them. */
static directory *linkAccount(session *account, const char *path) {
  if (useStoredTokens(account, path)) {
    directory *const root = rootOf(account);
    if (root != NULL || lastKind() != VEMLO_CLIENT_LINK_AGAIN) return root;
  }
  return linkByConsent(account, path) ? rootOf(account) : NULL;
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
  if (!prepareCalls()) return 1;
  libvemlo_global_init();
  vemlo_client_set_pkce(1);
  vemlo_client_set_token_callback(storeRenewedTokens, argv[1]);
  account = libvemlo_google_drive_init(&proxy);
  folder = chooseFolder(account, linkAccount(account, argv[1]));
  if (folder != NULL) printf("Chosen: %s (%s)\n", folder->name, folder->id);
  libvemlo_google_drive_cleanup(account);
  libvemlo_global_cleanup();
  releaseCalls();

  if (folder == NULL) return 1;
  free_directory(folder);
  return 0;
}
