/**
 * @file
 * libvemlo: connect cloud storage accounts and pick the folder that transfers will use.
 *
 * One flat C interface to S3 and compatible stores, Azure storage blobs, Amazon Drive, Google
 * Drive, OneDrive and Dropbox.
 *
 * Conventions of all functions below. A function that departs from them states so in its comment.
 *
 *  1. Order of use: libvemlo_global_init() once; then per account a `libvemlo_<service>_init()`,
 *     calls on the session, a `libvemlo_<service>_cleanup()`; libvemlo_global_cleanup() once at the
 *     end.
 *  2. Order of arguments: the session, then inputs, then outputs, a result before its count.
 *  3. Strings are NUL-terminated UTF-8. Inputs belong to the caller, are only read during the call
 *     and are never kept.
 *  4. An output receives heap memory that belongs to the caller from then on. A single string is
 *     released with free(), records and arrays with the free_ functions below.
 *  5. Result codes: 0 is success. -1 means bad arguments: nothing was requested from the service,
 *     nothing was logged, and the outputs are unchanged unless the comment states otherwise.
 *     Positive codes mean that the service call failed; error-codes.md lists those of the
 *     object stores.
 *  6. A failed service call writes one ERROR line to standard error and to the system log. A drive
 *     call whose token has expired writes one more, to standard error only, for each failed attempt
 *     to get a new token. A log line contains no secret, with one exception that is stated at the
 *     function (the token exchange). The library logs with glog: the first session of the process
 *     directs the log to standard error, in colour, at the level of `verbose`, also for a host that
 *     uses glog itself.
 *  7. Threads: calls on one session may run on several threads at once, and so may calls on
 *     different sessions. Exceptions: the first session of a process must be opened from one
 *     thread, and some functions are restricted by their comments.
 *  8. Time: a call that sends requests blocks until they are completed, but not longer than ten
 *     minutes and not for more than 100,000 requests. All attempts, delays and token requests of
 *     the call are included; a call that reaches a limit fails. For each request there are at most
 *     four attempts, with delays of 1, 2 and 3 seconds between them. An attempt sends the request
 *     once and fails after 30 seconds without a connection, after 60 seconds without a byte, or
 *     after 5 minutes in total. If the service reports that the region or the clock of a signature
 *     is wrong, or that it does not support a filter, the request is retried at once within the
 *     same attempt. A drive call without a valid token also waits for a new token. A token request
 *     fails after 30 seconds without a connection, which it tries to establish twice, or after a
 *     minute in total.
 *  9. No function throws through this interface, and no result record is handed out partly filled.
 *     A lack of memory is a failed call, and so is an exception of a service-client layer that the
 *     host provides: the function returns the code of its other failures, or 1 if it has none, or
 *     null if it returns a pointer. It writes its ERROR line if there is memory for it. The session
 *     can still be used. hosting.md states what the libraries underneath do without memory.
 */
#ifndef LIBVEMLO_H
#define LIBVEMLO_H

#include <stdint.h>

#if defined(__GNUC__)
#define LIBVEMLO_API __attribute__((visibility("default")))
#else
#define LIBVEMLO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* --------------------------------------------------------------- records and their release --- */

/** @defgroup records Records and their release
 *  @{ */

/**
 * An open account, created by a `libvemlo_<service>_init()`. Valid for that service's functions
 * only.
 */
typedef struct session session;

/** One folder. Released with free_directory(), arrays of it with free_diretories(). */
typedef struct directory {
  /** The display name. For the object stores the full key prefix, including its trailing "/". */
  char *name;
  /**
   * The identifier of the folder at a drive service: an id, or for Dropbox a path. Null for the
   * object stores, whose folders are identified by `name`.
   */
  char *id;
} directory;

/** An HTTP proxy. Read only while a session is being opened. Null strings count as empty. */
typedef struct proxy_setting {
  /** Empty: no proxy. */
  const char *host;
  /** 0: port 1080. */
  uint16_t port;
  /** Empty: no credentials are sent to the proxy. */
  const char *username;
  /** What goes with `username`. */
  const char *password;
} proxy_setting;

