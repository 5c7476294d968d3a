/**
 * @file
 * libvemlo_service_client: what a product needs beyond the functions of libvemlo.h.
 *
 * The functions of libvemlo.h state that a call failed; these state why, and what can be done. They
 * end calls early, report progress, hand out renewed tokens, and set what is otherwise fixed when
 * the library is built. The bundled service-client layer exports them. A program that links
 * libvemlo links them, too. They are missing if libvemlo was built for a layer of the host's own.
 *
 * A program that calls none of these functions sends the same requests and writes the same log
 * lines as without them.
 *
 * Conventions of all functions below. A function that departs from them states so in its comment.
 *
 *  1. There is no session among the arguments. What concerns calls belongs to the calling thread:
 *     it applies to the calls of libvemlo.h that this thread makes afterwards, on any session. What
 *     concerns the process is set before the first session is opened; it applies to all sessions
 *     that are opened afterwards.
 *  2. Strings are NUL-terminated UTF-8. Inputs belong to the caller and are copied where they are
 *     needed after the call. Strings in a record that a callback receives are valid during the
 *     callback.
 *  3. A record begins with its size in bytes. The caller of a function sets it to `sizeof` the
 *     record, also where the function fills the record. Later versions add members at the end;
 *     members beyond the given size are neither read nor written. A callback must not read members
 *     beyond the size that it is given.
 *  4. Result codes: 0 is success. -1 means bad arguments: nothing was changed, and nothing was
 *     requested. Other codes are stated at the function. A function that sets something and returns
 *     nothing changes nothing if there is no memory.
 *  5. Any thread may call any function at any time, except while the thread ends (in
 *     destructors of thread-specific data), and no function blocks, unless its comment states
 *     otherwise. No function throws, and no function writes to the log.
 *  6. A callback must return normally: it must not throw, jump out or end the thread. It may call
 *     any function of this header and of libvemlo.h.
 */
#ifndef LIBVEMLO_SERVICE_CLIENT_H
#define LIBVEMLO_SERVICE_CLIENT_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VEMLO_CLIENT_API __attribute__((visibility("default")))
#else
#define VEMLO_CLIENT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* -------------------------------------------------------------------------------- services --- */

/** @defgroup client_services Services
 *  @{ */

/** A service. The numbers never change. */
typedef enum vemlo_client_service {
  VEMLO_CLIENT_S3 = 1,
  VEMLO_CLIENT_AZURE_SSB = 2,
  VEMLO_CLIENT_AMAZON_DRIVE = 3,
  VEMLO_CLIENT_GOOGLE_DRIVE = 4,
  VEMLO_CLIENT_ONE_DRIVE = 5,
  VEMLO_CLIENT_DROPBOX = 6
} vemlo_client_service;

/** @} */

/* -------------------------------------------------------------------------------- failures --- */

/** @defgroup client_failures Why the last call failed
 *  @{ */

/** What a failure means for the user and the host. The numbers never change; treat a number that is
 *  not listed like VEMLO_CLIENT_NOT_UNDERSTOOD. */
typedef enum vemlo_client_kind {
  /** There is no failure. */
  VEMLO_CLIENT_NO_FAILURE = 0,
  /** The service no longer accepts the account's tokens, or there are none: the user has to give
   *  consent again. */
  VEMLO_CLIENT_LINK_AGAIN = 1,
  /** Too many requests, or something else is in progress: try again later. */
  VEMLO_CLIENT_WAIT = 2,
  /** The service or the proxy was not reached, or the connection broke. */
  VEMLO_CLIENT_OFFLINE = 3,
  /** The service did not respond in time. */
  VEMLO_CLIENT_TIMED_OUT = 4,
  /** The service's certificate is not trusted or belongs to another host. */
  VEMLO_CLIENT_NOT_TRUSTED = 5,
  /** The account may not do this. */
  VEMLO_CLIENT_DENIED = 6,
  /** The folder, bucket or account does not exist. */
  VEMLO_CLIENT_NOT_FOUND = 7,
  /** There is something of this name already. */
  VEMLO_CLIENT_EXISTS_ALREADY = 8,
  /** The service does not allow this name. */
  VEMLO_CLIENT_NAME_NOT_ALLOWED = 9,
  /** The account has no space left, or has reached another of its limits. */
  VEMLO_CLIENT_QUOTA = 10,
  /** The access key or the secret key is wrong. */
  VEMLO_CLIENT_WRONG_KEYS = 11,
  /** The clock of this computer is wrong. */
  VEMLO_CLIENT_WRONG_CLOCK = 12,
  /** The bucket is in another region, or there is no such region. */
  VEMLO_CLIENT_WRONG_REGION = 13,
  /** The service failed: try again later. */
  VEMLO_CLIENT_SERVICE_TROUBLE = 14,
  /** What the service responded has no meaning here: it is perhaps not this kind of service, or a
   *  network sign-in page. Or the service refused the request for a reason that has no kind of its
   *  own; the code and the message of the failure state it. */
  VEMLO_CLIENT_NOT_UNDERSTOOD = 15,
  /** The host cancelled the call. */
  VEMLO_CLIENT_CANCELLED = 16,
  /** The deadline that the host set has passed, or would pass before the next attempt. */
  VEMLO_CLIENT_DEADLINE = 17,
  /** The program is at fault: the request cannot be sent in this form, the service does not accept
   *  the registered application, or there is no memory. */
  VEMLO_CLIENT_HOST_FAULT = 18
} vemlo_client_kind;

