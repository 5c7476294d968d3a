#pragma once

#include "support/s3_fixture.h"  // the former name of the file