/** A location in which a bucket can be created. */
typedef struct location_contraint_name_mapping {
  /** The code to pass to s3_create_bucket(). 17 marks the end of a table. */
  int32_t location_contraint;
  /**
   * The display name. Null in the record that ends a table, and in the only entry of the table for
   * customized endpoints, which have no locations to choose from. So end an iteration at the code
   * 17, not at a null name.
   */
  const char *name;
} location_contraint_name_mapping;

/**
 * Verbosity of the log: 0, the initial value, for failures only; 9 for every step. Copied into the
 * logger when the first session of the process is opened. Later changes have no effect. Not
 * synchronized: set it before the first session is opened.
 */
extern LIBVEMLO_API int verbose;

/**
 * Releases a list of bucket names: `count` strings, then the array. If `buckets` is null or `count`
 * is 0 or less, does nothing; the array is not released either (no function hands out such an
 * array). If `count` is smaller than the length of the list, the remaining strings stay allocated.
 * Any thread; does not block.
 */
LIBVEMLO_API void free_buckets(char **buckets, int count);

/**
 * Releases one record: its name, its id (either may be null), then the record. Does nothing if
 * `entry` is null. Any thread; does not block.
 */
LIBVEMLO_API void free_directory(directory *entry);

/**
 * Releases an array of records: name and id of `count` records, then the array. If `entries` is
 * null or `count` is 0 or less, does nothing; the array is not released either. A listing of a
 * drive service that finds no folder may hand out a non-null array with a count of 0: release it
 * with free(). If `count` is smaller than the length of the array, the strings of the remaining
 * records stay allocated. Any thread; does not block.
 */
LIBVEMLO_API void free_diretories(directory *entries, int count);

/** @} */

/* ------------------------------------------------------------------------------ life cycle --- */

/** @defgroup life_cycle Life cycle
 *  @{ */

/**
 * Initializes the crypto library for this process. Call it once, before any other function except
 * the location tables, while no other thread uses this library. Does not set up the log. Does not
 * block.
 */
LIBVEMLO_API void libvemlo_global_init(void);

/**
 * Releases the crypto library. Call it once, after the last session has been closed, while no
 * other thread uses this library. Does not touch open sessions. Does not block.
 */
LIBVEMLO_API void libvemlo_global_cleanup(void);

/**
 * Opens a session with S3 or a compatible store. No connection is made and nothing is checked:
 * wrong arguments cause the first call to fail. The first session of a process, of whichever
 * service, also sets up the log: to standard error, coloured by severity, at the level of
 * `verbose`.
 *
 * @param endpoint    `[http[s]://]host[:port][/base]`; https without a scheme. Empty:
 *                    https://s3.amazonaws.com. Must not be null.
 * @param region      The region for which requests are signed, such as "eu-central-1". Empty: the
 *                    region that the endpoint names, otherwise "us-east-1". Must not be null.
 * @param access_key  Access key id. Must not be null.
 * @param secret_key  Secret access key. Must not be null.
 * @param proxy       Null: no proxy.
 * @return The session, to be closed with libvemlo_s3_cleanup(). Null only on a failure that
 *         paragraph 9 describes.
 *
 * Not while another thread opens the first session. Does not block.
 */
LIBVEMLO_API session *libvemlo_s3_init(const char *endpoint, const char *region,
                                       const char *access_key, const char *secret_key,
                                       const proxy_setting *proxy);

/**
 * Opens a session with an Azure storage account. No connection is made. Sets up the log as
 * libvemlo_s3_init() does, unless it returns null for a null argument.
 *
 * @param region        The name of a region or cloud such as "westeurope", "china" or
 *                      "usgovvirginia", which selects the cloud. Empty or unknown: the global
 *                      cloud.
 * @param account_name  The storage account.
 * @param access_key    One of the account's keys, base64.
 * @param proxy         Null: no proxy.
 * @return The session, to be closed with libvemlo_azure_ssb_cleanup(). Null if one of the three
 *         strings is null (not logged), or if `access_key` is not base64 text (one ERROR line).
 *
 * Not while another thread opens the first session. Does not block.
 */