/** One failure. No text is null; a text that the service did not send is empty. */
typedef struct vemlo_client_failure {
  /** The size of the record in bytes. */
  size_t size;
  /** A vemlo_client_kind. */
  int32_t kind;
  /** A vemlo_client_service, or 0 if there is no failure. */
  int32_t service;
  /** The error's number as listed in error-codes.md. */
  int32_t error;
  /** The status of the HTTP response, or 0 if there was none. */
  int32_t http_status;
  /** After how many seconds the service allows another attempt, or -1 if it did not say. */
  int64_t retry_after;
  /** The operation that failed, such as "listFileResource" or "refreshAccessToken". */
  const char *operation;
  /** The error's name as the service or the transport reported it. One line without secrets. */
  const char *code;
  /** The service's own message. One line without secrets. */
  const char *message;
  /** What the service calls this request in its own logs. */
  const char *request_id;
} vemlo_client_failure;

/**
 * Fills `failure` with the last failure of the calling thread: that of the last service request or
 * token request that failed, after all its retries. A success does not change it, so a host resets
 * it before a call whose failure it wants to know. If a service refuses a request because the
 * account's tokens could not be renewed, the failure is that of the renewal, also if another thread
 * tried it. If there was no failure since the reset, the kind is VEMLO_CLIENT_NO_FAILURE, the
 * numbers are 0, `retry_after` is -1 and the texts are empty.
 *
 * @param failure  its `size` must be set. The texts are valid until the thread resets its failure,
 *                 has another one, or ends. Released by nobody.
 * @return 0: done.
 *         -1: `failure` is null, or its size is smaller than that of the first version.
 */
VEMLO_CLIENT_API int vemlo_client_get_last_failure(vemlo_client_failure *failure);

/** Forgets the last failure of the calling thread. */
VEMLO_CLIENT_API void vemlo_client_reset_last_failure(void);

/**
 * The name of a kind, such as "link again".
 *
 * @param kind  a vemlo_client_kind.
 * @return a static text, which is never released; "unknown" for a number that is no kind.
 */
VEMLO_CLIENT_API const char *vemlo_client_kind_name(int32_t kind);

/** @} */

/* -------------------------------------------------------------- deadline, cancel, progress --- */

/** @defgroup client_calls Deadline, cancellation and progress of calls
 *  @{ */

/**
 * The time on the clock of vemlo_client_set_deadline(): CLOCK_MONOTONIC in milliseconds. It does
 * not change when the time of day is set.
 *
 * @return the milliseconds since a point in the past that differs from computer to computer.
 */
VEMLO_CLIENT_API int64_t vemlo_client_now(void);

/**
 * Sets the time by which the calls of the calling thread end. A call that has not ended by then
 * fails within a tenth of a second: in the midst of a transfer, between two attempts, or while it
 * waits for tokens that another thread renews. Only a name lookup in progress may end later: in the
 * background, if libcurl runs it in a thread of its own, which it usually does. A call that begins
 * later than the deadline fails without a request. The kind of the failure is
 * VEMLO_CLIENT_DEADLINE. Its session can still be used, and other threads' calls are not affected,
 * except that one that waits for tokens that this thread renews renews them itself.
 *
 * A call that ends while it renews tokens may lose a refresh token that the service has just
 * replaced. Microsoft still accepts the former one; other services may not, or only for a while.
 * The user then has to give consent again.
 *
 * The deadline stays set until it is replaced.
 *
 * @param deadline  a time of vemlo_client_now(), such as vemlo_client_now() + 5000. 0: none.
 * @return 0: done.
 *         -1: `deadline` is negative.
 */
