#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "Http/CurlTransport.h"
#include "Util/BodyBuffer.h"
#include "Util/Json.h"
#include "Util/Xml.h"
#include "support/loopback_server.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Json = CloudStorage::Util::Json;
namespace Xml = CloudStorage::Util::Xml;
using CloudStorage::Util::giveBackBodyBuffer;
using CloudStorage::Util::takeBodyBuffer;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;

constexpr std::size_t kUsual = 100'000;
constexpr std::size_t kLargest = std::size_t{1024} * 1024;  // that a thread keeps
constexpr std::size_t kHuge = kLargest + 1;

/// Runs `work` in a thread that has kept nothing yet.
template <typename Work>
void inNewThread(const Work& work) {
  std::thread(work).join();
}

std::string bodyOf(std::size_t size) {
  std::string body = takeBodyBuffer(size);
  body.append(size, 'x');
  return body;
}

TEST(BodyBuffer, IsEmptyAndHasRoom) {
  inNewThread([] {
    for (const std::size_t size : {std::size_t{0}, kUsual, kHuge}) {
      const std::string buffer = takeBodyBuffer(size);
      EXPECT_TRUE(buffer.empty()) << size;
      EXPECT_GE(buffer.capacity(), size);
    }
  });
}

TEST(BodyBuffer, GoesFromOneBodyToTheNext) {
  inNewThread([] {
    std::string first = bodyOf(kUsual);
    const char* const place = first.data();
    giveBackBodyBuffer(std::move(first));
    const std::string second = takeBodyBuffer(kUsual / 2);
    EXPECT_EQ(second.data(), place);
    EXPECT_TRUE(second.empty());
  });
}

TEST(BodyBuffer, IsOnlyOnesAtATime) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kUsual));
    const std::string first = bodyOf(kUsual);
    const std::string second = bodyOf(kUsual);
    EXPECT_NE(first.data(), second.data());
  });
}

TEST(BodyBuffer, TheLargerOneIsKept) {
  inNewThread([] {
    std::string small = bodyOf(kUsual / 2);
    std::string large = bodyOf(kUsual);
    giveBackBodyBuffer(std::move(large));
    giveBackBodyBuffer(std::move(small));
    EXPECT_GE(takeBodyBuffer(0).capacity(), kUsual);
  });
}

TEST(BodyBuffer, HasNoMoreRoomThanIsAskedForAfterASmallerOne) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kUsual));
    EXPECT_LT(takeBodyBuffer(kUsual + 1000).capacity(), 2 * kUsual);
  });
}

TEST(BodyBuffer, NoThreadKeepsAHugeOne) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kLargest));
    EXPECT_GE(takeBodyBuffer(0).capacity(), kLargest);
    giveBackBodyBuffer(bodyOf(kHuge));
    EXPECT_LT(takeBodyBuffer(0).capacity(), kHuge);
  });
}

TEST(BodyBuffer, EachThreadHasItsOwn) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kUsual));
    inNewThread([] { EXPECT_LT(takeBodyBuffer(0).capacity(), kUsual); });
    EXPECT_GE(takeBodyBuffer(0).capacity(), kUsual);
  });
}

/// Uses a buffer when its thread throws away what it kept.
struct UsesABufferAtTheEnd {
  ~UsesABufferAtTheEnd() {
    std::string body = bodyOf(kUsual);
    EXPECT_EQ(body.size(), kUsual);
    giveBackBodyBuffer(std::move(body));
  }
};

/// What a thread that had only `page` would see if another body came while `view` is in use.
template <typename Page>
void expectUntouchedWhileInUse(std::shared_ptr<Page> page, std::string_view view) {
  const std::string before(view);
  std::string other = takeBodyBuffer(0);
  other.assign(other.capacity(), '!');
  EXPECT_EQ(view, before);

  const void* const place = view.data();
  page.reset();
  const std::string next = takeBodyBuffer(0);
  EXPECT_GE(next.capacity(), kUsual);
  EXPECT_LE(static_cast<const void*>(next.data()), place);
  EXPECT_GT(static_cast<const void*>(next.data() + next.capacity()), place);
}

TEST(BodyBuffer, JsonIsHandedOnWhenNobodyReadsItAnyMore) {
  inNewThread([] {
    auto page =
        std::make_shared<Json::Page>(R"({"name":"some text","rest":")" + bodyOf(kUsual) + "\"}");
    std::string_view text;
    for (Json::Member member : page->root()) {
      if (Json::keyOf(member) == "name") Json::read(member, text);
    }
    page->finish();
    ASSERT_EQ(text, "some text");
    expectUntouchedWhileInUse(std::move(page), text);
  });
}

TEST(BodyBuffer, XmlIsHandedOnWhenNobodyReadsItAnyMore) {
  inNewThread([] {
    auto page = std::make_unique<Xml::Page>("<a><b>some text</b><c>" + bodyOf(kUsual) + "</c></a>");
    ASSERT_TRUE(page->status().isSuccess());
    const std::string_view text = page->text(Xml::child(page->root(), "b"));
    ASSERT_EQ(text, "some text");
    auto storage = page->storage();
    page.reset();
    expectUntouchedWhileInUse(std::move(storage), text);
  });
}

TEST(BodyBuffer, TakesWhatIsReceived) {
  const auto body = std::string(kUsual, 'x');
  LoopbackServer server(alwaysSend(httpResponse("200 OK", body)));
  inNewThread([&server, &body] {
    Http::CurlTransport transport({});
    auto response = transport.send(server.request(Http::Method::Get, "/"));
    EXPECT_EQ(response.body, body);
    const char* const place = response.body.data();
    giveBackBodyBuffer(std::move(response.body));
    const auto next = transport.send(server.request(Http::Method::Get, "/"));
    EXPECT_EQ(next.body, body);
    EXPECT_EQ(next.body.data(), place);
    const auto another = transport.send(server.request(Http::Method::Get, "/"));
    EXPECT_NE(another.body.data(), place);
  });
}

TEST(BodyBuffer, CanBeUsedWhileTheThreadEnds) {
  inNewThread([] {
    thread_local UsesABufferAtTheEnd late;  // made first, so thrown away last
    (void)late;
    giveBackBodyBuffer(bodyOf(kUsual));
  });
}

}  // namespace
