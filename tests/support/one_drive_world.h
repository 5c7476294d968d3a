#pragma once

#include "support/one_drive_fixture.h"  // the former name of the file
