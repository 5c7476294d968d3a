/* Lists a folder of Google Drive with the C functions, as often as each line of standard input
 * says, and prints how many bytes the names and ids have.
 *
 *   list_c PROXY-PORT */
#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static size_t sizeOfListing(session *account) {
  char id[] = "parent";
  const directory parent = {NULL, id};
  directory *folders = NULL;
  int count = 0;
  size_t size = 0;
  int i;
  if (google_drive_list_directory(account, &parent, &folders, &count) != 0) exit(1);
  for (i = 0; i < count; ++i) size += strlen(folders[i].name) + strlen(folders[i].id);
  free_diretories(folders, count);
  return size;
}

int main(int argc, char **argv) {
  proxy_setting proxy = {"127.0.0.1", 0, NULL, NULL};
  session *account;
  int times;
  if (argc != 2) return 2;
  proxy.port = (uint16_t)atoi(argv[1]);
  libvemlo_global_init();
  account = libvemlo_google_drive_init(&proxy);
  google_drive_set_token(account, "access", "refresh");
  while (scanf("%d", &times) == 1) {
    size_t size = 0;
    while (times-- > 0) size += sizeOfListing(account);
    printf("%zu\n", size);
    fflush(stdout);
  }
  libvemlo_google_drive_cleanup(account);
  libvemlo_global_cleanup();
  return 0;
}
