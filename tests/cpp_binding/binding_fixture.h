#pragma once

#include <gtest/gtest.h>

#include <libvemlo.hpp>
#include <string>
#include <utility>

#include "support/loopback_server.h"

namespace CppBinding {

/// Tests with a store on loopback that runs a script.
class BindingTest : public ::testing::Test {
 protected:
  static vemlo::S3 storeAt(std::uint16_t port) {
    return vemlo::S3({"http://127.0.0.1:" + std::to_string(port), "", "key", "secret"});
  }
  static vemlo::S3 storeOf(const TestSupport::LoopbackServer& server) {
    return storeAt(server.port());
  }

  /// Two buckets.
  static std::string buckets() {
    return TestSupport::httpResponse(
        "200 OK",
        "<ListAllMyBucketsResult><Buckets><Bucket><Name>a</Name></Bucket><Bucket><Name>b</Name>"
        "</Bucket></Buckets></ListAllMyBucketsResult>");
  }

  /// The failure of a call, which must fail.
  template <typename Call>
  static vemlo::Failure failureOf(Call call) {
    try {
      call();
    } catch (const vemlo::Failure& failure) {
      return failure;
    }
    ADD_FAILURE() << "nothing failed";
    return vemlo::Failure("none");
  }

 private:
  vemlo::Library library_;
};

}  // namespace CppBinding
