#include "apps/ostra/shader_command_line.h"

#include "apps/ostra/check/check_command.h"
#include "apps/ostra/names/one_of.h"
#include "apps/ostra/output/quiet_option.h"
#include "apps/ostra/translate/translate_command.h"

namespace ostra::tool {

using namespace plans;

namespace {

constexpr const char* kTranslateDetails =
    "Shows the pieces that a kernel file or a stage file is cut into for one language, as a GPU program gets them.\n"
    "\n"
    "Example:\n"
    "  ostra translate net.example.blur.krn --target METAL\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

constexpr const char* kCheckDetails =
    "Every file is translated for every language, assembled to a whole shader and compiled: GLSL and HLSL with glslang "
    "(the\n"
    "results are checked by SPIRV-Tools), Metal as C++ for OpenCL with clang. Kernels are compiled for the CPU as "
    "well, with the\n"
    "system's C++ compiler or the one that CXX names; where a compiler is missing, the summary says so. Messages name "
    "the\n"
    "lines of the files, headers included.\n"
    "Warnings tell what works on some devices only, or means something else there. Stage files of one name "
    "(model.vert,\n"
    "model.frag) are also checked together: what one receives the one before it must hand on.\n"
    "\n"
    "Examples:\n"
    "  ostra check kernels/*.krn\n"
    "  ostra check kernels/stages/net.ostra.stages.lit.*\n"
    "  ostra check net.example.blur.krn --target METAL --show assembled\n"
    "\n"
    "Exit status: 0 no errors, 1 errors or failed, 2 wrong usage.\n";

const std::vector<std::string> kTargets = {"HLSL", "GLSL", "METAL"};
const std::vector<std::string> kCheckTargets = {"CPU", "HLSL", "GLSL", "METAL"};

template <class Arguments>
void AddParserOptions(CLI::App& command, Arguments& arguments) {
  command.add_option("--template-argument", arguments.templateArgument, "What takes the place of TYPE")
      ->type_name("TEXT");
  command
      .add_option("--multisampling", arguments.multisampling,
                  "Samples per pixel of the framebuffer (default: -1, none known)")
      ->type_name("N")
      ->check(CLI::Range(Int32(-1), Int32(64)));
}

}  // namespace

CLI::App& AddTranslateCommand(CLI::App& app, TranslateArguments& arguments) {
  CLI::App& command =
      *app.add_subcommand("translate", "Show what becomes of a kernel file or stage file for a shading language");
  command.footer(kTranslateDetails);
  command.add_option("file", arguments.file, "The kernel file or stage file")->type_name("FILE")->required();
  command.add_option("--target", arguments.target, "The language: HLSL, GLSL or METAL")
      ->type_name("NAME")
      ->required()
      ->check(OneOf(kTargets));
  AddParserOptions(command, arguments);
  command.add_flag("--json", arguments.isJson, "Report as JSON");
  command.add_flag("--plain", arguments.isPlain,
                   "Translate the plain form of a kernel file as GPU programs do, and show it, too");
  return command;
}

Result<void> RunTranslate(const TranslateArguments& arguments) {
  TranslationOptions options;
  OSTRA_ASSIGN_OR_RETURN(options.file, Url::Create(arguments.file));
  OSTRA_ASSIGN_OR_RETURN(options.target, Id::Create(arguments.target));
  options.templateArgument = arguments.templateArgument;
  options.multisampling = arguments.multisampling;
  options.isRaw = !arguments.isPlain;
  // The report for programs shows what the translator makes of the very bytes of the file.
  options.lineEnds = arguments.isJson ? LineEnds::Keep : LineEnds::LineFeeds;
  return ShowTranslation(options, arguments.isJson);
}

CLI::App& AddCheckCommand(CLI::App& app, CheckArguments& arguments) {
  CLI::App& command =
      *app.add_subcommand("check", "Compile kernel files and stage files for the CPU and every shading language");
  command.footer(kCheckDetails);
  command.add_option("files", arguments.files, "The kernel files and stage files")->type_name("FILE")->required();
  command.add_option("--target", arguments.targets, "Only this target: CPU, HLSL, GLSL or METAL; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(OneOf(kCheckTargets));
  command.add_option("--show", arguments.shown, "Write a text, too: original, translated or assembled")
      ->type_name("TEXT")
      ->check(OneOf({"original", "translated", "assembled"}));
  command.add_flag("--explain", arguments.isExplained,
                   "Say of each kernel whether it has a wide form for the CPU, and what stands in its way");
  AddParserOptions(command, arguments);
  AddQuietOption(command, "Write findings alone: no summary and no progress");
  return command;
}

Result<void> RunCheck(const CheckArguments& arguments) {
  CheckOptions options;
  options.files = arguments.files;
  options.isForCpu = false;
  options.areNamed = !arguments.targets.empty();
  for (const std::string& target : arguments.targets.empty() ? kCheckTargets : arguments.targets) {
    if (target == kCheckTargets[0]) {
      options.isForCpu = true;
      continue;
    }
    OSTRA_ASSIGN_OR_RETURN(Id id, Id::Create(target));
    options.targets.push_back(std::move(id));
  }
  options.templateArgument = arguments.templateArgument;
  options.multisampling = arguments.multisampling;
  options.shown = arguments.shown;
  options.isExplained = arguments.isExplained;
  return CheckFiles(options);
}

}  // namespace ostra::tool