LIBVEMLO_API session *libvemlo_azure_ssb_init(const char *region, const char *account_name,
                                              const char *access_key, const proxy_setting *proxy);

/**
 * Opens a session with Google Drive. No connection is made, and the session is not authorized yet:
 * google_drive_get_token() authorizes it, or google_drive_set_token() with tokens stored earlier.
 * Sets up the log as libvemlo_s3_init() does.
 *
 * @param proxy  Null: no proxy.
 * @return The session, to be closed with libvemlo_google_drive_cleanup(). Null only on a failure
 *         that paragraph 9 describes.
 *
 * Not while another thread opens the first session. Does not block.
 */
LIBVEMLO_API session *libvemlo_google_drive_init(const proxy_setting *proxy);

/** Opens a session with Amazon Drive, as libvemlo_google_drive_init() does with Google Drive. */
LIBVEMLO_API session *libvemlo_amazon_drive_init(const proxy_setting *proxy);

/** Opens a session with OneDrive, as libvemlo_google_drive_init() does with Google Drive. */
LIBVEMLO_API session *libvemlo_one_drive_init(const proxy_setting *proxy);

/** Opens a session with Dropbox, as libvemlo_google_drive_init() does with Google Drive. */
LIBVEMLO_API session *libvemlo_dropbox_init(const proxy_setting *proxy);

/**
 * Closes a session of any service (the six functions do the same) and releases it. Does nothing if
 * the session is null. Records handed out by the session's functions stay valid.
 *
 * A call that is still running on another thread completes normally, except on an S3 session,
 * which must not be closed while a call on it runs. No new call may be started on the session. Does
 * not block.
 */
LIBVEMLO_API void libvemlo_s3_cleanup(session *handle);
/** See libvemlo_s3_cleanup(). */
LIBVEMLO_API void libvemlo_azure_ssb_cleanup(session *handle);
/** See libvemlo_s3_cleanup(). */
LIBVEMLO_API void libvemlo_google_drive_cleanup(session *handle);
/** See libvemlo_s3_cleanup(). */
LIBVEMLO_API void libvemlo_amazon_drive_cleanup(session *handle);
/** See libvemlo_s3_cleanup(). */
LIBVEMLO_API void libvemlo_one_drive_cleanup(session *handle);
/** See libvemlo_s3_cleanup(). */
LIBVEMLO_API void libvemlo_dropbox_cleanup(session *handle);

/** @} */

/* ----------------------------------------------------------------------- string encryption --- */

/** @defgroup string_encryption String encryption
 *  @{ */

/**
 * Encrypts a text with the fixed key of the library, so that a configuration file contains no
 * secret in clear text. Equal texts give equal results. This hides a secret from a casual reader,
 * not from a person who has this library.
 *
 * @param text  The text. May be null.
 * @return Base64 text, to be released with free(), with a line break (CR LF) after every 72
 *         characters; remove the line breaks to store the text in one line. Null if `text` is null
 *         (not logged) or if the encryption failed (one ERROR line).
 *
 * Any thread, after libvemlo_global_init(). Does not block.
 */
LIBVEMLO_API char *encrypt_string(const char *text);

/**
 * Decrypts a text that encrypt_string() has encrypted.
 *
 * @param text  The result of encrypt_string(), with or without its line breaks. May be null.
 * @return The plain text, to be released with free(). Null if `text` is null (not logged) or cannot
 *         be decrypted (one ERROR line). The integrity of the text is not checked: if it was
 *         altered, the result may be a different plain text.
 *
 * Any thread, after libvemlo_global_init(). Does not block.
 */
LIBVEMLO_API char *decrypt_string(const char *text);

/** @} */

/* -------------------------------------------------------------------------------------- S3 --- */

/** @defgroup s3 S3 and compatible stores
 *  @{ */

/**
 * The locations in which buckets can be created at the global AWS endpoint. No session is needed.
 *
 * @return The first record of a static table that ends with the code 17. Never null; not to be
 *         released and not to be changed. Any thread; does not block.
 */
LIBVEMLO_API location_contraint_name_mapping *s3_get_location_contraint_name_mappings(void);

/** The same for the AWS China endpoint. */
LIBVEMLO_API location_contraint_name_mapping *s3_cn_get_location_contraint_name_mappings(void);

