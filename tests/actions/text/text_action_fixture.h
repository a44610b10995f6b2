// Shared set-up of the text-file action tests: a temporary directory, the
// recording host and property setters by name.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

class TextActionTest : public ActionTest {
 protected:
};

}  // namespace brivant::testing
