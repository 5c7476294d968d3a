#define _POSIX_C_SOURCE 200809L

#include "commands.h"

#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "lines.h"
#include "services.h"

enum { BAD_ARGUMENTS = -1, MAX_SESSIONS = 32 };

typedef struct opened {
  char *name;
  const service_entry *service;
  session *handle;
} opened;

static opened sessions[MAX_SESSIONS];

void refuse(const char *reason) {
  fprintf(stderr, "driver: %s\n", reason);
  exit(2);
}

/* What the commands have in common. */

static const service_entry *serviceNamed(const char *word) {
  const service_entry *const found = serviceCalled(word);
  if (found == NULL) refuse("no such service");
  return found;
}

static opened *sessionNamed(const char *name) {
  for (int i = 0; i < MAX_SESSIONS; ++i) {
    if (sessions[i].name != NULL && strcmp(sessions[i].name, name) == 0) return &sessions[i];
  }
  refuse("no such session");
  return NULL;
}

static uint16_t portIn(const char *word) { return (uint16_t)strtoul(word, NULL, 10); }

static int reportKind(const driver_command *command, const service_entry *service, int code,
                      int32_t kindOfBadArguments) {
  vemlo_client_failure failure = {.size = sizeof failure};
  output_line line;
  if (code == 0 || command->isQuiet) return code == 0;
  vemlo_client_get_last_failure(&failure);
  if (code == BAD_ARGUMENTS) failure.kind = kindOfBadArguments;
  beginLine(&line, "failed");
  addText(&line, vemlo_client_kind_name(failure.kind));
  addText(&line, service == NULL ? "" : service->word);
  addNumber(&line, code);
  addNumber(&line, failure.error);
  addNumber(&line, failure.http_status);
  addNumber(&line, failure.retry_after);
  addText(&line, failure.operation);
  addText(&line, failure.code);
  addText(&line, failure.message);
  addText(&line, failure.request_id);
  endLine(&line);
  return 0;
}

static int report(const driver_command *command, const service_entry *service, int code) {
  return reportKind(command, service, code, VEMLO_CLIENT_HOST_FAULT);
}

static void showText(const driver_command *command, const char *word, const char *text) {
  output_line line;
  if (command->isQuiet) return;
  beginLine(&line, word);
  addText(&line, text);
  endLine(&line);
}

static void showFolder(const driver_command *command, const char *name, const char *id) {
  output_line line;
  if (command->isQuiet) return;
  beginLine(&line, "folder");
  addText(&line, name);
  addText(&line, id);
  endLine(&line);
}

/* Ends a listing of `count` entries. */
static void showEnd(driver_command *command, int count) {
  output_line line;
  command->entries = count;
  if (command->isQuiet) return;
  beginLine(&line, "cut");
  addNumber(&line, vemlo_client_was_listing_cut_short());
  endLine(&line);
}

/* Shows a listing and releases it. An empty listing may still be an array. */
static void showListing(driver_command *command, directory *folders, int count) {
  for (int i = 0; i < count; ++i) showFolder(command, folders[i].name, folders[i].id);
  showEnd(command, count);
  if (count > 0) {
    free_diretories(folders, count);
  } else {
    free(folders);
  }
}

/* The process */

static void showRenewedTokens(const vemlo_client_tokens *tokens, void *user) {
  output_line line;
  beginLine(&line, "renewed");
  (void)user;
  addText(&line, serviceOfNumber(tokens->service)->word);
  addText(&line, tokens->used_refresh_token);
  addText(&line, tokens->access_token);
  addText(&line, tokens->refresh_token);
  addNumber(&line, tokens->lifetime);
  endLine(&line);
}

static int openLibrary(driver_command *command) {
  char *const *const words = command->words;
  libvemlo_global_init();
  vemlo_client_set_pkce(atoi(words[1]));
  vemlo_client_set_whole_s3_listings(atoi(words[2]));
  vemlo_client_set_dropbox_durable_token(atoi(words[3]));
  vemlo_client_set_token_callback(showRenewedTokens, NULL);
  return 1;
}

static int setApplication(driver_command *command) {
  char *const *const words = command->words;
  const service_entry *const service = serviceNamed(words[1]);
  vemlo_client_application application = {.size = sizeof application};
  application.client_id = words[2];
  application.client_secret = words[3];
  application.redirect_uri = words[4];
  return report(command, service, vemlo_client_set_application(service->number, &application));
}

static int setTrust(driver_command *command) {
  return report(command, NULL, vemlo_client_set_trust(command->words[1], NULL));
}

