#include "ostra/object/interface_reference.h"

#include <gmock/gmock.h>

#include <array>

#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

constexpr Id kLamps = "com.example.interface.lamps"_id;

Int g_brightness = 0;
Result<Int> GetBrightness(Int lamp) { return lamp + g_brightness; }
void SetBrightness(Int brightness) { g_brightness = brightness; }

const std::array kFunctions = {MakeHostFunction<&SetBrightness>("SetBrightness"),
                               MakeHostFunction<&GetBrightness>("GetBrightness")};

struct Lamps {
  HostMethod<Result<Int>(Int)> get{"GetBrightness"};
  HostMethod<void(Int)> set{"SetBrightness"};
  std::array<HostMethodBase*, 2> methods{&get, &set};
  InterfaceReference reference{kLamps, methods};
};

TEST(InterfaceReferenceTest, AResolvedReferenceCallsTheFunctionsByName) {
  ASSERT_THAT(HostInterfaces::Publish(kLamps, kFunctions), IsOk());
  Lamps lamps;
  EXPECT_FALSE(lamps.reference.IsResolved());
  EXPECT_TRUE(HostInterfaces::Resolve(lamps.reference));
  EXPECT_TRUE(lamps.reference.IsResolved());
  lamps.set(40);
  EXPECT_EQ(*lamps.get(2), 42);
  EXPECT_TRUE(HostInterfaces::Withdraw(kLamps));
}

TEST(InterfaceReferenceTest, ACallThroughAnUnresolvedReferenceIsReportedAndGivesTheNullResult) {
  DiagnosticRecorder recorder;
  Lamps lamps;
  EXPECT_FALSE(HostInterfaces::Resolve(lamps.reference));
  g_brightness = 7;
  lamps.set(40);
  EXPECT_EQ(g_brightness, 7);
  EXPECT_THAT(recorder.GetLines(),
              ElementsAre("Method invocation of unresolvable interface", "com.example.interface.lamps", "Stop"));
  EXPECT_THAT(lamps.get(2), IsErrorWith(kIllegalStateError, "Method invocation of unresolvable interface"));
  EXPECT_EQ(recorder.GetLines().size(), 6U);
}

TEST(InterfaceReferenceTest, MethodsWithoutAResultGiveZero) {
  DiagnosticRecorder recorder;
  const HostMethod<Int()> count("Count");
  EXPECT_EQ(count(), 0);
  const HostMethod<Bool()> isOn("IsOn");
  EXPECT_FALSE(isOn());
  // These methods were not told which interface they belong to: their own names are all there is.
  EXPECT_THAT(recorder.GetLines(), ElementsAre("Method invocation of unresolvable interface", "Count", "Stop",
                                               "Method invocation of unresolvable interface", "IsOn", "Stop"));
}

TEST(InterfaceReferenceTest, OneMissingMethodLeavesTheWholeReferenceUnresolved) {
  DiagnosticRecorder recorder;
  ASSERT_THAT(HostInterfaces::Publish(kLamps, std::span(kFunctions).first(1)), IsOk());
  Lamps lamps;
  EXPECT_FALSE(HostInterfaces::Resolve(lamps.reference));
  EXPECT_FALSE(lamps.set.IsResolved());
  EXPECT_TRUE(HostInterfaces::Withdraw(kLamps));
}

TEST(InterfaceReferenceTest, AMethodOfAnotherTypeIsNotTheMethod) {
  ASSERT_THAT(HostInterfaces::Publish(kLamps, kFunctions), IsOk());
  HostMethod<void(Int32)> set("SetBrightness");
  const std::array<HostMethodBase*, 1> methods{&set};
  InterfaceReference reference{kLamps, methods};
  EXPECT_FALSE(HostInterfaces::Resolve(reference));
  EXPECT_TRUE(HostInterfaces::Withdraw(kLamps));
}

TEST(InterfaceReferenceTest, AnInterfaceIsPublishedOnce) {
  ASSERT_THAT(HostInterfaces::Publish(kLamps, kFunctions), IsOk());
  EXPECT_THAT(HostInterfaces::Publish(kLamps, kFunctions), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_TRUE(HostInterfaces::Withdraw(kLamps));
  EXPECT_FALSE(HostInterfaces::Withdraw(kLamps));
}

TEST(NullReturnErrorTest, EveryReasonHasAReadyMadeErrorThatAllocatesNothing) {
  const Int before = AllocationFaults::GetCount();
  EXPECT_EQ(PrivateGetNullReturnError(NullReturnReason::UnresolvedInterface).GetKind(), kIllegalStateError);
  EXPECT_EQ(PrivateGetNullReturnError(NullReturnReason::OutOfMemory).GetKind(), kOutOfMemoryError);
  EXPECT_EQ(PrivateGetNullReturnError(NullReturnReason::NotImplemented).GetKind(), kNotImplementedError);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(NullReturnErrorTest, AnUnknownReasonIsReported) {
  DiagnosticRecorder recorder;
  EXPECT_EQ(PrivateGetNullReturnError(static_cast<NullReturnReason>(77)).GetKind(), kIllegalStateError);
  EXPECT_THAT(recorder.GetLines(), ElementsAre("Stop: reason not supported by PrivateGetNullReturnError."));
}

}  // namespace
}  // namespace ostra
