/* Links a Google Drive account, lists its folders and makes one.
 *
 *   first_folder PROXY-HOST PROXY-PORT */
#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int linkAccount(session *account) {
  char code[1000] = "";
  char *url = NULL;
  char *accessToken = NULL;
  char *refreshToken = NULL;
  int result = google_drive_get_authorize_url(account, &url);
  if (result == 0) {
    printf("%s\n", url);
    fflush(stdout);
    if (fgets(code, sizeof code, stdin) != NULL) code[strcspn(code, "\n")] = '\0';
    result = google_drive_get_token(account, code, &accessToken, &refreshToken);
  }
  free(url);
  free(accessToken);
  free(refreshToken);
  return result;
}

static int listFolders(session *account, const directory *parent) {
  directory *folders = NULL;
  int count = 0;
  const int result = google_drive_list_directory(account, parent, &folders, &count);
  for (int i = 0; i < count; ++i) printf("%s (%s)\n", folders[i].name, folders[i].id);
  if (count > 0) {
    free_diretories(folders, count);
  } else {
    free(folders);
  }
  return result;
}

static int makeFolder(session *account, const directory *parent, const char *name) {
  directory *folder = NULL;
  const int result = google_drive_create_directory(account, parent, name, &folder);
  if (result == 0) printf("Made %s (%s)\n", folder->name, folder->id);
  free_directory(folder);
  return result;
}

static int run(session *account) {
  directory *root = NULL;
  int result = linkAccount(account);
  if (result == 0) result = google_drive_get_root_directory(account, &root);
  if (result == 0) result = listFolders(account, root);
  if (result == 0) result = makeFolder(account, root, "Transfers");
  free_directory(root);
  return result;
}

static void printFailure(void) {
  vemlo_client_failure failure = {.size = sizeof failure};
  vemlo_client_get_last_failure(&failure);
  printf("%s failed (%s): %s: %s\n", failure.operation, vemlo_client_kind_name(failure.kind),
         failure.code, failure.message);
}

int main(int argc, char **argv) {
  proxy_setting proxy = {NULL, 0, NULL, NULL};
  session *account;
  int result;
  if (argc != 3) return 2;
  proxy.host = argv[1];
  proxy.port = (uint16_t)atoi(argv[2]);
  libvemlo_global_init();
  vemlo_client_set_pkce(1);
  account = libvemlo_google_drive_init(&proxy);
  if (account == NULL) return 1;
  result = run(account);
  if (result != 0) printFailure();
  libvemlo_google_drive_cleanup(account);
  libvemlo_global_cleanup();
  return result == 0 ? 0 : 1;
}