/* Sessions */

static int openSession(driver_command *command) {
  char *const *const words = command->words;
  const service_entry *const service = serviceNamed(words[2]);
  const proxy_setting proxy = {words[3], portIn(words[4]), NULL, NULL};
  session *handle;
  int i = 0;
  if (command->count != 5 + (service->store == NULL ? 0 : service->store->argumentCount)) {
    refuse("open has other arguments");
  }
  handle = service->store == NULL ? service->drive->open(&proxy)
                                  : service->store->open(words + 5, &proxy);
  /* Only an Azure key that is no base64 text keeps a session from being opened. */
  if (handle == NULL) return reportKind(command, service, BAD_ARGUMENTS, VEMLO_CLIENT_WRONG_KEYS);
  while (i < MAX_SESSIONS && sessions[i].name != NULL) ++i;
  if (i == MAX_SESSIONS) refuse("too many sessions");
  sessions[i] = (opened){strdup(words[1]), service, handle};
  return 1;
}

static void closeOne(opened *account) {
  const service_entry *const service = account->service;
  if (service->drive != NULL) {
    service->drive->close(account->handle);
  } else {
    service->store->close(account->handle);
  }
  free(account->name);
  account->name = NULL;
}

static int closeSession(driver_command *command) {
  closeOne(sessionNamed(command->words[1]));
  return 1;
}

void closeEverything(void) {
  for (int i = 0; i < MAX_SESSIONS; ++i) {
    if (sessions[i].name != NULL) closeOne(&sessions[i]);
  }
  vemlo_client_set_token_callback(NULL, NULL);
  libvemlo_global_cleanup();
}

/* Drives */

static const opened *driveNamed(const char *name) {
  const opened *const account = sessionNamed(name);
  if (account->service->drive == NULL) refuse("the session is not one of a drive");
  return account;
}

static int showAuthorizeUrl(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  char *url = NULL;
  int code = vemlo_client_set_state(command->words[2]);
  if (code == 0) code = account->service->drive->authorizeUrl(account->handle, &url);
  if (code == 0) showText(command, "url", url);
  free(url);
  return report(command, account->service, code);
}

static int showLogoutUrl(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  const drive_functions *const drive = account->service->drive;
  char *url = NULL;
  const int code = drive->logoutUrl == NULL ? 0 : drive->logoutUrl(account->handle, &url);
  if (code == 0) showText(command, "url", url);
  free(url);
  return report(command, account->service, code);
}

static int linkAccount(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  char *accessToken = NULL;
  char *refreshToken = NULL;
  const int code = account->service->drive->getToken(account->handle, command->words[2],
                                                     &accessToken, &refreshToken);
  if (code == 0 && !command->isQuiet) {
    output_line line;
    beginLine(&line, "tokens");
    addText(&line, accessToken);
    addText(&line, refreshToken);
    endLine(&line);
  }
  free(accessToken);
  free(refreshToken);
  return report(command, account->service, code);
}

static int setTokens(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  const int code =
      account->service->drive->setToken(account->handle, command->words[2], command->words[3]);
  return report(command, account->service, code);
}

static int showRoot(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  const drive_functions *const drive = account->service->drive;
  directory *root = NULL;
  int code;
  if (drive->root == NULL) {
    showFolder(command, "/", "/");
    return 1;
  }
  code = drive->root(account->handle, &root);
  if (code == 0) showFolder(command, root->name, root->id);
  free_directory(root);
  return report(command, account->service, code);
}

static int showFolders(driver_command *command) {
  const opened *const account = driveNamed(command->words[1]);
  const directory parent = {NULL, command->words[2]};
  directory *children = NULL;
  int count = 0;
  const int code = account->service->drive->list(account->handle, &parent, &children, &count);
  if (code == 0) showListing(command, children, count);
  return report(command, account->service, code);
}

/* Object stores */

static const opened *storeNamed(const char *name) {
  const opened *const account = sessionNamed(name);
  if (account->service->store == NULL) refuse("the session is not one of an object store");
  return account;
}

static int showStoredFolders(driver_command *command) {
  const opened *const account = storeNamed(command->words[1]);
  directory *folders = NULL;
  int count = 0;
  const int code = account->service->store->list(account->handle, command->words[2],
                                                 command->words[3], &folders, &count);
  if (code == 0) showListing(command, folders, count);
  return report(command, account->service, code);
}

