#pragma once

#include "support/google_drive_fixture.h"  // the former name of the file
