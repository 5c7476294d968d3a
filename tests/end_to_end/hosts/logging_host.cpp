// A host program that uses the same logger as the library and initialises it first.
//
//   logging_host ENDPOINT
//
// Prints "code N" for a listing that the service refuses.
#include <glog/logging.h>
#include <libvemlo.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  google::InitGoogleLogging(argv[0]);
  FLAGS_logtostderr = true;
  LOG(WARNING) << "before the library";

  libvemlo_global_init();
  session* opened = libvemlo_s3_init(argv[1], "", "nobody", "nothing", nullptr);
  char** buckets = nullptr;
  int count = 0;
  std::printf("code %d\n", s3_list_bucket(opened, &buckets, &count));
  libvemlo_s3_cleanup(opened);
  libvemlo_global_cleanup();

  LOG(WARNING) << "after the library";
  return 0;
}
