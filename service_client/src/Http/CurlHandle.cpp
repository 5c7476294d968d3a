#include "Http/CurlHandle.h"

#include <pthread.h>

#include <new>

#include "Http/StandardDescriptors.h"

namespace CloudStorage::Http {
namespace {

/// Defers the cancellation of the thread.
class CancellationDeferred {
 public:
  CancellationDeferred() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former_); }
  ~CancellationDeferred() { pthread_setcancelstate(former_, nullptr); }
  CancellationDeferred(const CancellationDeferred&) = delete;
  CancellationDeferred& operator=(const CancellationDeferred&) = delete;

  /// Runs `work` as if this object did not exist.
  template <typename Work>
  auto except(const Work& work) const {
    pthread_setcancelstate(former_, nullptr);
    const auto result = work();
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    return result;
  }

 private:
  int former_ = PTHREAD_CANCEL_ENABLE;
};

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

CURLcode CurlHandle::perform() {
  isReusable_ = false;
  const CURLcode code = transfer();
  isReusable_ = code == CURLE_OK;
  return code;
}

CURLcode CurlHandle::transfer() {
  constexpr int kLongestWait = 1000;  // milliseconds; libcurl shortens it for its own limits
  const CancellationDeferred cancellation;
  const Membership membership(multi_.get(), easy_.get());
  CURLMcode code = membership.result();
  for (int running = 1; code == CURLM_OK && running != 0;) {
    code = cancellation.except(
        [&] { return curl_multi_poll(multi_.get(), nullptr, 0, kLongestWait, nullptr); });
    if (code == CURLM_OK) code = curl_multi_perform(multi_.get(), &running);
  }
  return code == CURLM_OK ? resultOf(multi_.get()) : codeOf(code);
}

void CurlHandle::reset() { curl_easy_reset(easy_.get()); }

}  // namespace CloudStorage::Http
