/* What Go cannot express: calls through function pointers, records that contain pointers to the
 * caller's texts, and callbacks with const parameters. */
#ifndef VEMLO_GO_BRIDGE_H
#define VEMLO_GO_BRIDGE_H

#include <libvemlo.h>
#include <libvemlo_service_client.h>
#include <stdlib.h>

/* What the calls of a thread depend on. */
typedef struct vemlo_go_thread {
  int64_t deadline;                        /* 0: none */
  vemlo_client_cancellation *cancellation; /* null: none */
  int reports_progress;
  uintptr_t call; /* the cgo.Handle of the call, 0: none */
} vemlo_go_thread;

/* Sets it for the calling thread and returns what was set before. */
vemlo_go_thread vemlo_go_set_thread(vemlo_go_thread settings);

void vemlo_go_report_tokens(int enabled);
int vemlo_go_set_application(int32_t service, const char *client_id, const char *client_secret,
                             const char *redirect_uri);

session *vemlo_go_open_s3(const char *endpoint, const char *region, const char *access_key,
                          const char *secret_key, proxy_setting proxy);
session *vemlo_go_open_azure_blobs(const char *region, const char *account, const char *key,
                                   proxy_setting proxy);

/* The functions of one drive service. */
typedef struct vemlo_go_drive vemlo_go_drive;

/* Null if the service is not a drive. */
const vemlo_go_drive *vemlo_go_drive_of(int32_t service);
session *vemlo_go_drive_open(const vemlo_go_drive *drive, proxy_setting proxy);
int vemlo_go_drive_authorize_url(const vemlo_go_drive *drive, session *handle, const char *state,
                                 char **url);
/* Leaves `url` as it is where the service has no such address. */
int vemlo_go_drive_logout_url(const vemlo_go_drive *drive, session *handle, char **url);
/* Leaves `refresh_token` as it is for Dropbox. */
int vemlo_go_drive_link(const vemlo_go_drive *drive, session *handle, const char *code,
                        char **access_token, char **refresh_token);
int vemlo_go_drive_set_tokens(const vemlo_go_drive *drive, session *handle,
                              const char *access_token, const char *refresh_token);
int vemlo_go_drive_root(const vemlo_go_drive *drive, session *handle, directory **root);
int vemlo_go_drive_list(const vemlo_go_drive *drive, session *handle, char *id, directory **folders,
                        int *count);
int vemlo_go_drive_create(const vemlo_go_drive *drive, session *handle, char *parent,
                          const char *name, directory **created);

int vemlo_go_account_of(int32_t service, const char *access_token, const char *refresh_token,
                        proxy_setting proxy, vemlo_client_account *account);

/* Sets `lengths` to those of `count` texts, 0 for null, and returns their sum. */
size_t vemlo_go_measure(char *const *texts, int count, size_t *lengths);
/* Copies the texts of these lengths to `target`, one after the other. */
void vemlo_go_copy(char *const *texts, int count, const size_t *lengths, char *target);

/* Releases a listing, also one without folders. */
void vemlo_go_free_listing(directory *folders, int count);

#endif
