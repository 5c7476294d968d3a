#pragma once

#include "support/dropbox_fixture.h"  // the former name of the file
