#include "Http/CurlHandle.h"

#include <algorithm>
#include <chrono>
#include <new>

#include "CloudStorage/Util/Threading/CancellationDeferred.h"
#include "Http/StandardDescriptors.h"

namespace CloudStorage::Http {
namespace {

using Util::Threading::CancellationDeferred;

/// The easy handle's part in the multi handle, which ends with the transfer, however that ends.
class Membership {
 public:
  Membership(CURLM* multi, CURL* easy)
      : multi_(multi), easy_(easy), result_(curl_multi_add_handle(multi, easy)) {}
  ~Membership() { curl_multi_remove_handle(multi_, easy_); }
  Membership(const Membership&) = delete;
  Membership& operator=(const Membership&) = delete;

  CURLMcode result() const { return result_; }

 private:
  CURLM* multi_;
  CURL* easy_;
  CURLMcode result_;
};

/// One wait for the network, which an interrupt ends.
class Wait {
 public:
  explicit Wait(const Request::Interrupt& interrupt)
      : interrupt_(interrupt), event_{interrupt.descriptor, CURL_WAIT_POLLIN, 0} {}

  CURLMcode on(CURLM* multi) {
    const unsigned count = event_.fd < 0 ? 0 : 1;
    return curl_multi_poll(multi, &event_, count, longest(), nullptr);
  }

  bool isInterrupted() const { return event_.revents != 0 || timeLeft() <= timeLeft().zero(); }

 private:
  using Time = std::chrono::milliseconds;

  Time timeLeft() const {
    using Clock = std::chrono::steady_clock;
    if (interrupt_.deadline == Clock::time_point::max()) return Time::max();
    return std::chrono::ceil<Time>(interrupt_.deadline - Clock::now());
  }

  // libcurl shortens it for limits of its own.
  int longest() const {
    constexpr Time kLongest{1000};
    return static_cast<int>(std::clamp(timeLeft(), Time::zero(), kLongest).count());
  }

  const Request::Interrupt& interrupt_;
  curl_waitfd event_;
};

CURLcode codeOf(CURLMcode code) {
  return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT;
}

// The result of the only transfer of `multi`, which has ended.
CURLcode resultOf(CURLM* multi) {
  int remaining = 0;
  const CURLMsg* message = curl_multi_info_read(multi, &remaining);
  return message == nullptr ? CURLE_FAILED_INIT : message->data.result;
}

}  // namespace

CurlHandle::CurlHandle() {
  constexpr long kMaxConnections = 5;
  const CancellationDeferred cancellation;
  occupyStandardDescriptors();
  multi_.reset(curl_multi_init());
  easy_.reset(curl_easy_init());
  if (!multi_ || !easy_) throw std::bad_alloc();
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kMaxConnections);
}

CurlHandle::~CurlHandle() {
  const CancellationDeferred cancellation;
  easy_.reset();
  multi_.reset();
}

CURLcode CurlHandle::perform(const Request::Interrupt& interrupt) {
  isReusable_ = false;
  const CURLcode code = transfer(interrupt);
  isReusable_ = code == CURLE_OK;
  return code;
}

CURLcode CurlHandle::transfer(const Request::Interrupt& interrupt) {
  const CancellationDeferred cancellation;
  // A name lookup cannot be ended. libcurl otherwise waits for it at the end of the transfer.
  if (interrupt.isSet()) curl_easy_setopt(easy_.get(), CURLOPT_QUICK_EXIT, 1L);
  const Membership membership(multi_.get(), easy_.get());
  CURLMcode code = membership.result();
  for (int running = 1; code == CURLM_OK && running != 0;) {
    Wait wait(interrupt);
    code = cancellation.except([&] { return wait.on(multi_.get()); });
    if (wait.isInterrupted()) return CURLE_ABORTED_BY_CALLBACK;
    if (code == CURLM_OK) code = curl_multi_perform(multi_.get(), &running);
  }
  return code == CURLM_OK ? resultOf(multi_.get()) : codeOf(code);
}

void CurlHandle::reset() { curl_easy_reset(easy_.get()); }

}  // namespace CloudStorage::Http
