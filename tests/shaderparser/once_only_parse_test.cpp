// Init runs once, from whatever thread, and again after a failure.
#include <atomic>
#include <filesystem>
#include <thread>

#include "tests/shaderparser/parser_fixture.h"

namespace ostra::test {
namespace {

class OnceOnlyParseTest : public ParserTest {
 protected:
  // Calls `call` on many threads at the same time.
  template <class Call>
  static void CallOnThreads(Call&& call) {
    constexpr int kThreads = 8;
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        --waiting;
        while (waiting > 0) std::this_thread::yield();
        call(i);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
};

constexpr std::string_view kSource = "inline f()\n{\n}\nFP_KERNEL(K)\na;\nFP_KERNEL_END\n";

TEST_F(OnceOnlyParseTest, ASecondCallChangesNothing) {
  const ParserRef parser = Parse(kSource);
  const char* const code = parser->GetKernelCode().GetCString();
  Write("k.krn", "");
  EXPECT_THAT(Init(*parser, "k.krn"), IsOk());
  Write("other.krn", "GROUPSIZE\n");
  EXPECT_THAT(Init(*parser, "other.krn", {.multisampling = 4}), IsOk());
  EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(parser->GetKernelCode().GetCString(), code);
}

TEST_F(OnceOnlyParseTest, AParsedFileMustStillBeThere) {
  const ParserRef parser = Parse(kSource);
  std::filesystem::remove(GetPath("k.krn"));
  EXPECT_THAT(Init(*parser, "k.krn"),
              IsErrorWith(kIllegalArgumentError,
                          "Illegal argument: Condition file.IoDetect() == IODETECT::FILE not fulfilled."));
  EXPECT_EQ(ToText(parser->GetKernelCode()), "a;");
  Write("k.krn", "");
  EXPECT_THAT(Init(*parser, "k.krn"), IsOk());
  EXPECT_EQ(ToText(parser->GetKernelCode()), "a;");
}

TEST_F(OnceOnlyParseTest, AFailedParseIsRetriedAndAppendsToWhatItLeft) {
  Write("k.krn", "inline f()\n{\n}\nGROUPSIZE\n");
  const ParserRef parser = MakeParser(kTargetGlsl);
  EXPECT_THAT(Init(*parser, "k.krn"), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Init(*parser, "k.krn"), IsErrorOfKind(kIllegalArgumentError));
  Write("k.krn", kSource);
  EXPECT_THAT(Init(*parser, "k.krn"), IsOk());
  EXPECT_EQ(parser->GetFunctions().GetCount(), 3);
  EXPECT_EQ(ToText(parser->GetKernelCode()), "a;");
}

TEST_F(OnceOnlyParseTest, ManyThreadsParseOnce) {
  std::string source(kSource);
  for (int i = 0; i < 2000; ++i) source += "inline f()\n{\nx = Sqrt(y);\n}\n";
  Write("k.krn", source);
  for (int round = 0; round < 10; ++round) {
    const ParserRef parser = MakeParser(kTargetGlsl);
    std::atomic<int> good{0};
    CallOnThreads([&](int) {
      if (Init(*parser, "k.krn").IsOk() && parser->GetFunctions().GetCount() == 2001 &&
          parser->GetKernelCode().GetView() == "a;")
        ++good;
    });
    EXPECT_EQ(good, 8);
  }
}

TEST_F(OnceOnlyParseTest, OfManyThreadsTheNextOneRetries) {
  Write("good.krn", kSource);
  Write("bad.krn", "inline f()\n{\n}\nGROUPSIZE\n");
  for (int round = 0; round < 50; ++round) {
    const ParserRef parser = MakeParser(kTargetGlsl);
    std::atomic<int> failures{0}, good{0};
    CallOnThreads([&](int i) {
      const auto result = Init(*parser, i < 4 ? "bad.krn" : "good.krn");
      if (result.IsOk())
        ++good;
      else if (i < 4)
        ++failures;
    });
    // A bad file fails unless a good one was first; each failure left its function behind.
    EXPECT_EQ(good + failures, 8);
    EXPECT_GE(good.load(), 4);
    EXPECT_EQ(parser->GetFunctions().GetCount(), failures + 1);
    EXPECT_EQ(ToText(parser->GetKernelCode()), "a;");
  }
}

TEST_F(OnceOnlyParseTest, ParsersAreCounted) {
  ParserRef parser = MakeParser(kTargetMetal);
  EXPECT_TRUE(parser->IsUnique());
  const ParserRef other = parser;
  EXPECT_FALSE(parser->IsUnique());
  parser = nullptr;
  EXPECT_EQ(other->GetTargetLanguage(), kTargetMetal);
}

}  // namespace
}  // namespace ostra::test
