#define _POSIX_C_SOURCE 200809L

#include "calls.h"

#include <signal.h>
#include <stdio.h>

static int showProgress(const vemlo_client_progress *progress, void *user) {
  (void)user;
  if (progress->entries >= 1000) {
    printf("%llu entries so far\n", (unsigned long long)progress->entries);
  }
  return 0;
}

static vemlo_client_cancellation *cancellation;

static void endCalls(int number) {
  (void)number;
  vemlo_client_cancellation_trigger(cancellation);
}

int prepareCalls(void) {
  struct sigaction action = {.sa_handler = endCalls};
  cancellation = vemlo_client_cancellation_create();
  if (cancellation == NULL) return 0;
  vemlo_client_set_cancellation(cancellation);
  vemlo_client_set_progress_callback(showProgress, NULL);
  return sigaction(SIGINT, &action, NULL) == 0;
}

void beginCall(void) {
  vemlo_client_reset_last_failure();
  vemlo_client_set_deadline(vemlo_client_now() + 30 * 1000);
}

static vemlo_client_failure lastFailure(void) {
  vemlo_client_failure failure = {.size = sizeof failure};
  vemlo_client_get_last_failure(&failure);
  return failure;
}

int32_t lastKind(void) { return lastFailure().kind; }

static const char *adviceFor(int32_t kind) {
  switch (kind) {
    case VEMLO_CLIENT_LINK_AGAIN:
      return "Link the account again.";
    case VEMLO_CLIENT_OFFLINE:
      return "Check the network and the proxy.";
    case VEMLO_CLIENT_NOT_TRUSTED:
      return "The server cannot be trusted. Ask who runs the network.";
    case VEMLO_CLIENT_DENIED:
      return "Ask the account's owner for access.";
    case VEMLO_CLIENT_EXISTS_ALREADY:
    case VEMLO_CLIENT_NAME_NOT_ALLOWED:
      return "Choose another name.";
    case VEMLO_CLIENT_QUOTA:
      return "Free some space.";
    case VEMLO_CLIENT_WAIT:
    case VEMLO_CLIENT_TIMED_OUT:
    case VEMLO_CLIENT_SERVICE_TROUBLE:
    case VEMLO_CLIENT_DEADLINE:
      return "Try again later.";
    case VEMLO_CLIENT_CANCELLED:
      return "You ended it.";
    default:
      return "The log says more.";
  }
}

void printFailure(const char *what) {
  const vemlo_client_failure failure = lastFailure();
  printf("Cannot %s (%s). %s\n", what, vemlo_client_kind_name(failure.kind),
         adviceFor(failure.kind));
}

void releaseCalls(void) {
  signal(SIGINT, SIG_DFL);
  vemlo_client_set_cancellation(NULL);
  vemlo_client_cancellation_release(cancellation);
}