static int showBuckets(driver_command *command) {
  const opened *const account = storeNamed(command->words[1]);
  char **buckets = NULL;
  int count = 0;
  const int code = account->service->store->buckets(account->handle, &buckets, &count);
  if (code == 0) {
    for (int i = 0; i < count; ++i) showText(command, "bucket", buckets[i]);
    showEnd(command, count);
    free_buckets(buckets, count);
  }
  return report(command, account->service, code);
}

static int createBucket(driver_command *command) {
  const opened *const account = storeNamed(command->words[1]);
  const int code = account->service->store->createBucket(account->handle, command->words[2],
                                                         atoi(command->words[3]));
  return report(command, account->service, code);
}

static location_contraint_name_mapping *locationsOf(const char *flavour) {
  if (strcmp(flavour, "aws") == 0) return s3_get_location_contraint_name_mappings();
  if (strcmp(flavour, "china") == 0) return s3_cn_get_location_contraint_name_mappings();
  if (strcmp(flavour, "wasabi") == 0) return wasabi_get_location_contraint_name_mappings();
  if (strcmp(flavour, "custom") == 0) return customized_get_location_contraint_name_mappings();
  refuse("no such flavour");
  return NULL;
}

static int showLocations(driver_command *command) {
  const int endOfTable = 17;
  const location_contraint_name_mapping *entry = locationsOf(command->words[1]);
  for (; entry->location_contraint != endOfTable; ++entry) {
    output_line line;
    beginLine(&line, "location");
    addNumber(&line, entry->location_contraint);
    addText(&line, entry->name);
    endLine(&line);
  }
  return 1;
}

/* Both */

static int createFolder(driver_command *command) {
  const opened *const account = sessionNamed(command->words[1]);
  const service_entry *const service = account->service;
  const directory parent = {NULL, command->words[2]};
  const char *const name = command->words[3];
  directory *created = NULL;
  int code;
  if (service->store != NULL) {
    code = service->store->create(account->handle, command->words[2], name);
  } else {
    code = service->drive->create(account->handle, &parent, name, &created);
    if (code == 0) showFolder(command, created->name, created->id);
    free_directory(created);
  }
  return report(command, service, code);
}

/* Without a session */

static int showAccount(driver_command *command) {
  char *const *const words = command->words;
  const service_entry *const service = serviceNamed(words[1]);
  const vemlo_client_proxy proxy = {sizeof proxy, words[2], portIn(words[3]), NULL, NULL};
  vemlo_client_account account = {.size = sizeof account};
  const int code = vemlo_client_get_account(service->number, words[4], words[5], &proxy, &account);
  if (code == 0 && !command->isQuiet) {
    output_line line;
    beginLine(&line, "account");
    addText(&line, account.name);
    addText(&line, account.email);
    addNumber(&line, account.used_space);
    addNumber(&line, account.total_space);
    endLine(&line);
  }
  if (code == 0) vemlo_client_free_account(&account);
  return report(command, service, code);
}

static int showConverted(driver_command *command) {
  char *const converted = strcmp(command->words[0], "encrypt") == 0
                              ? encrypt_string(command->words[1])
                              : decrypt_string(command->words[1]);
  if (converted == NULL) return report(command, NULL, BAD_ARGUMENTS);
  showText(command, "text", converted);
  free(converted);
  return 1;
}

typedef struct command_entry {
  const char *name;
  /* How many arguments it has, at least. */
  int arguments;
  int (*function)(driver_command *command);
} command_entry;

static const command_entry commands[] = {
    {"library", 3, openLibrary},
    {"application", 4, setApplication},
    {"trust", 1, setTrust},
    {"open", 4, openSession},
    {"close", 1, closeSession},
    {"url", 2, showAuthorizeUrl},
    {"logout-url", 1, showLogoutUrl},
    {"link", 2, linkAccount},
    {"tokens", 3, setTokens},
    {"root", 1, showRoot},
    {"folders", 2, showFolders},
    {"list", 3, showStoredFolders},
    {"buckets", 1, showBuckets},
    {"create", 3, createFolder},
    {"create-bucket", 3, createBucket},
    {"account", 5, showAccount},
    {"encrypt", 1, showConverted},
    {"decrypt", 1, showConverted},
    {"locations", 1, showLocations},
};

int carryOut(driver_command *command) {
  const int arguments = command->count - 1;
  for (size_t i = 0; i < sizeof commands / sizeof *commands; ++i) {
    const command_entry *const entry = &commands[i];
    if (strcmp(command->words[0], entry->name) != 0 || arguments < entry->arguments) continue;
    vemlo_client_reset_last_failure();
    return entry->function(command);
  }
  refuse("no such command");
  return 0;
}
