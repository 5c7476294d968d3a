/*
 * A host program in C that opens sessions of all six services, with and without a proxy, several at
 * once, and closes each with the cleanup function of any service. Exits with 0 without output, or
 * prints the first failure.
 */
#include <libvemlo.h>
#include <stdio.h>

enum { kServices = 6, kProxies = 3, kSessions = kServices * kProxies };

typedef void (*CleanupFunction)(session *);

static const CleanupFunction kCleanups[kServices] = {
    libvemlo_s3_cleanup,           libvemlo_azure_ssb_cleanup, libvemlo_google_drive_cleanup,
    libvemlo_amazon_drive_cleanup, libvemlo_one_drive_cleanup, libvemlo_dropbox_cleanup};

static session *openSession(int service, const proxy_setting *proxy) {
  switch (service) {
    case 0:
      return libvemlo_s3_init("", "", "key", "c2VjcmV0", proxy);
    case 1:
      return libvemlo_azure_ssb_init("westeurope", "account", "c2VjcmV0", proxy);
    case 2:
      return libvemlo_google_drive_init(proxy);
    case 3:
      return libvemlo_amazon_drive_init(proxy);
    case 4:
      return libvemlo_one_drive_init(proxy);
    default:
      return libvemlo_dropbox_init(proxy);
  }
}

static int openAll(session **sessions) {
  const proxy_setting empty = {NULL, 0, NULL, NULL};
  const proxy_setting filled = {"127.0.0.1", 3128, "user", "confidential"};
  const proxy_setting *proxies[kProxies] = {NULL, NULL, NULL};
  int i;

  proxies[1] = &empty;
  proxies[2] = &filled;
  for (i = 0; i < kSessions; ++i) {
    sessions[i] = openSession(i / kProxies, proxies[i % kProxies]);
    if (sessions[i] == NULL) return 0;
  }
  return 1;
}

/* In a session of another service, the functions of S3 fail with -1. */
static int refusesBuckets(session *other) {
  char **buckets = NULL;
  int count = 0;
  return s3_list_bucket(other, &buckets, &count) == -1 &&
         s3_create_bucket(other, "bucket", 16) == -1;
}

static int fail(const char *what) {
  puts(what);
  return 1;
}

int main(void) {
  session *sessions[kSessions];
  int round;
  int i;

  libvemlo_global_init();
  for (round = 0; round < kServices; ++round) {
    if (!openAll(sessions)) return fail("a session was not opened");
    for (i = kProxies; i < kSessions; ++i) {
      if (!refusesBuckets(sessions[i])) return fail("a session took another's call");
    }
    /* The cleanup functions are interchangeable: each round uses another one for each session. */
    for (i = 0; i < kSessions; ++i) kCleanups[(i / kProxies + round) % kServices](sessions[i]);
  }
  for (i = 0; i < kServices; ++i) kCleanups[i](NULL);
  libvemlo_global_cleanup();
  return 0;
}