/** The same for Wasabi. */
LIBVEMLO_API location_contraint_name_mapping *wasabi_get_location_contraint_name_mappings(void);

/**
 * The same for customized endpoints: one entry without a name, since such an endpoint has no
 * locations to choose from.
 */
LIBVEMLO_API location_contraint_name_mapping *customized_get_location_contraint_name_mappings(void);

/**
 * Lists the buckets of the account, in the service's order.
 *
 * @param handle   An S3 session.
 * @param buckets  Receives the names, or null if there are none. Written on success only.
 * @param count    Receives their number. Written on success only.
 * @return 0: done; release with free_buckets().
 *         -1: an argument is null, or the session is not one of S3.
 *         Positive: the request failed; a code of error-codes.md. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int s3_list_bucket(session *handle, char ***buckets, int *count);

/**
 * Creates a bucket. The service validates the name.
 *
 * @param handle              An S3 session.
 * @param bucket              The bucket's name. Must not be null.
 * @param location_contraint  A code from the table for the session's kind of endpoint; 16 for a
 *                            customized endpoint.
 * @return 0: done.
 *         -1: `handle` is null or not a session of S3.
 *         Positive: the request failed, or was not sent because the name is empty or the code is
 *         not that of a location; a code of error-codes.md. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int s3_create_bucket(session *handle, const char *bucket, int location_contraint);

/**
 * Lists the folders directly below a prefix: the first page that the service returns (1000
 * entries, files included), in the service's order.
 *
 * @param handle       An S3 session.
 * @param bucket       The bucket's name.
 * @param prefix       The folder's full prefix, such as "photos/2019/"; empty for the top level.
 * @param directories  Receives the records, or null if there are none. Cleared before the request.
 * @param count        Receives their number. Cleared before the request.
 * @return 0: done; release with free_diretories().
 *         -1: an argument is null, or the session is not one of S3.
 *         Positive: the request failed; a code of error-codes.md. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int s3_list_directory(session *handle, const char *bucket, const char *prefix,
                                   directory **directories, int *count);

/**
 * Creates a folder by storing an empty object of its name, which replaces an object with the same
 * key. Parents need not exist and are not created. The contents of an existing folder stay.
 *
 * @param handle  An S3 session.
 * @param bucket  The bucket's name. Must not be null.
 * @param key     The folder's full key, such as "photos/2020/".
 * @return 0: done.
 *         -1: `handle` or `key` is null; `key` has fewer than 2 characters, begins with "/" or
 *         does not end with "/"; the session is not one of S3.
 *         Positive: the request failed; a code of error-codes.md. Nothing is logged.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int s3_create_directory(session *handle, const char *bucket, const char *key);

/** @} */

/* --------------------------------------------------------------------- Azure storage blobs --- */

/** @defgroup azure_ssb Azure storage blobs
 *  @{ */

/**
 * Lists all containers of the account, in the service's order.
 *
 * @param handle   An Azure session.
 * @param buckets  Receives the names, or null if there are none. Cleared before the first request.
 * @param count    Receives their number. Cleared before the first request.
 * @return 0: done; release with free_buckets().
 *         -1: an argument is null, or the session is not one of Azure, in which case the outputs
 *         are cleared.
 *         Positive: a request failed; a code of error-codes.md. One ERROR line, no partial
 *         list.
 *
 * Blocks for one request per 100 containers.
 */
LIBVEMLO_API int azure_ssb_list_bucket(session *handle, char ***buckets, int *count);

/**
 * Creates a container. The service validates the name.
 *
 * @param handle  An Azure session.
 * @param bucket  The container's name.
 * @return 0: done.
 *         -1: an argument is null, or the session is not one of Azure.
 *         Positive: the request failed; a code of error-codes.md. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int azure_ssb_create_bucket(session *handle, const char *bucket);

/**
 * Lists all folders directly below a prefix, in the service's order.
 *
 * @param handle       An Azure session.
 * @param bucket       The container's name.
 * @param prefix       The folder's full prefix, such as "photos/2019/"; empty for the top level.
 * @param directories  Receives the records, or null if there are none. Cleared before the first
 *                     request.
 * @param count        Receives their number. Cleared before the first request.
 * @return 0: done; release with free_diretories().
 *         -1: an argument is null, or the session is not one of Azure, in which case the outputs
 *         are cleared.
 *         Positive: a request failed; a code of error-codes.md. One ERROR line, no partial
 *         list.
 *
 * Blocks for one request per 100 entries, and one more.
 */
