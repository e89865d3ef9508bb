#include "apps/ostra/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "apps/ostra/encode/decode_command.h"
#include "apps/ostra/encode/encode_command.h"
#include "apps/ostra/info/info_command.h"
#include "apps/ostra/languageserver/language_server_command.h"
#include "apps/ostra/names/one_of.h"
#include "apps/ostra/output/quiet_option.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/parity/parity_command.h"
#include "apps/ostra/profile/profile_option.h"
#include "apps/ostra/render_command_line.h"
#include "apps/ostra/run/run_command.h"
#include "apps/ostra/run/run_help.h"
#include "apps/ostra/shader_command_line.h"
#include "apps/ostra/tool_error.h"
#include "apps/ostra/tool_memory.h"
#include "ostra/config/configuration.h"
#include "ostra/host_classes.h"
#include "plans/names/nearest_name.h"
#include "plans/run/prepare_kernel.h"
#include "plans/values/text.h"

OSTRA_UNIT("command_line");

namespace ostra::tool {

using namespace plans;

namespace {

constexpr const char* kEncodeSummary = "Write a source file as an encoded container";
constexpr const char* kEncodeDetails =
    "Every command that reads a source reads an encoded one, whatever its name. Encoding keeps readers away and shows\n"
    "damage, but it is no safe: every copy of this program can decode.\n"
    "\n"
    "Example:\n"
    "  ostra encode net.example.blur.krn -o shipped/net.example.blur.krn\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

constexpr const char* kDecodeSummary = "Write the text of an encoded container";
constexpr const char* kDecodeDetails =
    "A container that was cut or changed is refused, and a file that is not encoded, too.\n"
    "\n"
    "Example:\n"
    "  ostra decode shipped/net.example.blur.krn -o net.example.blur.krn\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

constexpr const char* kInfoDetails =
    "The first GPU device is the one that all commands take; without one it says why.\n"
    "\n"
    "Environment:\n"
    "  OSTRA_VULKAN_DEVICE=NAME      the device to put first: part of its name, or its number as Vulkan counts; a\n"
    "                                name that no device has is answered with all of them\n"
    "  OSTRA_VULKAN_VALIDATION=1     Vulkan's validation layer, where it is installed, looks at every call\n"
    "  OSTRA_GPU_CACHE=DIR           where compiled GPU programs are kept; off keeps none\n"
    "                                (default: gpu in $XDG_CACHE_HOME/ostra or ~/.cache/ostra)\n"
    "  OSTRA_GPU_PROGRAM_LIMIT=WORDS the largest GPU program, in words of SPIR-V; off is no limit (default: 400000)\n"
    "  OSTRA_MEMORY_LIMIT=SIZE       memory for pictures, buffers and files, such as 8G (default: three quarters of "
    "what\n"
    "                                the machine has)\n"
    "  CXX=COMPILER                  compiles kernels for the CPU (default: c++, g++ or clang++)\n"
    "  OSTRA_CONFIG=NAME=VALUE,...   configuration variables; --config goes before them\n"
    "  OSTRA_CONFIG_FILE=FILE        the file of --config-file\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

constexpr const char* kLanguageServerDetails =
    "Editors start it, and speak the language server protocol with it over standard input and output: mistakes while\n"
    "typing, the meaning of words, completion, declarations, references, renaming, symbols, and the form of\n"
    "declarations. docs/editors.md says how an editor finds it.\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

// The options as they stand on the command line.
struct RunArguments {
  std::string kernel, templateArgument, size, backend = "cpu", cacheFolder;
  std::vector<std::string> inputs, outputs, settings, textures, swaps;
  std::string profile, firstDifference;
  Int printRoom = Int{1} << 20, stepLimit = 0;
  Int repeatCount = 1, iterationCount = 1;
  Bool isFast = false, isChecked = false, isSilent = false, isDebugged = false, isExplained = false, isJson = false;
};

// The host reads these itself; here they have to be known, and sound before anything starts.
struct ConfigurationArguments {
  std::vector<std::string> assignments, files;
};

void AddConfigurationOptions(CLI::App& command, ConfigurationArguments& arguments) {
  command.add_option("--config", arguments.assignments, "Set a configuration variable; 'ostra info' lists them")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  command.add_option("--config-file", arguments.files, "Read configuration variables from a file")
      ->type_name("FILE")
      ->allow_extra_args(false);
}

Result<void> CheckConfiguration(const ConfigurationArguments& arguments) {
  for (const std::string& assignment : arguments.assignments)
    if (auto read = Configuration::ReadAssignment(assignment, "--config"); !read)
      return OSTRA_USAGE_ERROR("@", read.GetError());
  // The host reads them in their turn, after weaker sources.
  Configuration::ForgetValues();
  return OK;
}

// What a kernel is given, and how often it runs over how much.
void AddDispatchOptions(CLI::App& run, RunArguments& arguments) {
  const auto addList = [&run](const char* name, std::vector<std::string>& target, const char* help, const char* type) {
    run.add_option(name, target, help)->type_name(type)->allow_extra_args(false);
  };
  addList("--in", arguments.inputs, "Elements of a buffer, or texels of a texture", "NAME=FILE");
  addList("--out", arguments.outputs, "Where a buffer is written afterwards", "NAME=FILE");
  addList("--set", arguments.settings, "Value of a uniform, or start of a counter", "NAME=VALUE,...");
  addList("--texture", arguments.textures, "How a texture is read", "NAME:KEY=VALUE,...");
  run.add_option("--template-argument", arguments.templateArgument, "What takes the place of TYPE")->type_name("TEXT");
  run.add_option("--size", arguments.size, "Invocations of a dispatch")->type_name("WxHxD");
  run.add_option("--iterations", arguments.iterationCount, "Dispatches, one after the other")
      ->type_name("N")
      ->check(CLI::Range(Int(1), Int(1000000000)));
  addList("--swap", arguments.swaps, "Exchange two buffers between two dispatches", "NAME,NAME");
  // With one dispatch nothing would be exchanged, without a message.
  run.get_option("--swap")->needs("--iterations");
  run.add_option("--repeat", arguments.repeatCount, "Do everything N times from the same start, to measure")
      ->type_name("N")
      ->check(CLI::Range(Int(1), Int(1000000)));
}

void AddCheckOptions(CLI::App& run, RunArguments& arguments) {
  run.add_flag("--first-difference", arguments.firstDifference,
               "With --backend both: show where the first element that differs comes from, line by line; "
               "--first-difference=BOUND takes no notice of smaller differences")
      ->excludes("--repeat");
  run.add_flag("--fast", arguments.isFast, "Allow the compiler to reorder floating-point arithmetic");
  run.add_flag("--checked", arguments.isChecked,
               "Check indices of buffers and arrays, layers of textures, divisors and loops; slower");
  run.add_option("--step-limit", arguments.stepLimit,
                 "Steps that the loops of an invocation may take with --checked (10000000; 60000 on a GPU in software)")
      ->type_name("N")
      ->check(CLI::Range(Int(1), Int(4000000000)));
  run.add_option("--print-room", arguments.printRoom, "Bytes that the PRINTs of a dispatch may take (1048576)")
      ->type_name("BYTES")
      ->check(CLI::Range(Int(0), Int{1} << 30));
  run.add_flag("--no-prints", arguments.isSilent, "Leave PRINT and ASSERT out of the kernel");
  run.add_flag("--debug", arguments.isDebugged,
               "Compile the kernel for a debugger, and run it on one thread; on the CPU only")
      ->excludes("--fast");
}

CLI::App& AddRunCommand(CLI::App& app, RunArguments& arguments, ConfigurationArguments& configuration) {
  CLI::App& run = *app.add_subcommand("run", kRunSummary);
  run.footer(kRunDetails);
  run.add_option("kernel", arguments.kernel, "The kernel file")->type_name("KERNEL.krn")->required();
  AddDispatchOptions(run, arguments);
  run.add_option("--backend", arguments.backend, "Where the kernel runs: cpu, gpu, or both to compare them")
      ->type_name("NAME")
      ->check(OneOf({"cpu", "gpu", "both"}));
  AddCheckOptions(run, arguments);
  run.add_flag("--explain", arguments.isExplained,
               "Say how many invocations run at a time on the CPU, and what stands in the way of a wide form");
  AddProfileOption(run, arguments.profile);
  run.add_option("--cache-dir", arguments.cacheFolder,
                 "Where compiled kernels are kept (default: $XDG_CACHE_HOME/ostra or ~/.cache/ostra)")
      ->type_name("DIR");
  run.add_flag("--json", arguments.isJson, "Report as JSON");
  AddQuietOption(run)->excludes("--json");
  AddConfigurationOptions(run, configuration);
  return run;
}

Result<Assignments> SplitAll(std::string_view option, const std::vector<std::string>& texts) {
  Assignments assignments;
  for (const std::string& text : texts) {
    OSTRA_ASSIGN_OR_RETURN(const auto parts, SplitAssignment(option, text));
    assignments.emplace_back(parts.first, parts.second);
  }
  return assignments;
}

// Nothing without the option; 0 where it has no value.
Result<std::optional<Float64>> ReadDifferenceBound(const std::string& text) {
  if (text.empty()) return std::optional<Float64>();
  if (text == "true") return std::optional(0.0);
  Float64 bound = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), bound);
  if (code != std::errc() || end != text.data() + text.size() || !(bound >= 0) || std::isinf(bound))
    return OSTRA_USAGE_ERROR("--first-difference=@: a bound is a number from 0 on", text);
  return std::optional(bound);
}

