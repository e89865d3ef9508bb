#include "ostra/object/class.h"

#include <gmock/gmock.h>

#include "tests/object/plugins/counter.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

using testing::ElementsAre;

Int g_living = 0;

class NamedInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "com.example.interface.named"_id;
  virtual std::string_view GetName() const = 0;
};

class Step final : public Component<Step, CounterInterface, NamedInterface> {
 public:
  static constexpr const char* kComponentName = "com.example.step";
  Step() { ++g_living; }
  ~Step() override { --g_living; }
  Int Next() override { return _count += 2; }
  std::string_view GetName() const override { return "step"; }

 private:
  Int _count = 0;
};

ClassRef MakeStepClass() {
  auto made = Class::Create<Step>("com.example.step"_id);
  EXPECT_THAT(made, IsOk());
  return *made;
}

TEST(ClassTest, EveryObjectIsFreshAndDiesWithItsLastReference) {
  const ClassRef stepClass = MakeStepClass();
  {
    auto first = stepClass->CreateObject<CounterInterface>();
    auto second = stepClass->CreateObject<CounterInterface>();
    ASSERT_THAT(first, IsOk());
    ASSERT_THAT(second, IsOk());
    const StrongRef<CounterInterface> shared = *first;
    EXPECT_EQ((*first)->Next(), 2);
    EXPECT_EQ(shared->Next(), 4);
    EXPECT_EQ((*second)->Next(), 2);
    EXPECT_EQ(&(*first)->GetClass(), stepClass.GetPointer());
    EXPECT_EQ(g_living, 2);
  }
  EXPECT_EQ(g_living, 0);
}

TEST(ClassTest, AnObjectHoldsItsClass) {
  auto object = MakeStepClass()->CreateObject<CounterInterface>();
  ASSERT_THAT(object, IsOk());
  const Class& stepClass = (*object)->GetClass();
  EXPECT_EQ(stepClass.GetId(), "com.example.step"_id);
  EXPECT_THAT(stepClass.CreateObject<CounterInterface>(), IsOk());
}

TEST(ClassTest, InterfacesOfAnObjectAreFoundById) {
  auto named = MakeStepClass()->CreateObject<NamedInterface>();
  ASSERT_THAT(named, IsOk());
  EXPECT_EQ((*named)->GetName(), "step");
  auto* counter = FindInterface<CounterInterface>(**named);
  ASSERT_TRUE(counter);
  EXPECT_EQ(counter->Next(), 2);
  EXPECT_FALSE((*named)->FindInterface("com.example.interface.absent"_id));
}

class AbsentInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "com.example.interface.absent"_id;
};

TEST(ClassTest, AskingForAnInterfaceTheClassLacksIsAnErrorAndLeavesNoObject) {
  EXPECT_THAT(MakeStepClass()->CreateObject<AbsentInterface>(),
              IsErrorWith(kIllegalArgumentError,
                          "The class \"com.example.step\" does not have the interface "
                          "\"com.example.interface.absent\"."));
  EXPECT_EQ(g_living, 0);
}

TEST(ClassTest, ACopyOfAClassWithoutCopyingIsReportedAsNotImplemented) {
  DiagnosticRecorder recorder;
  const ClassRef stepClass = MakeStepClass();
  auto object = stepClass->CreateObject<CounterInterface>();
  ASSERT_THAT(object, IsOk());
  constexpr const char* kText = "Component com.example.step has members, but CopyFrom is not implemented!";
  EXPECT_THAT((*object)->CopyFrom(**object), IsErrorWith(kNotImplementedError, kText));
  EXPECT_THAT(recorder.GetLines(), ElementsAre(kText));
}

