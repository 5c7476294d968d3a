#include "services.h"

#include <libvemlo_service_client.h>
#include <stddef.h>
#include <string.h>

/* Dropbox has no refresh token of its own: its access token holds both. */
static int getDropboxToken(session *handle, const char *code, char **accessToken,
                           char **refreshToken) {
  *refreshToken = NULL;
  return dropbox_get_token(handle, code, accessToken);
}

static int setDropboxToken(session *handle, const char *accessToken, const char *refreshToken) {
  (void)refreshToken;
  return dropbox_set_token(handle, accessToken);
}

static session *openS3(char *const *arguments, const proxy_setting *proxy) {
  return libvemlo_s3_init(arguments[0], arguments[1], arguments[2], arguments[3], proxy);
}

static session *openAzure(char *const *arguments, const proxy_setting *proxy) {
  return libvemlo_azure_ssb_init(arguments[0], arguments[1], arguments[2], proxy);
}

/* The account decides where containers are. */
static int createContainer(session *handle, const char *container, int location) {
  (void)location;
  return azure_ssb_create_bucket(handle, container);
}

static const drive_functions amazonDrive = {
    .open = libvemlo_amazon_drive_init,
    .close = libvemlo_amazon_drive_cleanup,
    .authorizeUrl = amazon_drive_get_authorize_url,
    .getToken = amazon_drive_get_token,
    .setToken = amazon_drive_set_token,
    .root = amazon_drive_get_root_directory,
    .list = amazon_drive_list_directory,
    .create = amazon_drive_create_directory,
};

static const drive_functions googleDrive = {
    .open = libvemlo_google_drive_init,
    .close = libvemlo_google_drive_cleanup,
    .authorizeUrl = google_drive_get_authorize_url,
    .getToken = google_drive_get_token,
    .setToken = google_drive_set_token,
    .root = google_drive_get_root_directory,
    .list = google_drive_list_directory,
    .create = google_drive_create_directory,
};

static const drive_functions oneDrive = {
    .open = libvemlo_one_drive_init,
    .close = libvemlo_one_drive_cleanup,
    .authorizeUrl = one_drive_get_authorize_url,
    .logoutUrl = one_drive_get_logout_url,
    .getToken = one_drive_get_token,
    .setToken = one_drive_set_token,
    .root = one_drive_get_root_directory,
    .list = one_drive_list_directory,
    .create = one_drive_create_directory,
};

static const drive_functions dropbox = {
    .open = libvemlo_dropbox_init,
    .close = libvemlo_dropbox_cleanup,
    .authorizeUrl = dropbox_get_authorize_url,
    .getToken = getDropboxToken,
    .setToken = setDropboxToken,
    .list = dropbox_list_directory,
    .create = dropbox_create_directory,
};

static const store_functions s3 = {
    .open = openS3,
    .argumentCount = 4,
    .close = libvemlo_s3_cleanup,
    .buckets = s3_list_bucket,
    .createBucket = s3_create_bucket,
    .list = s3_list_directory,
    .create = s3_create_directory,
};

static const store_functions azure = {
    .open = openAzure,
    .argumentCount = 3,
    .close = libvemlo_azure_ssb_cleanup,
    .buckets = azure_ssb_list_bucket,
    .createBucket = createContainer,
    .list = azure_ssb_list_directory,
    .create = azure_ssb_create_directory,
};

static const service_entry services[] = {
    {"s3", VEMLO_CLIENT_S3, NULL, &s3},
    {"azure", VEMLO_CLIENT_AZURE_SSB, NULL, &azure},
    {"amazon-drive", VEMLO_CLIENT_AMAZON_DRIVE, &amazonDrive, NULL},
    {"google-drive", VEMLO_CLIENT_GOOGLE_DRIVE, &googleDrive, NULL},
    {"onedrive", VEMLO_CLIENT_ONE_DRIVE, &oneDrive, NULL},
    {"dropbox", VEMLO_CLIENT_DROPBOX, &dropbox, NULL},
};

enum { SERVICE_COUNT = sizeof services / sizeof *services };

const service_entry *serviceCalled(const char *word) {
  for (int i = 0; i < SERVICE_COUNT; ++i) {
    if (strcmp(services[i].word, word) == 0) return &services[i];
  }
  return NULL;
}

const service_entry *serviceOfNumber(int32_t number) {
  for (int i = 0; i < SERVICE_COUNT; ++i) {
    if (services[i].number == number) return &services[i];
  }
  return NULL;
}
