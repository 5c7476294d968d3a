#pragma once

#include "support/amazon_drive_fixture.h"  // the former name of the file
