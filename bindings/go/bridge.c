#include "bridge.h"

#include <string.h>

#include "_cgo_export.h"

/* Calls of the host's callbacks may be nested in calls, so what they set is undone afterwards. */
static _Thread_local vemlo_go_thread current;

static int on_progress(const vemlo_client_progress *progress, void *user) {
  (void)user;
  return vemloGoProgress((vemlo_client_progress *)progress, current.call);
}

static void on_tokens(const vemlo_client_tokens *tokens, void *user) {
  (void)user;
  vemloGoTokens((vemlo_client_tokens *)tokens, current.call);
}

vemlo_go_thread vemlo_go_set_thread(vemlo_go_thread settings) {
  vemlo_go_thread former = current;
  vemlo_client_set_deadline(settings.deadline);
  vemlo_client_set_cancellation(settings.cancellation);
  vemlo_client_set_progress_callback(settings.reports_progress ? on_progress : NULL, NULL);
  current = settings;
  return former;
}

void vemlo_go_report_tokens(int enabled) {
  vemlo_client_set_token_callback(enabled ? on_tokens : NULL, NULL);
}

int vemlo_go_set_application(int32_t service, const char *client_id, const char *client_secret,
                             const char *redirect_uri) {
  vemlo_client_application application = {sizeof application, client_id, client_secret,
                                          redirect_uri};
  return vemlo_client_set_application(service, &application);
}

session *vemlo_go_open_s3(const char *endpoint, const char *region, const char *access_key,
                          const char *secret_key, proxy_setting proxy) {
  return libvemlo_s3_init(endpoint, region, access_key, secret_key, &proxy);
}

session *vemlo_go_open_azure_blobs(const char *region, const char *account, const char *key,
                                   proxy_setting proxy) {
  return libvemlo_azure_ssb_init(region, account, key, &proxy);
}

struct vemlo_go_drive {
  session *(*open)(const proxy_setting *proxy);
  int (*authorize_url)(session *handle, char **url);
  int (*logout_url)(session *handle, char **url); /* null: the service has none */
  int (*link)(session *handle, const char *code, char **access_token, char **refresh_token);
  int (*set_tokens)(session *handle, const char *access_token, const char *refresh_token);
  int (*root)(session *handle, directory **root); /* null: no request is needed */
  int (*list)(session *handle, const directory *parent, directory **folders, int *count);
  int (*create)(session *handle, const directory *parent, const char *name, directory **created);
};

static int dropbox_link(session *handle, const char *code, char **access_token,
                        char **refresh_token) {
  (void)refresh_token;
  return dropbox_get_token(handle, code, access_token);
}

static int dropbox_set_tokens(session *handle, const char *access_token,
                              const char *refresh_token) {
  (void)refresh_token;
  return dropbox_set_token(handle, access_token);
}

#define DRIVE(name, logout_url)                                                     \
  {                                                                                 \
    libvemlo_##name##_init, name##_get_authorize_url, logout_url, name##_get_token, \
        name##_set_token, name##_get_root_directory, name##_list_directory,         \
        name##_create_directory                                                     \
  }

const vemlo_go_drive *vemlo_go_drive_of(int32_t service) {
  static const vemlo_go_drive amazon_drive = DRIVE(amazon_drive, NULL);
  static const vemlo_go_drive google_drive = DRIVE(google_drive, NULL);
  static const vemlo_go_drive one_drive = DRIVE(one_drive, one_drive_get_logout_url);
  static const vemlo_go_drive dropbox = {libvemlo_dropbox_init,  dropbox_get_authorize_url, NULL,
                                         dropbox_link,           dropbox_set_tokens,        NULL,
                                         dropbox_list_directory, dropbox_create_directory};
  switch (service) {
    case VEMLO_CLIENT_AMAZON_DRIVE:
      return &amazon_drive;
    case VEMLO_CLIENT_GOOGLE_DRIVE:
      return &google_drive;
    case VEMLO_CLIENT_ONE_DRIVE:
      return &one_drive;
    case VEMLO_CLIENT_DROPBOX:
      return &dropbox;
    default:
      return NULL;
  }
}

session *vemlo_go_drive_open(const vemlo_go_drive *drive, proxy_setting proxy) {
  return drive->open(&proxy);
}

int vemlo_go_drive_authorize_url(const vemlo_go_drive *drive, session *handle, const char *state,
                                 char **url) {
  int result = vemlo_client_set_state(state);
  return result == 0 ? drive->authorize_url(handle, url) : result;
}

int vemlo_go_drive_logout_url(const vemlo_go_drive *drive, session *handle, char **url) {
  return drive->logout_url == NULL ? 0 : drive->logout_url(handle, url);
}

int vemlo_go_drive_link(const vemlo_go_drive *drive, session *handle, const char *code,
                        char **access_token, char **refresh_token) {
  return drive->link(handle, code, access_token, refresh_token);
}

int vemlo_go_drive_set_tokens(const vemlo_go_drive *drive, session *handle,
                              const char *access_token, const char *refresh_token) {
  return drive->set_tokens(handle, access_token, refresh_token);
}

int vemlo_go_drive_root(const vemlo_go_drive *drive, session *handle, directory **root) {
  return drive->root(handle, root);
}

int vemlo_go_drive_list(const vemlo_go_drive *drive, session *handle, char *id, directory **folders,
                        int *count) {
  directory parent = {NULL, id};
  return drive->list(handle, &parent, folders, count);
}

int vemlo_go_drive_create(const vemlo_go_drive *drive, session *handle, char *parent,
                          const char *name, directory **created) {
  directory record = {NULL, parent};
  return drive->create(handle, &record, name, created);
}

int vemlo_go_account_of(int32_t service, const char *access_token, const char *refresh_token,
                        proxy_setting proxy, vemlo_client_account *account) {
  vemlo_client_proxy record = {sizeof record, proxy.host, proxy.port, proxy.username,
                               proxy.password};
  account->size = sizeof *account;
  return vemlo_client_get_account(service, access_token, refresh_token, &record, account);
}

size_t vemlo_go_measure(char *const *texts, int count, size_t *lengths) {
  size_t sum = 0;
  for (int i = 0; i < count; ++i) {
    lengths[i] = texts[i] == NULL ? 0 : strlen(texts[i]);
    sum += lengths[i];
  }
  return sum;
}

void vemlo_go_copy(char *const *texts, int count, const size_t *lengths, char *target) {
  for (int i = 0; i < count; ++i) {
    if (lengths[i] > 0) memcpy(target, texts[i], lengths[i]);
    target += lengths[i];
  }
}

void vemlo_go_free_listing(directory *folders, int count) {
  if (count > 0) {
    free_diretories(folders, count);
  } else {
    free(folders);
  }
}
