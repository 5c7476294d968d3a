#pragma once

#include "support/attempt_fixture.h"  // the former name of the file
