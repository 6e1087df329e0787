#include "host.h"
#include <gtest/gtest.h>
