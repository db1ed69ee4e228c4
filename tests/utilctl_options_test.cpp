// utilctl options and product, as their users run them.
#include "tests/program_testing.h"

namespace {

class UtilctlOptions : public ProgramTest {
 protected:
  UtilctlOptions() : ProgramTest(UTILCTL_PROGRAM) {}
};

TEST_F(UtilctlOptions, x) {}

}  // namespace