Result<Assignments> SplitTextures(const std::vector<std::string>& texts) {
  Assignments textures;
  for (const std::string& texture : texts) {
    const std::size_t mark = texture.find(':');
    if (mark == std::string::npos || mark == 0)
      return OSTRA_USAGE_ERROR("--texture needs NAME:KEY=VALUE,..., but got \"@\"", texture);
    textures.emplace_back(texture.substr(0, mark), texture.substr(mark + 1));
  }
  return textures;
}

Result<Assignments> SplitSwaps(const std::vector<std::string>& texts) {
  Assignments swaps;
  for (const std::string& swap : texts) {
    const std::vector<std::string_view> names = SplitText(swap, ',');
    if (names.size() != 2 || names[0].empty() || names[1].empty())
      return OSTRA_USAGE_ERROR("--swap needs the names of two buffers, but got \"@\"", swap);
    swaps.emplace_back(names[0], names[1]);
  }
  return swaps;
}

Backend FindBackend(std::string_view name) {
  return name == "gpu" ? Backend::Gpu : name == "both" ? Backend::Both : Backend::Cpu;
}

// What each option allows alone.
Result<void> CheckTogether(const RunOptions& options) {
  if (options.isExplained && options.backend == Backend::Gpu)
    return OSTRA_USAGE_ERROR("--explain tells of the CPU: leave out --backend gpu or give both");
  if (options.differenceBound && options.backend != Backend::Both)
    return OSTRA_USAGE_ERROR("--first-difference compares the CPU with the GPU: give --backend both");
  if (options.differenceBound && (options.isChecked || options.isDebugged))
    return OSTRA_USAGE_ERROR("--first-difference cannot be given with @: find what that finds first",
                             options.isChecked ? "--checked" : "--debug");
  if (options.isDebugged && options.backend == Backend::Gpu)
    return OSTRA_USAGE_ERROR("--debug: kernels are debugged on the CPU only: leave out --backend gpu or give both");
  return OK;
}