LIBVEMLO_API int azure_ssb_list_directory(session *handle, const char *bucket, const char *prefix,
                                          directory **directories, int *count);

/**
 * Creates a folder by storing an empty blob of its name, which replaces a blob with the same name.
 * Parents need not exist and are not created. The contents of an existing folder stay.
 *
 * @param handle  An Azure session.
 * @param bucket  The container's name. Must not be null.
 * @param path    The folder's full path, such as "photos/2020/".
 * @return 0: done.
 *         -1: `handle` or `path` is null; `path` has fewer than 2 characters, begins with "/" or
 *         does not end with "/"; the session is not one of Azure.
 *         Positive: the request failed; a code of error-codes.md. Nothing is logged.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int azure_ssb_create_directory(session *handle, const char *bucket, const char *path);

/** @} */

/* ---------------------------------------------------------------------------- Amazon Drive --- */

/** @defgroup amazon_drive Amazon Drive
 *  @{ */

/**
 * The address of the web page on which a user grants access to an Amazon Drive account. No network
 * traffic.
 *
 * @param handle  An Amazon Drive session.
 * @param url     Receives the address. Cleared after the argument check.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Amazon Drive.
 *
 * Does not block.
 */
LIBVEMLO_API int amazon_drive_get_authorize_url(session *handle, char **url);

/**
 * Exchanges the authorization code, which the service passes to the redirect page, for tokens. On
 * success the session is authorized without a call of amazon_drive_set_token().
 *
 * @param handle         An Amazon Drive session.
 * @param code           The authorization code, percent-decoded. Valid for one exchange.
 * @param access_token   Receives the access token. Cleared before the request.
 * @param refresh_token  Receives the refresh token. Cleared before the request.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Amazon Drive.
 *         340: the exchange failed, or the response lacks one of the tokens. One ERROR line,
 *         which contains in clear text the code and the tokens that the session holds then: those
 *         of the response or, if it had none, those that the session held before.
 *
 * Not while another call on the session runs. Blocks for one request.
 */
LIBVEMLO_API int amazon_drive_get_token(session *handle, const char *code, char **access_token,
                                        char **refresh_token);

/**
 * Authorizes a session with tokens stored earlier. They are not checked: an invalid token causes
 * the next call to fail.
 *
 * @param handle         An Amazon Drive session.
 * @param access_token   The access token.
 * @param refresh_token  The refresh token.
 * @return 0: done.
 *         -1: an argument is null, or the session is not one of Amazon Drive.
 *
 * Not while another call on the session runs. Does not block.
 */
LIBVEMLO_API int amazon_drive_set_token(session *handle, const char *access_token,
                                        const char *refresh_token);

/**
 * Requests the account's endpoints, the addresses at which it is served, from the service, even if
 * they are known. Other calls request them when necessary.
 *
 * @param handle  An authorized Amazon Drive session.
 * @return 0: done.
 *         -1: `handle` is null or not a session of Amazon Drive.
 *         1: the request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int amazon_drive_get_endpoint(session *handle);

/**
 * Checks that the session's tokens are valid by reading the account's profile. On success the name
 * and the e-mail address of the account's holder are logged, two lines at ERROR severity.
 *
 * @param handle  An authorized Amazon Drive session.
 * @return 0: the profile was read.
 *         -1: `handle` is null or not a session of Amazon Drive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request, and one more if the endpoints are not known yet.
 */
LIBVEMLO_API int amazon_drive_test_api(session *handle);

