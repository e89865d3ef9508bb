// ostra encode, ostra decode, and encoded sources wherever the tool reads sources.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "ostra/process/command.h"
#include "tests/support/bytes.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int kFailed = 1, kBadUsage = 2;

std::string MakeKernel(const std::string& expression, const std::string& include = "") {
  return include +
         "#define KERNELINPUTS \\\n(Block<Float32>) values\n\nGROUPSIZE(64, 1, 1)\n\n"
         "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = " +
         expression + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

class EncodeTest : public testing::Test {
 protected:
  std::string Write(std::string_view name, std::string_view contents) { return _folder.Write(name, contents); }
  std::string At(std::string_view name) const { return _folder / name; }
  Bool Exists(std::string_view name) const { return std::filesystem::exists(_folder / name); }

  // Encodes a file in place.
  void Encode(std::string_view name) {
    const ToolResult result = RunTool({"encode", At(name), "-o", At(name)});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    ASSERT_THAT(_folder.Read(name), StartsWith("encoded"));
  }
  ToolResult RunKernel(std::string_view name) {
    return RunTool(
        {"run", At(name), "--in", "values=zeros:1", "--out", "values=" + At("out.csv"), "--cache-dir", At("cache")});
  }
  void ExpectOneLine(const ToolResult& result, int exitStatus, const std::string& part) {
    EXPECT_EQ(result.exitStatus, exitStatus);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("ostra: "));
    EXPECT_THAT(result.errors, HasSubstr(part));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }

  TemporaryFolder _folder;
};

TEST_F(EncodeTest, AFolderThatIsNotThereIsNamed) {
  Write("a.krn", "text");
  for (const char* command : {"encode", "decode"})
    ExpectOneLine(RunTool({command, At("a.krn"), "-o", At("none/a.krn")}), kFailed,
                  At("none/a.krn") + " cannot be written: there is no folder " + At("none") + ".");
}

TEST_F(EncodeTest, AFileComesBackByteForByte) {
  for (const std::size_t size : {0u, 1u, 16u, 1000u, 200000u}) {
    const std::string text = MakeRandomBytes(size, 1);
    Write("a.krn", text);
    const ToolResult encoded = RunTool({"encode", At("a.krn"), "-o", At("a.enc")});
    ASSERT_EQ(encoded.exitStatus, 0) << encoded.errors;
    EXPECT_EQ(encoded.output + encoded.errors, "");
    EXPECT_THAT(_folder.Read("a.enc"), StartsWith("encoded"));
    EXPECT_EQ(_folder.Read("a.krn").size(), size);
    const ToolResult decoded = RunTool({"decode", At("a.enc"), "--output", At("b.krn")});
    ASSERT_EQ(decoded.exitStatus, 0) << decoded.errors;
    EXPECT_EQ(decoded.output + decoded.errors, "");
    EXPECT_TRUE(_folder.Read("b.krn") == text);
  }
}

TEST_F(EncodeTest, TheTextCannotBeReadInTheContainer) {
  Write("a.krn", MakeKernel("1.0"));
  Encode("a.krn");
  EXPECT_THAT(_folder.Read("a.krn"), Not(HasSubstr("KERNEL")));
}

TEST_F(EncodeTest, AnEncodedKernelRunsLikeAPlainOne) {
  Write("test.krn", MakeKernel("2.5"));
  Encode("test.krn");
  const ToolResult result = RunKernel("test.krn");
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(_folder.Read("out.csv"), "2.5\n");
}

TEST_F(EncodeTest, AnEncodedKernelMayHaveEncodedAndPlainHeaders) {
  Write("one.h", "#include \"two.h\"\n#define ONE TWO\n");
  Write("two.h", "#define TWO 7.5\n");
  Write("test.krn", MakeKernel("ONE", "#include \"one.h\"\n"));
  Encode("test.krn");
  Encode("two.h");
  ASSERT_EQ(RunKernel("test.krn").exitStatus, 0);
  EXPECT_EQ(_folder.Read("out.csv"), "7.5\n");
  Encode("one.h");
  ASSERT_EQ(RunKernel("test.krn").exitStatus, 0);
  EXPECT_EQ(_folder.Read("out.csv"), "7.5\n");
}

