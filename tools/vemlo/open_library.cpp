#include "open_library.h"

#include <glog/logging.h>

#include <utility>

#include "terminal.h"

namespace tool {
namespace {

bool showsLog = false;

/// The only level at which the library logs more than failures.
constexpr int kAllSteps = 9;

/// The library directs the log to standard error, in colour even if that is a file.
void directLog() {
  FLAGS_colorlogtostderr = showsColours();
  if (showsLog) return;
  FLAGS_logtostderr = false;
  FLAGS_stderrthreshold = google::NUM_SEVERITIES;
  // Otherwise the lines would be written to files.
  for (int severity = 0; severity < google::NUM_SEVERITIES; ++severity) {
    google::SetLogDestination(severity, "");
  }
}

}  // namespace

bool isVerbose() { return showsLog; }

void setVerbose(bool isVerbose) { showsLog = isVerbose; }

OpenLibrary::OpenLibrary()
    : library_([this] {
        vemlo::Settings settings;
        settings.verbosity = showsLog ? kAllSteps : 0;
        settings.tokensRenewed = [this](const vemlo::RenewedTokens& tokens) {
          if (renewed_) renewed_(tokens);
        };
        return settings;
      }()) {
  directLog();
}

void OpenLibrary::onRenewedTokens(std::function<void(const vemlo::RenewedTokens&)> function) {
  renewed_ = std::move(function);
}

}  // namespace tool