/**
 * Finds the account's root folder. If the service reports several, the result is the first of them,
 * and one ERROR line is written.
 *
 * @param handle  An authorized Amazon Drive session.
 * @param root    Receives the record. Cleared before the request.
 * @return 0: done; release with free_directory().
 *         -1: an argument is null, or the session is not one of Amazon Drive.
 *         1: a request failed. One ERROR line.
 *         100: the account has no root folder. Nothing is logged.
 *
 * Blocks for one request, and one more if the endpoints are not known yet.
 */
LIBVEMLO_API int amazon_drive_get_root_directory(session *handle, directory **root);

/**
 * Lists all folders directly below a folder, in the service's order.
 *
 * @param handle    An authorized Amazon Drive session.
 * @param parent    The folder, identified by its `id`, which must not be null.
 * @param children  Receives the records. Cleared before the first request.
 * @param count     Receives their number. Cleared before the first request.
 * @return 0: done; release with free_diretories(), or with free() if the count is 0.
 *         -1: an argument or the parent's id is null, or the session is not one of Amazon Drive.
 *         1: a request failed. One ERROR line, no partial list.
 *
 * Blocks for at least one request per 100 folders, and one more if the endpoints are not known yet.
 */
LIBVEMLO_API int amazon_drive_list_directory(session *handle, const directory *parent,
                                             directory **children, int *count);

/**
 * Creates a folder.
 *
 * @param handle   An authorized Amazon Drive session.
 * @param parent   The parent folder, identified by its `id`, which must not be null.
 * @param name     The new folder's name.
 * @param created  Receives the record, with the name that the service reports. Cleared before the
 *                 request.
 * @return 0: done; release with free_directory().
 *         -1: an argument or the parent's id is null, or the session is not one of Amazon Drive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request, and one more if the endpoints are not known yet.
 */
LIBVEMLO_API int amazon_drive_create_directory(session *handle, const directory *parent,
                                               const char *name, directory **created);

/** @} */

/* ---------------------------------------------------------------------------- Google Drive --- */

/** @defgroup google_drive Google Drive
 *  @{ */

/**
 * The address of the web page on which a user grants access to a Google Drive account. No network
 * traffic.
 *
 * @param handle  A Google Drive session.
 * @param url     Receives the address. Cleared after the argument check.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Google Drive.
 *
 * Does not block.
 */
LIBVEMLO_API int google_drive_get_authorize_url(session *handle, char **url);

/**
 * Exchanges the authorization code, which the service passes to the redirect page, for tokens. On
 * success the session is authorized without a call of google_drive_set_token().
 *
 * @param handle         A Google Drive session.
 * @param code           The authorization code, percent-decoded. Valid for one exchange.
 * @param access_token   Receives the access token. Cleared before the request.
 * @param refresh_token  Receives the refresh token. Cleared before the request.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Google Drive.
 *         337: the exchange failed, or the response lacks one of the tokens. One ERROR line,
 *         which contains in clear text the code and the tokens that the session holds then: those
 *         of the response or, if it had none, those that the session held before.
 *
 * Not while another call on the session runs. Blocks for one request.
 */
LIBVEMLO_API int google_drive_get_token(session *handle, const char *code, char **access_token,
                                        char **refresh_token);

/**
 * Authorizes a session with tokens stored earlier. They are not checked: an invalid token causes
 * the next call to fail.
 *
 * @param handle         A Google Drive session.
 * @param access_token   The access token.
 * @param refresh_token  The refresh token.
 * @return 0: done.
 *         -1: an argument is null, or the session is not one of Google Drive.
 *
 * Not while another call on the session runs. Does not block.
 */
LIBVEMLO_API int google_drive_set_token(session *handle, const char *access_token,
                                        const char *refresh_token);

/**
 * Finds the account's root folder.
 *
 * @param handle  An authorized Google Drive session.
 * @param root    Receives the record. Cleared before the request.
 * @return 0: done; release with free_directory().
 *         -1: an argument is null, or the session is not one of Google Drive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int google_drive_get_root_directory(session *handle, directory **root);

/**
 * Lists all folders directly below a folder, in the service's order.
 *
 * @param handle    An authorized Google Drive session.
 * @param parent    The folder, identified by its `id`, which must not be null.
 * @param children  Receives the records. Cleared before the first request.
 * @param count     Receives their number. Cleared before the first request.
 * @return 0: done; release with free_diretories(), or with free() if the count is 0.
 *         -1: an argument or the parent's id is null, or the session is not one of Google Drive.
 *         1: a request failed. One ERROR line, no partial list.
 *
 * Blocks for at least one request per 500 folders.
 */
