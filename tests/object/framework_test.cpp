#include "ostra/object/framework.h"

#include <gmock/gmock.h>

#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

TEST(FrameworkTest, AFrameworkIsPublishedOnceAndUntilItIsWithdrawn) {
  EXPECT_FALSE(Frameworks::IsPublished("com.example.framework"_id));
  ASSERT_THAT(Frameworks::Publish("com.example.framework"_id), IsOk());
  EXPECT_TRUE(Frameworks::IsPublished("com.example.framework"_id));
  EXPECT_THAT(Frameworks::Publish("com.example.framework"_id), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_TRUE(Frameworks::Withdraw("com.example.framework"_id));
  EXPECT_FALSE(Frameworks::Withdraw("com.example.framework"_id));
}

TEST(FrameworkTest, TheHostPublishesOneFrameworkPerRoom) {
  ASSERT_THAT(Frameworks::PublishHostFrameworks(), IsOk());
  auto ids = Frameworks::GetIds();
  ASSERT_THAT(ids, IsOk());
  EXPECT_THAT(
      GetTexts(*ids),
      testing::ElementsAre("net.ostra.core.framework", "net.ostra.crypt.framework", "net.ostra.drawport.framework",
                           "net.ostra.drawport_functioncache.framework", "net.ostra.drawport_misc.framework",
                           "net.ostra.image.framework", "net.ostra.math.framework", "net.ostra.network.framework",
                           "net.ostra.performancemonitor.framework"));
  Frameworks::WithdrawHostFrameworks();
  EXPECT_EQ(Frameworks::GetIds()->GetCount(), 0);
}

TEST(FrameworkTest, WhenOneHostFrameworkCannotBePublishedNoneIs) {
  ASSERT_THAT(Frameworks::Publish("net.ostra.image.framework"_id), IsOk());
  EXPECT_THAT(Frameworks::PublishHostFrameworks(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(Frameworks::GetIds()->GetCount(), 1);
  EXPECT_TRUE(Frameworks::Withdraw("net.ostra.image.framework"_id));
}

}  // namespace
}  // namespace ostra
