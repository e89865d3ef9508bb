#include "ostra/config/configuration_table.h"

#include <gmock/gmock.h>

#include "ostra/core/memory.h"
#include "ostra/core/result.h"

namespace ostra {
namespace {

TEST(ConfigurationTableTest, EntriesKeepTheOrderOfRegistrationAndGiveTheVariablesTheirDefaults) {
  static constinit ConfigurationTable table;
  Bool first = false;
  Bool second = true;
  EXPECT_TRUE(table.Register("first", first, true, ConfigKind::Bool, "the first"_s));
  EXPECT_FALSE(table.Register("second", second, false, ConfigKind::CrashHandlerFlag, String()));
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
  ASSERT_EQ(table.GetCount(), 2);
  const auto entries = table.GetEntries();
  EXPECT_STREQ(entries[0].name, "first");
  EXPECT_EQ(entries[0].help, "the first");
  EXPECT_EQ(static_cast<Int32>(entries[0].kind), 1);
  EXPECT_EQ(entries[0].variable, &first);
  EXPECT_EQ(static_cast<Int32>(entries[0].state), 0);
  EXPECT_STREQ(entries[1].name, "second");
  EXPECT_EQ(entries[1].help, "");
  EXPECT_EQ(static_cast<Int32>(entries[1].kind), 5);
}

TEST(ConfigurationTableTest, The257thRegistrationOnlyGetsItsDefault) {
  static constinit ConfigurationTable table;
  static Bool variables[257] = {};
  for (int i = 0; i < 256; ++i) table.Register("many", variables[i], false, ConfigKind::Bool, String());
  EXPECT_EQ(table.GetCount(), 256);
  EXPECT_TRUE(table.Register("late", variables[256], true, ConfigKind::Bool, "too late"_s));
  EXPECT_TRUE(variables[256]);
  EXPECT_EQ(table.GetCount(), 256);
  for (const ConfigurationEntry& entry : table.GetEntries()) EXPECT_STREQ(entry.name, "many");
}

TEST(ConfigurationTableTest, HelpTextsAreReleasedWithoutTheEntries) {
  static constinit ConfigurationTable table;
  Bool variable = false;
  const Int before = AllocationFaults::GetLiveCount();
  {
    auto help = String::Create("a text of its own");
    ASSERT_TRUE(help);
    table.Register("variable", variable, false, ConfigKind::Bool, *help);
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before + 1);
  table.DropHelp();
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
  EXPECT_EQ(table.GetCount(), 1);
}

TEST(ConfigurationTableTest, AVariableIsTakenBackFromAnyPlace) {
  static constinit ConfigurationTable table;
  Bool variables[3] = {};
  const char* names[] = {"first", "second", "third"};
  for (int i = 0; i < 3; ++i) table.Register(names[i], variables[i], false, ConfigKind::Bool, "help"_s);
  table.Remove(variables[0]);
  ASSERT_EQ(table.GetCount(), 2);
  EXPECT_STREQ(table.GetEntries()[0].name, "second");
  EXPECT_EQ(table.GetEntries()[1].variable, &variables[2]);
  table.Remove(variables[0]);  // it is not there any more
  EXPECT_EQ(table.GetCount(), 2);
  table.Remove(variables[2]);
  table.Remove(variables[1]);
  EXPECT_EQ(table.GetCount(), 0);
  // The place it had is as good as new.
  table.Register("again", variables[0], true, ConfigKind::Bool, String());
  EXPECT_EQ(table.GetEntries()[0].state, ConfigState::Default);
}

}  // namespace
}  // namespace ostra
