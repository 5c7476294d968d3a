/* Prints the TLS library that libcurl uses. */
#include <curl/curl.h>
#include <stdio.h>

int main(void) {
  const char *library = curl_version_info(CURLVERSION_NOW)->ssl_version;
  return library == NULL || puts(library) == EOF;
}