VEMLO_CLIENT_API int vemlo_client_set_deadline(int64_t deadline);

/** What ends calls early. One thread or several let their calls depend on it, and any thread
 *  triggers it. A child process that is forked shares its state with the parent: a trigger or a
 *  reset in one of them applies to both. So a child creates a cancellation of its own. */
typedef struct vemlo_client_cancellation vemlo_client_cancellation;

/**
 * Creates a cancellation that is not triggered.
 *
 * @return the cancellation, to be released with vemlo_client_cancellation_release(). Null if there
 *         is no memory or no file descriptor left (it has one).
 */
VEMLO_CLIENT_API vemlo_client_cancellation *vemlo_client_cancellation_create(void);

/**
 * Ends all calls that depend on `cancellation`, and those that begin later, until it is reset. The
 * calls fail in the way that vemlo_client_set_deadline() describes, with the kind
 * VEMLO_CLIENT_CANCELLED. May be called by a signal handler.
 *
 * @param cancellation  null, or triggered already: nothing is done.
 */
VEMLO_CLIENT_API void vemlo_client_cancellation_trigger(vemlo_client_cancellation *cancellation);

/** Reverses vemlo_client_cancellation_trigger(), so that the cancellation can be used again. A call
 *  that has not noticed yet may continue. Does nothing if `cancellation` is null. */
VEMLO_CLIENT_API void vemlo_client_cancellation_reset(vemlo_client_cancellation *cancellation);

/**
 * Whether a cancellation is triggered.
 *
 * @param cancellation  null counts as not triggered.
 * @return 1: it is.
 *         0: it is not.
 */
VEMLO_CLIENT_API int vemlo_client_cancellation_is_triggered(
    const vemlo_client_cancellation *cancellation);

/** Releases `cancellation`. Threads whose calls depend on it keep what they need of it. Does
 *  nothing if it is null. */
VEMLO_CLIENT_API void vemlo_client_cancellation_release(vemlo_client_cancellation *cancellation);

/**
 * Lets the calls of the calling thread depend on `cancellation`, until it is replaced or the thread
 * ends.
 *
 * @param cancellation  null: the calls cannot be cancelled.
 */
VEMLO_CLIENT_API void vemlo_client_set_cancellation(vemlo_client_cancellation *cancellation);

/** How far a call has come. */
typedef struct vemlo_client_progress {
  /** The size of the record in bytes. */
  size_t size;
  /** The vemlo_client_service of the last request. */
  int32_t service;
  /** The operation of the last request, such as "listFileResource". */
  const char *operation;
  /** The number of requests of the call so far, including retries and token requests. */
  uint64_t requests;
  /** The number of bytes in the bodies of the responses so far, decompressed. */
  uint64_t bytes;
  /** The number of entries in the listings so far: buckets or folders, and whatever else the
   *  service lists beside them. */
  uint64_t entries;
} vemlo_client_progress;

/**
 * Called on the thread that makes a call, after each request of the call, also one
 * without a response.
 *
 * @return 0 to continue. Any other number ends the call, as vemlo_client_cancellation_trigger()
 *         does, unless it needs no further request.
 */
typedef int (*vemlo_client_progress_callback)(const vemlo_client_progress *progress, void *user);

/**
 * Sets the callback for the calls of the calling thread, until it is replaced. Calls that the
 * callback itself makes are not reported.
 *
 * @param callback  null: none.
 * @param user      what the callback receives. Not read otherwise; may be null.
 */
VEMLO_CLIENT_API void vemlo_client_set_progress_callback(vemlo_client_progress_callback callback,
                                                         void *user);

/** @} */

/* ---------------------------------------------------------------------------------- tokens --- */

/** @defgroup client_tokens Renewed tokens
 *  @{ */

/** The tokens of an account that have been renewed. No text is null. */
typedef struct vemlo_client_tokens {
  /** The size of the record in bytes. */
  size_t size;
  /** A vemlo_client_service. */
  int32_t service;
  /** The refresh token with which the tokens were renewed. The host finds its account by it. */
  const char *used_refresh_token;
  /** The new access token, in the form that the functions of libvemlo.h take. */
  const char *access_token;
  /** The refresh token to use from now on: a new one if the service replaced it, otherwise the one
   *  that was used. */
  const char *refresh_token;
  /** How many seconds the access token is valid, or -1 if the service did not say. */
  int64_t lifetime;
} vemlo_client_tokens;