LIBVEMLO_API int google_drive_list_directory(session *handle, const directory *parent,
                                             directory **children, int *count);

/**
 * Creates a folder. If a folder of this name exists, a second one is created.
 *
 * @param handle   An authorized Google Drive session.
 * @param parent   The parent folder, identified by its `id`, which must not be null.
 * @param name     The new folder's name.
 * @param created  Receives the record, with the name that the service reports. Cleared before the
 *                 request.
 * @return 0: done; release with free_directory().
 *         -1: an argument or the parent's id is null, or the session is not one of Google Drive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int google_drive_create_directory(session *handle, const directory *parent,
                                               const char *name, directory **created);

/** @} */

/* -------------------------------------------------------------------------------- OneDrive --- */

/** @defgroup one_drive OneDrive
 *  @{ */

/**
 * The address of the web page on which a user grants access to a OneDrive account. No network
 * traffic.
 *
 * @param handle  A OneDrive session.
 * @param url     Receives the address. Cleared after the argument check.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of OneDrive.
 *
 * Does not block.
 */
LIBVEMLO_API int one_drive_get_authorize_url(session *handle, char **url);

/**
 * The address that signs a user out and then redirects to the redirect page. No network traffic.
 *
 * @param handle  A OneDrive session.
 * @param url     Receives the address. Cleared after the argument check.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of OneDrive.
 *
 * Does not block.
 */
LIBVEMLO_API int one_drive_get_logout_url(session *handle, char **url);

/**
 * Exchanges the authorization code, which the service passes to the redirect page, for tokens. On
 * success the session is authorized without a call of one_drive_set_token().
 *
 * @param handle         A OneDrive session.
 * @param code           The authorization code, percent-decoded. Valid for one exchange.
 * @param access_token   Receives the access token. Cleared before the request.
 * @param refresh_token  Receives the refresh token. Cleared before the request.
 * @return 0: done; release with free(). A response without a refresh token is a success with
 *         an empty `*refresh_token`.
 *         -1: an argument is null, or the session is not one of OneDrive.
 *         343: the exchange failed. One ERROR line, which contains the code in clear text.
 *
 * Not while another call on the session runs. Blocks for one request.
 */
LIBVEMLO_API int one_drive_get_token(session *handle, const char *code, char **access_token,
                                     char **refresh_token);

/**
 * Authorizes a session with tokens stored earlier. They are not checked: an invalid token causes
 * the next call to fail.
 *
 * @param handle         A OneDrive session.
 * @param access_token   The access token.
 * @param refresh_token  The refresh token.
 * @return 0: done.
 *         -1: an argument is null, or the session is not one of OneDrive.
 *
 * Not while another call on the session runs. Does not block.
 */
LIBVEMLO_API int one_drive_set_token(session *handle, const char *access_token,
                                     const char *refresh_token);

/**
 * Finds the account's root folder. Its name is "/".
 *
 * @param handle  An authorized OneDrive session.
 * @param root    Receives the record. Cleared before the request.
 * @return 0: done; release with free_directory().
 *         -1: an argument is null, or the session is not one of OneDrive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int one_drive_get_root_directory(session *handle, directory **root);

/**
 * Lists all folders directly below a folder, in the service's order. The list includes folders that
 * others share with the user, except on a business drive.
 *
 * @param handle    An authorized OneDrive session.
 * @param parent    The folder, identified by its `id`, which must not be null.
 * @param children  Receives the records. Cleared before the first request.
 * @param count     Receives their number. Cleared before the first request.
 * @return 0: done; release with free_diretories(), or with free() if the count is 0.
 *         -1: an argument or the parent's id is null, or the session is not one of OneDrive.
 *         1: a request failed. One ERROR line, no partial list.
 *
 * Blocks for at least one request per 500 folders, and one more.
 */
LIBVEMLO_API int one_drive_list_directory(session *handle, const directory *parent,
                                          directory **children, int *count);