TEST_F(EncodeTest, MessagesAboutAnEncodedKernelNameItsLinesAndShowNoneOfItsBytes) {
  // Long enough for its container to have a line 8.
  Write("test.krn", MakeKernel("unknownWord") + "// " + std::string(30000, 'x') + "\n");
  const ToolResult plain = RunKernel("test.krn");
  EXPECT_THAT(plain.errors, HasSubstr("test.krn:8:"));
  Encode("test.krn");
  const ToolResult result = RunKernel("test.krn");
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("test.krn:8:"));
  EXPECT_THAT(result.errors, HasSubstr("unknownWord"));
  const auto isStrange = [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t'; };
  EXPECT_TRUE(std::none_of(result.errors.begin(), result.errors.end(), isStrange)) << result.errors;
}

TEST_F(EncodeTest, WhatTheFrontStepFindsInAnEncodedKernelNamesItsLine) {
  Write("test.krn", "\n\nOSTRA_PARALLEL_KERNEL_END\n");
  Encode("test.krn");
  EXPECT_THAT(RunKernel("test.krn").errors,
              testing::EndsWith("test.krn:3:1: error: the kernel that ends here has no start: write "
                                "OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS), its body in braces on the lines below, and "
                                "OSTRA_PARALLEL_KERNEL_END\n"));
}

TEST_F(EncodeTest, EncodedKernelsAndHeadersAreTranslatedAndCheckedLikePlainOnes) {
  Write("test.h", "#define ONE 3.0\n");
  Write("test.krn", MakeKernel("ONE"));
  const std::vector<std::vector<std::string>> commands = {{"translate", At("test.krn"), "--target", "HLSL", "--json"},
                                                          {"translate", At("test.krn"), "--target", "METAL"},
                                                          {"check", At("test.krn"), "--target", "GLSL"},
                                                          {"check", At("test.krn"), "--show", "original"}};
  std::vector<ToolResult> plain;
  for (const auto& command : commands) plain.push_back(RunTool(command));
  EXPECT_THAT(plain[0].output, HasSubstr("3.0"));
  Encode("test.krn");
  Encode("test.h");
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const ToolResult encoded = RunTool(commands[i]);
    EXPECT_EQ(encoded.exitStatus, plain[i].exitStatus);
    EXPECT_EQ(encoded.output, plain[i].output);
    EXPECT_EQ(encoded.errors, plain[i].errors);
  }
}

// What the build makes of a kernel file that is added to a target.
TEST_F(EncodeTest, TheBuildReadsEncodedKernelsAndHeaders) {
  Write("one.h", "#define ONE 3.0\n");
  Write("test.krn", MakeKernel("ONE", "#include \"one.h\"\n"));
  const auto translate = [this] {
    return RunCommand({OSTRA_TEST_KERNELC, "--id", "test.krn", At("test.krn"), At("test.cpp")});
  };
  ASSERT_EQ(translate()->exitStatus, 0);
  const std::string plain = _folder.Read("test.cpp");
  EXPECT_THAT(plain, HasSubstr("#define ONE"));
  Encode("test.krn");
  Encode("one.h");
  std::filesystem::remove(_folder / "test.cpp");
  ASSERT_EQ(translate()->exitStatus, 0);
  EXPECT_EQ(_folder.Read("test.cpp"), plain);
  Write("test.krn", _folder.Read("test.krn").substr(0, 100));
  const auto damaged = translate();
  EXPECT_EQ(damaged->exitStatus, kFailed);
  EXPECT_THAT(damaged->output, HasSubstr("test.krn: error: the file cannot be read: hmac different"));
}

TEST_F(EncodeTest, TheBuildSaysWhyAKernelCannotBeRead) {
  const auto missing = RunCommand({OSTRA_TEST_KERNELC, At("none.krn"), At("none.cpp")});
  EXPECT_EQ(missing->exitStatus, kFailed);
  EXPECT_EQ(missing->output,
            At("none.krn") + ": error: " + At("none.krn") + " cannot be read: No such file or directory.\n");
}

TEST_F(EncodeTest, ADamagedKernelIsNotRun) {
  Write("test.krn", MakeKernel("1.0"));
  Encode("test.krn");
  std::string damaged = _folder.Read("test.krn");
  damaged.back() = static_cast<char>(damaged.back() ^ 1);
  Write("test.krn", damaged);
  ExpectOneLine(RunKernel("test.krn"), kFailed, "test.krn cannot be read: hmac different");
  EXPECT_FALSE(Exists("out.csv"));
}

TEST_F(EncodeTest, ADamagedHeaderIsNamed) {
  Write("one.h", "#define ONE 1.0\n");
  Encode("one.h");
  Write("one.h", _folder.Read("one.h").substr(0, 60));
  Write("test.krn", MakeKernel("ONE", "#include \"one.h\"\n"));
  ExpectOneLine(RunKernel("test.krn"), kFailed, "one.h cannot be read: hmac different");
}

