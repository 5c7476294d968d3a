// Lists the buckets of an account: list_buckets ENDPOINT ACCESS-KEY SECRET-KEY
#include <iostream>
#include <libvemlo.hpp>

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  try {
    const vemlo::Library library;
    const vemlo::S3 s3({argv[1], "", argv[2], argv[3]});
    for (const auto bucket : s3.buckets()) std::cout << bucket << '\n';
  } catch (const vemlo::Failure& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