constexpr SettingNames kRunSettings = {.input = "--in",
                                       .output = "--out",
                                       .value = "--set",
                                       .swap = "--swap",
                                       .texture = "--texture",
                                       .size = "--size",
                                       .backend = "--backend"};

Result<RunOptions> MakeRunOptions(const RunArguments& arguments) {
  RunOptions options;
  options.names = kRunSettings;
  OSTRA_ASSIGN_OR_RETURN(options.kernelFile, Url::Create(arguments.kernel));
  options.templateArgument = arguments.templateArgument;
  if (options.templateArgument.empty()) OSTRA_RETURN_IF_ERROR(SplitTemplateName(options));
  OSTRA_ASSIGN_OR_RETURN(options.inputs, SplitAll("--in", arguments.inputs));
  OSTRA_ASSIGN_OR_RETURN(options.outputs, SplitAll("--out", arguments.outputs));
  OSTRA_ASSIGN_OR_RETURN(options.settings, SplitAll("--set", arguments.settings));
  OSTRA_ASSIGN_OR_RETURN(options.textures, SplitTextures(arguments.textures));
  if (!arguments.size.empty()) {
    auto size = ParseExtents(arguments.size);
    if (!size) return OSTRA_USAGE_ERROR("--size: @", size.GetError());
    options.size = *size;
  }
  OSTRA_ASSIGN_OR_RETURN(options.swaps, SplitSwaps(arguments.swaps));
  options.repeatCount = arguments.repeatCount;
  options.iterationCount = arguments.iterationCount;
  options.isFast = arguments.isFast;
  options.isChecked = arguments.isChecked;
  options.isSilent = arguments.isSilent;
  options.printRoom = arguments.printRoom;
  options.stepLimit = arguments.stepLimit;
  options.isDebugged = arguments.isDebugged;
  OSTRA_ASSIGN_OR_RETURN(options.differenceBound, ReadDifferenceBound(arguments.firstDifference));
  options.isProfiled = !arguments.profile.empty();
  OSTRA_ASSIGN_OR_RETURN(options.traceFile, GetTraceFile(arguments.profile));
  options.isExplained = arguments.isExplained;
  options.isJson = arguments.isJson;
  options.cache = {arguments.cacheFolder, "--cache-dir"};
  options.backend = FindBackend(arguments.backend);
  OSTRA_RETURN_IF_ERROR(CheckTogether(options));
  return options;
}

