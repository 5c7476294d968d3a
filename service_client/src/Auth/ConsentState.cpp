#include "Auth/ConsentState.h"

#include <utility>

namespace CloudStorage::Auth {
namespace {

thread_local std::string nextState;

}  // namespace

void ConsentState::set(std::string state) { nextState = std::move(state); }

std::string ConsentState::take() { return std::exchange(nextState, {}); }

}  // namespace CloudStorage::Auth
