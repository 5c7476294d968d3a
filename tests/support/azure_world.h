#pragma once

#include "support/azure_fixture.h"  // the former name of the file
