// The classes of the host for every test program: most of them have no Host.
#include "ostra/host_classes.h"

#include <gtest/gtest.h>

#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

class HostClasses final : public testing::Environment {
 public:
  void SetUp() override { ASSERT_THAT(_registered, IsOk()); }

 private:
  // Now: lists of noises become tests before the environments are set up.
  const Result<void> _registered = RegisterHostClasses();
};

// GoogleTest owns the environment.
[[maybe_unused]] const testing::Environment* const g_environment = testing::AddGlobalTestEnvironment(new HostClasses);

}  // namespace
}  // namespace ostra