TEST(ClassTest, ObjectsAndClassesReportExhaustedMemory) {
  const ClassRef stepClass = MakeStepClass();
  AllocationFaults::FailNth(1);
  EXPECT_THAT(stepClass->CreateObject<CounterInterface>(), IsErrorOfKind(kOutOfMemoryError));
  AllocationFaults::FailNth(1);
  EXPECT_THAT(Class::Create<Step>("com.example.step"_id), IsErrorOfKind(kOutOfMemoryError));
  AllocationFaults::FailNth(2);
  EXPECT_THAT(Class::Create<Step>("com.example.step"_id), IsErrorOfKind(kOutOfMemoryError));
  AllocationFaults::Disable();
}

TEST(ClassRegistryTest, EntriesAreFoundUntilTheyAreErased) {
  ClassRegistry& registry = ClassRegistry::GetClasses();
  const ClassRef stepClass = MakeStepClass();
  ASSERT_THAT(registry.Insert(stepClass), IsOk());
  EXPECT_THAT(registry.Insert(stepClass),
              IsErrorWith(kIllegalArgumentError,
                          "The registry \"net.ostra.registry.classes\" already has an entry \"com.example.step\"."));
  EXPECT_THAT(CreateObject<CounterInterface>("com.example.step"_id), IsOk());
  EXPECT_TRUE(registry.Erase("com.example.step"_id));
  EXPECT_FALSE(registry.Erase("com.example.step"_id));
  EXPECT_THAT(registry.FindEntryValue("com.example.step"_id),
              IsErrorWith(kIllegalArgumentError,
                          "The registry \"net.ostra.registry.classes\" has no entry \"com.example.step\"."));
}

TEST(ClassRegistryTest, AnUnknownIdComesWithTheNearestOne) {
  ClassRegistry& registry = ClassRegistry::GetClasses();
  ASSERT_THAT(registry.Insert(MakeStepClass()), IsOk());
  EXPECT_THAT(CreateObject<CounterInterface>("com.example.stpe"_id),
              IsErrorWith(kIllegalArgumentError,
                          "The registry \"net.ostra.registry.classes\" has no entry \"com.example.stpe\"; did you mean "
                          "\"com.example.step\"?"));
  EXPECT_TRUE(registry.Erase("com.example.step"_id));
  EXPECT_THAT(CreateObject<CounterInterface>("net.ostra.drawportmisc.cpuprogram"_id),
              IsErrorWith(kIllegalArgumentError,
                          "The registry \"net.ostra.registry.classes\" has no entry "
                          "\"net.ostra.drawportmisc.cpuprogram\": the module that has this class is not loaded."));
}

TEST(ClassRegistryTest, ARegistryIsThereAsLongAsItIsDeclaredAndKeepsItsEntries) {
  constexpr Id kRegistry = "com.example.registry.steps"_id;
  EXPECT_THAT(
      ClassRegistry::Find(kRegistry),
      IsErrorWith(kIllegalArgumentError,
                  "There is no registry \"com.example.registry.steps\": no module that is loaded declares it."));
  ASSERT_THAT(ClassRegistry::Declare(kRegistry), IsOk());
  ASSERT_THAT(ClassRegistry::Declare(kRegistry), IsOk());
  ASSERT_THAT(ClassRegistry::Find(kRegistry)->Insert(MakeStepClass()), IsOk());
  ClassRegistry::Withdraw(kRegistry);
  ASSERT_THAT(ClassRegistry::Find(kRegistry), IsOk());
  ClassRegistry::Withdraw(kRegistry);
  EXPECT_FALSE(ClassRegistry::Find(kRegistry));
  ASSERT_THAT(ClassRegistry::Declare(kRegistry), IsOk());
  auto ids = ClassRegistry::Find(kRegistry)->GetIds();
  ASSERT_THAT(ids, IsOk());
  EXPECT_THAT(GetTexts(*ids), ElementsAre("com.example.step"));
  EXPECT_TRUE(ClassRegistry::Find(kRegistry)->Erase("com.example.step"_id));
  ClassRegistry::Withdraw(kRegistry);
}

}  // namespace
}  // namespace ostra