Result<void> RunKernel(const RunArguments& runArguments, std::span<const char* const> arguments) {
  OSTRA_ASSIGN_OR_RETURN(const RunOptions options, MakeRunOptions(runArguments));
  return Run(options, arguments);
}

// A command that turns one file into another.
struct FileArguments {
  std::string source, target;
};

CLI::App& AddFileCommand(CLI::App& app, const char* name, const char* summary, const char* details,
                         FileArguments& arguments) {
  CLI::App& command = *app.add_subcommand(name, summary);
  command.footer(details);
  command.add_option("file", arguments.source, "The file to read")->type_name("FILE")->required();
  command.add_option("-o,--output", arguments.target, "The file to write")->type_name("FILE")->required();
  return command;
}

Result<void> ConvertFile(const FileArguments& arguments, Result<void> (*convert)(const Url&, const Url&)) {
  OSTRA_ASSIGN_OR_RETURN(const Url source, Url::Create(arguments.source));
  OSTRA_ASSIGN_OR_RETURN(const Url target, Url::Create(arguments.target));
  return convert(source, target);
}

struct Command {
  CLI::App* app;
  std::function<Result<void>()> run;
};

int FailUsage(std::string_view line) {
  WriteErrorLine(line);
  return static_cast<int>(ExitStatus::BadUsage);
}

int Finish(const Result<void>& result) {
  if (result) return static_cast<int>(ExitStatus::Done);
  if (result.GetError().GetKind() == kOutOfMemoryError)
    WriteErrorLine(DescribeExhaustedMemory());
  else
    WriteError(result.GetError());
  return static_cast<int>(GetExitStatus(result.GetError()));
}