TEST_F(EncodeTest, APlainSourceThatStartsLikeAContainerCanBeReadOnceItIsEncoded) {
  Write("two.h", "encoded by hand\n");
  Write("test.krn", "encoded // no kernel");
  ExpectOneLine(RunKernel("test.krn"), kFailed, "test.krn cannot be read: hmac different");
  Encode("test.krn");
  EXPECT_THAT(RunKernel("test.krn").errors, HasSubstr("the file has no kernel"));
}

TEST_F(EncodeTest, AContainerIsNotEncodedAgain) {
  Write("a.krn", "text");
  Encode("a.krn");
  ExpectOneLine(RunTool({"encode", At("a.krn"), "-o", At("b.krn")}), kFailed, "a.krn is encoded already.");
  EXPECT_FALSE(Exists("b.krn"));
}

TEST_F(EncodeTest, OnlyContainersAreDecoded) {
  Write("a.krn", "a plain text");
  Write("empty.krn", "");
  ExpectOneLine(RunTool({"decode", At("a.krn"), "-o", At("b.krn")}), kFailed, "a.krn is not encoded.");
  ExpectOneLine(RunTool({"decode", At("empty.krn"), "-o", At("b.krn")}), kFailed, "empty.krn is not encoded.");
  EXPECT_FALSE(Exists("b.krn"));
}

TEST_F(EncodeTest, ADamagedContainerIsRefusedAndTheTargetKeepsItsContents) {
  Write("a.krn", "a text");
  Encode("a.krn");
  const std::string container = _folder.Read("a.krn");
  std::string flipped = container;
  flipped[20] = static_cast<char>(flipped[20] ^ 0x40);
  for (const std::string& damaged : {flipped, container.substr(0, 7), container.substr(0, 54), container + "x"}) {
    Write("a.krn", damaged);
    Write("b.krn", "old");
    ExpectOneLine(RunTool({"decode", At("a.krn"), "-o", At("b.krn")}), kFailed, "a.krn cannot be read: hmac different");
    EXPECT_EQ(_folder.Read("b.krn"), "old");
  }
}

TEST_F(EncodeTest, FilesThatCannotBeReadOrWrittenSayWhy) {
  Write("a.krn", "text");
  for (const char* command : {"encode", "decode"}) {
    ExpectOneLine(RunTool({command, At("missing.krn"), "-o", At("b.krn")}), kFailed, "No such file or directory");
    ExpectOneLine(RunTool({command, _folder.GetPath().string(), "-o", At("b.krn")}), kFailed, "Is a directory");
  }
  ExpectOneLine(RunTool({"encode", At("a.krn"), "-o", At("none/b.krn")}), kFailed, "there is no folder");
  ExpectOneLine(RunTool({"encode", At("a.krn"), "-o", _folder.GetPath().string()}), kFailed, "Is a directory");
  ExpectOneLine(RunTool({"encode", At("a.krn"), "-o", "/dev/full"}), kFailed, "No space left on device");
  EXPECT_FALSE(Exists("b.krn"));
}

TEST_F(EncodeTest, WrongUsageIsToldWithTheWayToTheHelp) {
  for (const std::string command : {"encode", "decode"}) {
    const std::string help = "see ostra " + command + " --help";
    ExpectOneLine(RunTool({command}), kBadUsage, help);
    ExpectOneLine(RunTool({command, "a.krn"}), kBadUsage, help);
    ExpectOneLine(RunTool({command, "-o", "b.krn"}), kBadUsage, help);
    ExpectOneLine(RunTool({command, "a.krn", "-o", "b.krn", "--key", "x"}), kBadUsage, help);
  }
  ExpectOneLine(RunTool({"encod"}), kBadUsage, "encode");
}

TEST_F(EncodeTest, TheHelpTellsWhatTheCommandsDo) {
  const ToolResult encode = RunTool({"encode", "--help"}), decode = RunTool({"decode", "--help"});
  EXPECT_EQ(encode.exitStatus, 0);
  EXPECT_THAT(encode.output, HasSubstr("--output"));
  EXPECT_THAT(encode.output, HasSubstr("it is no safe"));
  EXPECT_EQ(decode.exitStatus, 0);
  EXPECT_THAT(decode.output, HasSubstr("--output"));
  EXPECT_THAT(RunTool({"--help"}).output, testing::AllOf(HasSubstr("encode"), HasSubstr("decode")));
}

}  // namespace
}  // namespace ostra