/**
 * Called on the thread that renewed tokens, before its call continues. Called once per renewal, no
 * matter how many threads waited for it, and with no lock held. Tokens that one session renews
 * twice in succession are reported in that order. What the callback does delays this thread's call,
 * and the next renewal that another thread needs on the same session; so it must not wait for such
 * a thread. It may make calls on the session itself, and close it.
 */
typedef void (*vemlo_client_token_callback)(const vemlo_client_tokens *tokens, void *user);

/**
 * Sets the callback of the process, for open sessions, too. When the function returns, a call of
 * the former callback may still be running, so what `user` refers to must live until all calls have
 * returned that were running then. OneDrive replaces the refresh token with each renewal,
 * so a host that does not store what the callback receives loses the account when the stored one
 * ends.
 *
 * @param callback  null: none.
 * @param user      what the callback receives. Not read otherwise; may be null.
 */
VEMLO_CLIENT_API void vemlo_client_set_token_callback(vemlo_client_token_callback callback,
                                                      void *user);

/**
 * Sets whether Dropbox sessions that are opened from now on hand out a text that holds both tokens
 * in place of the access token. libvemlo.h has no place for Dropbox's refresh token, without which
 * an account ends after four hours. Such a text is of no use for requests that a host sends by
 * itself. It is taken by dropbox_set_token() whatever this is set to, as is a plain access token.
 *
 * @param enabled  0 or another number. Initially as the library was built
 *                 (VEMLO_DROPBOX_DURABLE_TOKEN), by default 0.
 */
VEMLO_CLIENT_API void vemlo_client_set_dropbox_durable_token(int enabled);

/** @} */

/* ----------------------------------------------------------------------------- application --- */

/** @defgroup client_application Application, consent and trust
 *  @{ */

/** An application's registration with a drive service. A member that is null keeps its built-in
 *  value. */
typedef struct vemlo_client_application {
  /** The size of the record in bytes. */
  size_t size;
  /** The public identifier of the registration. */
  const char *client_id;
  /** Empty: none is sent, for applications that are registered as public clients. */
  const char *client_secret;
  /** Where the service sends users back to, as it is registered. */
  const char *redirect_uri;
} vemlo_client_application;

/**
 * Sets the application as which sessions with `service` that are opened from now on act.
 *
 * @param service      one of the four drive services.
 * @param application  null: the built-in one again.
 * @return 0: done.
 *         -1: the service is none of the drives, the size is smaller than that of the first
 *         version, the client id or the redirect URI is empty, or a text contains a control
 *         character.
 *         1: there is no memory.
 */
VEMLO_CLIENT_API int vemlo_client_set_application(int32_t service,
                                                  const vemlo_client_application *application);

/**
 * Sets the `state` parameter of the next address for consent that the calling thread gets from a
 * `<service>_get_authorize_url()`. The service returns it unchanged beside the code, so that the
 * host recognizes its own request. It should be hard to guess, and used once.
 *
 * @param state  null or empty: none.
 * @return 0: done.
 *         -1: it has more than 500 bytes (the shortest limit of a service) or contains a control
 *         character.
 *         1: there is no memory.
 */
VEMLO_CLIENT_API int vemlo_client_set_state(const char *state);

/**
 * Sets whether consent is bound to the session that asked for it (PKCE, RFC 7636, with S256). A
 * code can then be exchanged only on the session that made the address, and only for the last
 * address that it made. Belongs to the process and applies to the next address of any session,
 * also of one that is open.
 *
 * @param enabled  0, the initial value, or another number.
 */
VEMLO_CLIENT_API void vemlo_client_set_pkce(int enabled);

/**
 * Sets the certificates that are trusted by sessions that are opened from now on, in place of those
 * of the system and of SSL_CERT_FILE and SSL_CERT_DIR. They are read when the first request needs
 * them; a request fails if they cannot be read.
 *
 * @param file    a file with PEM certificates. Null or empty: none.
 * @param folder  a folder with PEM certificates under hashed names (`openssl rehash`), or several
 *                separated by colons. Null or empty: none. If both are null or empty, the system's
 *                are trusted again.
 * @return 0: done.
 *         1: there is no memory.
 */
VEMLO_CLIENT_API int vemlo_client_set_trust(const char *file, const char *folder);

/** @} */

/* --------------------------------------------------------------------------------- account --- */

/** @defgroup client_account Whose account it is
 *  @{ */

