#pragma once

#include <string_view>

/// Called with each input of a fuzz target, which defines it. Aborts if the code under test breaks
/// a promise.
void checkInput(std::string_view input);
