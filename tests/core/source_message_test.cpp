#include "ostra/core/source_message.h"

#include <gtest/gtest.h>

#include "ostra/core/format.h"

OSTRA_UNIT("source_message_test");

namespace ostra {
namespace {

TEST(SourceMessageTest, TheTextLeavesOutWhatIsUnknown) {
  EXPECT_EQ(FormatSourceMessage({.text = "no place"}), "error: no place");
  EXPECT_EQ(FormatSourceMessage({.file = "a.krn", .text = "the file"}), "a.krn: error: the file");
  EXPECT_EQ(FormatSourceMessage({.severity = SourceSeverity::kWarning, .file = "a.krn", .line = 3, .text = "x"}),
            "a.krn:3: warning: x");
  EXPECT_EQ(FormatSourceMessage({.file = "a.krn", .column = 5, .text = "x"}), "a.krn: error: x");
}

TEST(SourceMessageTest, ExcerptAndNotesStandOnLinesOfTheirOwn) {
  const SourceMessage message{.file = "a.krn",
                              .line = 3,
                              .column = 5,
                              .text = "unknown name",
                              .excerpt = "  x = cont;\n      ^",
                              .notes = {{.severity = SourceSeverity::kNote, .file = "a.h", .line = 1, .text = "here"}}};
  EXPECT_EQ(FormatSourceMessage(message), "a.krn:3:5: error: unknown name\n  x = cont;\n      ^\na.h:1: note: here");
  const std::vector<SourceMessage> twice{message.notes[0], message.notes[0]};
  EXPECT_EQ(FormatSourceMessages(twice), "a.h:1: note: here\na.h:1: note: here");
}

TEST(SourceMessageTest, AnErrorKeepsTheMessagesThatItsTextWasMadeOf) {
  const std::vector<SourceMessage> messages{{.file = "a.krn", .line = 3, .text = "one"},
                                            {.file = "b.h", .text = "two"}};
  const Error error = MakeSourceError(messages, kOstraUnit, __LINE__);
  EXPECT_EQ(error.GetKind(), kIllegalArgumentError);
  EXPECT_EQ(error.GetMessage(), "a.krn:3: error: one\nb.h: error: two");
  const Error copy = error;
  const auto kept = GetSourceMessages(copy);
  EXPECT_EQ(std::vector<SourceMessage>(kept.begin(), kept.end()), messages);
}

TEST(SourceMessageTest, AnErrorOfATextHasNoMessages) {
  EXPECT_TRUE(GetSourceMessages(OSTRA_ILLEGAL_ARGUMENT("a.krn:3: error: one")).empty());
  EXPECT_TRUE(GetSourceMessages(OSTRA_OUT_OF_MEMORY()).empty());
}

TEST(SourceMessageTest, AnErrorAboutOneLineHasTheKindThatIsAskedFor) {
  const Error error = MakeSourceError("a.krn", 7, "bad", kOstraUnit, __LINE__, kIllegalStateError);
  EXPECT_EQ(error.GetKind(), kIllegalStateError);
  EXPECT_EQ(error.GetMessage(), "a.krn:7: error: bad");
  ASSERT_EQ(GetSourceMessages(error).size(), 1u);
  EXPECT_EQ(GetSourceMessages(error)[0].line, 7);
}

}  // namespace
}  // namespace ostra
