/* Prints the tables of locations, a line for each entry. Hosts store the codes in them. */
#include <libvemlo.h>
#include <stdio.h>

enum { kEndOfTable = 17 };

static void print(const char *name, const location_contraint_name_mapping *entry) {
  for (;; ++entry) {
    printf("%s %d %s\n", name, (int)entry->location_contraint,
           entry->name == NULL ? "(none)" : entry->name);
    if (entry->location_contraint == kEndOfTable) return;
  }
}

int main(void) {
  print("s3", s3_get_location_contraint_name_mappings());
  print("s3_cn", s3_cn_get_location_contraint_name_mappings());
  print("wasabi", wasabi_get_location_contraint_name_mappings());
  print("customized", customized_get_location_contraint_name_mappings());
  return 0;
}
