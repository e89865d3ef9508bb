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
  table.RemoveLast();
  EXPECT_EQ(table.GetCount(), 0);
  table.RemoveLast();
  EXPECT_EQ(table.GetCount(), 0);
}

}  // namespace
}  // namespace ostra
