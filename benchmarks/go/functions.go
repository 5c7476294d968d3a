package main

// #cgo pkg-config: libvemlo
// #include <libvemlo.h>
// #include <stdlib.h>
//
// static int list_s3(session *handle, char *bucket) {
//   directory *folders = NULL;
//   int count = 0;
//   if (s3_list_directory(handle, bucket, "", &folders, &count) != 0) return -1;
//   free_diretories(folders, count);
//   return count;
// }
//
// static int list_google_drive(session *handle, char *id) {
//   directory parent = {NULL, id};
//   directory *folders = NULL;
//   int count = 0;
//   if (google_drive_list_directory(handle, &parent, &folders, &count) != 0) return -1;
//   free_diretories(folders, count);
//   return count;
// }
//
// static session *open_google_drive(char *host, uint16_t port) {
//   proxy_setting proxy = {host, port, NULL, NULL};
//   session *handle = libvemlo_google_drive_init(&proxy);
//   google_drive_set_token(handle, "access", "refresh");
//   return handle;
// }
import "C"

import "vemlo"

// listS3ByC lists with the C functions alone, and returns the number of folders.
func listS3ByC(endpoint, bucket string) func() int {
	key := C.CString("key")
	session := C.libvemlo_s3_init(C.CString(endpoint), C.CString(""), key, key, nil)
	name := C.CString(bucket)
	return func() int { return int(C.list_s3(session, name)) }
}

func listGoogleDriveByC(proxy vemlo.Proxy, id string) func() int {
	session := C.open_google_drive(C.CString(proxy.Host), C.uint16_t(proxy.Port))
	name := C.CString(id)
	return func() int { return int(C.list_google_drive(session, name)) }
}