// What the commands have read from the command line.
struct AllArguments {
  RunArguments run;
  ConfigurationArguments configuration;
  Bool isInfoJson = false;
  FileArguments encode, decode;
  TranslateArguments translate;
  CheckArguments check;
  RenderArguments render;
  ParityArguments parity;
};

CLI::App& AddInfoCommand(CLI::App& app, AllArguments& read) {
  CLI::App& info = *app.add_subcommand(
      "info", "List GPU devices, modules, classes, interfaces, configuration variables and threads");
  info.footer(kInfoDetails);
  info.add_flag("--json", read.isInfoJson, "Report as JSON");
  AddConfigurationOptions(info, read.configuration);
  return info;
}

CLI::App& AddLanguageServerCommand(CLI::App& app) {
  CLI::App& server =
      *app.add_subcommand("language-server", "Tell an editor about the kernel file that is being written");
  server.footer(kLanguageServerDetails);
  const std::string help = "Standard input and output, as always";
  server.add_flag("--stdio", help);  // there is nothing else; editors pass it
  return server;
}

// Adds all commands, in the order of the help. What they run reads `read` then; `arguments` have no name of a program.
std::vector<Command> AddCommands(CLI::App& app, AllArguments& read, std::span<const char* const> arguments) {
  const auto configured = [&read](CLI::App& command) {
    AddConfigurationOptions(command, read.configuration);
    return &command;
  };
  return {
      {&AddRunCommand(app, read.run, read.configuration),
       [&read, arguments] { return RunKernel(read.run, arguments); }},
      {&AddInfoCommand(app, read), [&read, arguments] { return ShowInfo(read.isInfoJson, arguments); }},
      {&AddFileCommand(app, "encode", kEncodeSummary, kEncodeDetails, read.encode),
       [&read] { return ConvertFile(read.encode, &EncodeFile); }},
      {&AddFileCommand(app, "decode", kDecodeSummary, kDecodeDetails, read.decode),
       [&read] { return ConvertFile(read.decode, &DecodeFile); }},
      {&AddLanguageServerCommand(app), [] { return RunLanguageServer(); }},
      {&AddTranslateCommand(app, read.translate), [&read] { return RunTranslate(read.translate); }},
      {&AddCheckCommand(app, read.check), [&read] { return RunCheck(read.check); }},
      {configured(AddRenderCommand(app, read.render)),
       [&read, arguments] { return RunRender(read.render, arguments); }},
      {configured(AddParityCommand(app, read.parity)),
       [&read, arguments] { return RunParity(read.parity, arguments); }},
  };
}

}  // namespace

int RunCommandLine(std::span<const char* const> arguments) {
  CLI::App app("Runs data-parallel kernels.");
  app.name("ostra");
  app.require_subcommand(1);
  app.set_version_flag("--version", "ostra " OSTRA_VERSION);
  AllArguments read;
  const std::vector<Command> commands = AddCommands(app, read, arguments.size() > 1 ? arguments.subspan(1) : arguments);
  std::vector<std::string> names;
  for (const Command& command : commands) names.push_back(command.app->get_name());
  const std::string name = arguments.size() > 1 ? arguments[1] : "";
  if (!name.empty() && name[0] != '-' && std::count(names.begin(), names.end(), name) == 0)
    return FailUsage("there is no command \"" + name + "\"" + SuggestName(name, names));
  const auto findParsed = [&commands] {
    return std::find_if(commands.begin(), commands.end(), [](const Command& command) { return command.app->parsed(); });
  };
  try {
    app.parse(static_cast<int>(arguments.size()), arguments.data());
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(error);
    const auto parsed = findParsed();
    return FailUsage(DescribeParseError(parsed == commands.end() ? app : *parsed->app, error));
  }
  if (const auto checked = CheckConfiguration(read.configuration); !checked) return Finish(checked);
  if (const auto applied = ApplyMemoryLimit(); !applied) return Finish(applied);
  if (const auto registered = RegisterHostClasses(); !registered) return Finish(registered);
  return Finish(findParsed()->run());
}

}  // namespace ostra::tool
