#pragma once

namespace tool {

/// The numbers of docs/error-codes.md that say more than the kind of a failure.
constexpr int kUnknownAccessKey = 12;
constexpr int kSignatureMismatch = 13;
constexpr int kNoBucket = 19;
constexpr int kTakenByAnotherAccount = 20;
constexpr int kBucketOfThisAccount = 21;
constexpr int kTooManyBuckets = 23;
constexpr int kNoLocation = 24;

}  // namespace tool