/**
 * Creates a folder.
 *
 * @param handle   An authorized OneDrive session.
 * @param parent   The parent folder, identified by its `id`, which must not be null.
 * @param name     The new folder's name.
 * @param created  Receives the record, with the name that the service reports. Cleared before the
 *                 request.
 * @return 0: done; release with free_directory().
 *         -1: an argument or the parent's id is null, or the session is not one of OneDrive.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int one_drive_create_directory(session *handle, const directory *parent,
                                            const char *name, directory **created);

/** @} */

/* --------------------------------------------------------------------------------- Dropbox --- */

/** @defgroup dropbox Dropbox
 *  @{ */

/**
 * The address of the web page on which a user grants access to a Dropbox account. No network
 * traffic.
 *
 * @param handle  A Dropbox session.
 * @param url     Receives the address. Cleared after the argument check.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Dropbox.
 *
 * Does not block.
 */
LIBVEMLO_API int dropbox_get_authorize_url(session *handle, char **url);

/**
 * Exchanges the authorization code, which the service passes to the redirect page, for tokens. On
 * success the session is authorized without a call of dropbox_set_token(). The session also keeps a
 * refresh token, which is not handed out: a session that is authorized with the access token later
 * works until that token expires, after some hours. If the bundled service-client layer was built
 * with VEMLO_DROPBOX_DURABLE_TOKEN, the text handed out contains both tokens and does not expire
 * with the access token, but the host cannot use it in requests of its own.
 *
 * @param handle        A Dropbox session.
 * @param code          The authorization code, percent-decoded. Valid for one exchange.
 * @param access_token  Receives the access token. Cleared before the request.
 * @return 0: done; release with free().
 *         -1: an argument is null, or the session is not one of Dropbox.
 *         343: the exchange failed. One ERROR line, which contains the code in clear text.
 *
 * Not while another call on the session runs. Blocks for one request.
 */
LIBVEMLO_API int dropbox_get_token(session *handle, const char *code, char **access_token);

/**
 * Authorizes a session with an access token stored earlier. It is not checked: an invalid token
 * causes the next call to fail. A refresh token that the session holds is kept.
 *
 * @param handle        A Dropbox session.
 * @param access_token  The access token.
 * @return 0: done.
 *         -1: an argument is null, or the session is not one of Dropbox.
 *
 * Not while another call on the session runs. Does not block.
 */
LIBVEMLO_API int dropbox_set_token(session *handle, const char *access_token);

/**
 * Lists the folders directly below a folder, in the service's order. The root folder's id is "/".
 *
 * The bundled service-client layer returns a folder as one page, whatever the number of pages of
 * the service. With a layer that returns single pages, a folder of several pages cannot be listed:
 * the last page is requested again until a request fails, and that failure is the result.
 *
 * @param handle    An authorized Dropbox session.
 * @param parent    The folder, identified by its `id`, which must not be null.
 * @param children  Receives the records. Cleared before the first request.
 * @param count     Receives their number. Cleared before the first request.
 * @return 0: done; release with free_diretories(), or with free() if the count is 0.
 *         -1: an argument or the parent's id is null, or the session is not one of Dropbox.
 *         1: a request failed. One ERROR line, no partial list.
 *
 * Blocks for one request per page of the service.
 */
LIBVEMLO_API int dropbox_list_directory(session *handle, const directory *parent,
                                        directory **children, int *count);

/**
 * Creates a folder at the path that consists of the parent's id, a slash and the name. Below the
 * root folder that is "//name"; the bundled service-client layer sends one slash, as the service
 * rejects two.
 *
 * @param handle   An authorized Dropbox session.
 * @param parent   The parent folder, identified by its `id`, which must not be null.
 * @param name     The new folder's name.
 * @param created  Receives the record, with the name that the service reports. Cleared before the
 *                 request.
 * @return 0: done; release with free_directory().
 *         -1: an argument or the parent's id is null, or the session is not one of Dropbox.
 *         1: a request failed. One ERROR line.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int dropbox_create_directory(session *handle, const directory *parent,
                                          const char *name, directory **created);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* LIBVEMLO_H */
