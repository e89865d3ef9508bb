#include "apps/ostra/check/metal_compiler.h"

#include <filesystem>
#include <new>
#include <utility>

#include "ostra/core/compiler_line.h"
#include "ostra/core/format.h"
#include "ostra/io/temporary_file.h"
#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/header_folder.h"

OSTRA_UNIT("metal_compiler");

namespace ostra::tool {

using namespace kernelruntime;

namespace {

// What the stand-in calls things, and what the language does.
constexpr std::pair<std::string_view, std::string_view> kWords[] = {
    {"__private ", "thread "},
    {"__global ", "device "},
    {"__constant ", "constant "},
    {"__local ", "threadgroup "},
    {"__generic ", ""},
    {"the local address space", "threadgroup memory"},
    {"Make_", ""},
};

std::string RestoreWords(std::string_view text) {
  std::string restored(text);
  for (const auto& [own, word] : kWords)
    for (std::size_t at = restored.find(own); at != std::string::npos; at = restored.find(own, at + word.size()))
      restored.replace(at, own.size(), word);
  return restored;
}

ShaderMessage MakeMessage(Bool isError, Int line, std::string_view text) {
  auto copy = String::Create(RestoreWords(text));
  if (!copy) throw std::bad_alloc();  // ends the tool, as everywhere in it
  return {isError, line, std::move(*copy)};
}

}  // namespace

Result<MetalCompiler> MetalCompiler::Find() {
  OSTRA_ASSIGN_OR_RETURN(const std::string headers, FindHeaderFolder());
  const std::string folder = headers + "/ostra/shadercompiler/metal";
  std::error_code code;
  if (!std::filesystem::exists(folder + "/metal_stdlib", code))
    return OSTRA_ILLEGAL_STATE("The declarations that Metal text is compiled with are not in @.", folder);
  std::string clang;
  for (const char* name : {"clang++", "clang++-14", "clang"})
    if (clang.empty()) clang = FindProgram(name);
  if (clang.empty()) return OSTRA_ILLEGAL_STATE("There is no clang, which compiles Metal text to check it.");
  MetalCompiler compiler;
  compiler._command = {clang, "-x", "clcpp", "-cl-std=clc++2021", "-target", "spir64-unknown-unknown", "-fsyntax-only",
                       "-nostdinc", "-cl-no-stdinc",
                       // Variables outside of functions have to be constants, as there.
                       "-Xclang", "-cl-ext=-__opencl_c_program_scope_global_variables,-__opencl_c_device_enqueue",
                       // A number without a suffix is a float there.
                       "-cl-single-precision-constant",
                       // Attributes say what the entry point's arguments are bound to.
                       "-Wno-unknown-attributes", "-Wno-ignored-attributes", "-Wno-unknown-pragmas",
                       "-fno-caret-diagnostics", "-fno-spell-checking", "-fno-color-diagnostics", "-I" + folder,
                       kStandardInputFile};
  return compiler;
}

Result<std::vector<ShaderMessage>> MetalCompiler::Compile(std::string_view text) const {
  std::error_code code;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(code);
  OSTRA_ASSIGN_OR_RETURN(const TemporaryFile file, TemporaryFile::Create(folder, text));
  OSTRA_ASSIGN_OR_RETURN(const CommandResult result, RunCommand(_command, file.GetDescriptor()));
  std::vector<ShaderMessage> messages = ReadClangReport(result.output, kStandardInputFile);
  if (result.exitStatus != 0 && messages.empty())
    return OSTRA_ILLEGAL_STATE("clang failed and said nothing about the text: @", result.output);
  return messages;
}

std::vector<ShaderMessage> ReadClangReport(std::string_view report, std::string_view file) {
  std::vector<ShaderMessage> messages;
  while (!report.empty()) {
    const std::size_t end = report.find('\n');
    const auto read = ReadCompilerLine(report.substr(0, end));
    report = end == std::string_view::npos ? std::string_view() : report.substr(end + 1);
    if (!read || read->severity == SourceSeverity::kNote) continue;
    const Bool isError = read->severity == SourceSeverity::kError;
    // An error in the stand-in itself is about no line of the text.
    const Bool isOfText = read->file == file;
    if (isOfText ? read->line > 0 : isError)
      messages.push_back(MakeMessage(isError, isOfText ? read->line : 0, read->text));
  }
  return messages;
}

}  // namespace ostra::tool