/** An HTTP proxy. Null strings count as empty. */
typedef struct vemlo_client_proxy {
  /** The size of the record in bytes. */
  size_t size;
  /** Empty: no proxy. */
  const char *host;
  /** 0: port 1080. */
  uint16_t port;
  /** Empty: no credentials are sent to the proxy. */
  const char *username;
  /** What goes with `username`. */
  const char *password;
} vemlo_client_proxy;

/** The owner of an account. No text is null. What the service does not say, or the scopes of the
 *  tokens do not allow, is empty or -1. */
typedef struct vemlo_client_account {
  /** The size of the record in bytes. */
  size_t size;
  /** The name that the service shows. */
  char *name;
  /** The e-mail address. */
  char *email;
  /** Bytes in use. */
  int64_t used_space;
  /** Bytes that the account may use. -1 also if there is no limit. */
  int64_t total_space;
} vemlo_client_account;

/**
 * Asks a drive service whose account the tokens belong to. Sends one request or two, and a token
 * request first or in between if the access token is empty or has expired; the token callback then
 * receives the renewed tokens. Nothing is logged. Blocks for these requests, with the deadline, the
 * cancellation and the progress of the thread. Nothing is retried but a request with an expired
 * token, and a token request that could not connect. A request that the scopes of the tokens do not
 * allow is no failure.
 *
 * @param service        one of the four drive services.
 * @param access_token   as the functions of libvemlo.h take it. May be empty if there is a refresh
 *                       token.
 * @param refresh_token  null or empty: an expired access token is not renewed.
 * @param proxy          null: none.
 * @param account        its `size` must be set. Set on success only. Released with
 *                       vemlo_client_free_account().
 * @return 0: done.
 *         -1: `access_token` or `account` is null, both tokens are empty, a size is smaller than
 *         that of the first version, or the service is none of the drives.
 *         Positive: the error's number as listed in error-codes.md; vemlo_client_get_last_failure()
 *         states the reason.
 */
VEMLO_CLIENT_API int vemlo_client_get_account(int32_t service, const char *access_token,
                                              const char *refresh_token,
                                              const vemlo_client_proxy *proxy,
                                              vemlo_client_account *account);

/** Releases the texts of `account`, not the record itself, and sets them to null. Does nothing if
 *  `account` is null. */
VEMLO_CLIENT_API void vemlo_client_free_account(vemlo_client_account *account);

/** @} */

/* -------------------------------------------------------------------------------- listings --- */

/** @defgroup client_listings Whole listings
 *  @{ */

/**
 * Sets whether S3 listings are followed to their end. s3_list_directory() otherwise gets one page
 * of at most 1,000 keys, so that 1,000 files hide all folders behind them. Applies to calls that
 * begin from now on.
 *
 * @param enabled  0, the initial value, or another number.
 */
VEMLO_CLIENT_API void vemlo_client_set_whole_s3_listings(int enabled);

/**
 * Whether the last listing that the calling thread received had more entries than were handed out.
 *
 * @return 1: it had.
 *         0: it had not, or it failed, or there was none.
 */
VEMLO_CLIENT_API int vemlo_client_was_listing_cut_short(void);

/** @} */

/* ------------------------------------------------------------------------------- recording --- */

/** @defgroup client_recording Recording
 *  @{ */

/**
 * Records every request and response of the process in a file in the HAR 1.2 format, until
 * vemlo_client_stop_recording(). Tokens, signatures, keys, codes, client secrets, cookies, proxy
 * credentials and e-mail addresses are redacted; names of folders and buckets are not. The file is
 * complete after each response, so that it can be read if the program ends unexpectedly. It is
 * created for its owner only (mode 0600). Blocks while the file is opened.
 *
 * Recording makes calls slower and costs memory for the largest response. Requests in progress
 * while the recording begins or ends, and those of processes that are forked from this one, are
 * omitted.
 *
 * @param path  the file, which must not exist.
 * @return 0: done.
 *         -1: `path` is null or empty, or another recording is running.
 *         Positive: the `errno` of the system call that failed.
 */
VEMLO_CLIENT_API int vemlo_client_start_recording(const char *path);

/**
 * Ends the recording. Blocks while a response is being written.
 *
 * @return 0: done.
 *         -1: none is running.
 *         Positive: the `errno` of the first write that failed. Nothing was recorded after it; what
 *         was written before can be read.
 */
VEMLO_CLIENT_API int vemlo_client_stop_recording(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
