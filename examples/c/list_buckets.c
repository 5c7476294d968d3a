#include <libvemlo.h>
#include <stdio.h>

int main(int argc, char **argv) {
  if (argc != 4) return 2;
  libvemlo_global_init();
  session *s3 = libvemlo_s3_init(argv[1], "", argv[2], argv[3], NULL);

  char **buckets = NULL;
  int count = 0;
  int failure = s3_list_bucket(s3, &buckets, &count);
  for (int i = 0; i < count; ++i) puts(buckets[i]);
  free_buckets(buckets, count);

  libvemlo_s3_cleanup(s3);
  libvemlo_global_cleanup();
  return failure == 0 ? 0 : 1;
}
