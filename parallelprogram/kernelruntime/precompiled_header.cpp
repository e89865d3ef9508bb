#include "parallelprogram/kernelruntime/precompiled_header.h"

#include <fstream>
#include <string_view>

#include "ostra/core/format.h"
#include "ostra/io/private_files.h"
#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/compiled_list.h"
#include "parallelprogram/kernelruntime/header_state.h"

OSTRA_UNIT("precompiled_header");

namespace ostra::kernelruntime {

namespace {

namespace fs = std::filesystem;

// The part of the framework that is compiled ahead.
constexpr const char* kHeader = "/parallelprogram/program/kernel_prelude.h";

// In place of a file's name in the list.
constexpr std::string_view kNoted = "noted", kRefused = "refused";

void WriteState(const CompiledFileKey& key, std::string_view state) {
  const std::string text = CompiledList{std::string(state), 0, "none", {}}.ToText();
  // Without it, later kernels are compiled as this one was.
  static_cast<void>(WritePrivateFile(key.GetListPath().native(),
                                     {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())}));
}

// Nothing without a list, or when others may have written it.
std::optional<CompiledList> ReadState(const CompiledFileKey& key) {
  if (!CheckTrustedFile(key.GetListPath().native())) return std::nullopt;
  std::ifstream file(key.GetListPath(), std::ios::binary);
  return CompiledList::Parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

// The file keeps the form of its compiler: GCC looks for NAME.gch where it is told to include NAME, which is empty here
// and stands in when the other cannot be used.
std::vector<std::string> MakeSwitches(CompilerFamily family, const fs::path& file, const WorkFolder& folder) {
  if (family == CompilerFamily::kClang) return {"-include-pch", file.native()};
  std::error_code code;
  fs::create_symlink(file, folder / "prelude.h.gch", code);
  if (code || !std::ofstream(folder / "prelude.h")) return {};
  return {"-include", (folder / "prelude.h").native()};
}

}  // namespace

PrecompiledHeader::PrecompiledHeader(CompiledFileKey key, CompilerFamily family, std::vector<std::string> command)
    : _key(std::move(key)), _family(family), _command(std::move(command)) {}

PrecompiledHeader::Use PrecompiledHeader::Prepare(const WorkFolder& folder) const {
  if (!IsPossible()) return {};
  // One that others may have written is made again.
  auto found = FindCompiledFile(_key);
  if (!found || !*found) {
    const auto state = ReadState(_key);
    if (!state || state->file == kRefused || !folder.GetReason().empty()) return {};
    auto made = Make(folder);
    if (!made) return {};
    found = std::optional(std::move(*made));
  }
  Use use{MakeSwitches(_family, (*found)->path, folder), {}};
  if (!use.switches.empty()) use.headers = std::move((*found)->headers);
  return use;
}

void PrecompiledHeader::Note() const {
  if (IsPossible() && !ReadState(_key)) WriteState(_key, kNoted);
}

void PrecompiledHeader::Refuse() const { WriteState(_key, kRefused); }

// Error: the compiler fails, or the result cannot be kept.
Result<CompiledFile> PrecompiledHeader::Make(const WorkFolder& folder) const {
  const Int start = GetModificationTime(folder.GetPath());
  const fs::path made = folder / "prelude.pch", dependencies = folder / "prelude.d";
  std::vector<std::string> command = _command;
  // Headers that have only been written again are the same here, which looks at their content.
  if (_family == CompilerFamily::kClang) command.insert(command.end(), {"-Xclang", "-fno-pch-timestamp"});
  command.insert(command.end(), {"-MD", "-MF", dependencies.native(), "-o", made.native(), "-x", "c++-header",
                                 _key.headerFolder + kHeader});
  OSTRA_ASSIGN_OR_RETURN(const CommandResult result, RunCommand(command, -1, folder.GetPath().native()));
  if (result.exitStatus != 0) {
    Refuse();
    return OSTRA_ILLEGAL_STATE("The compiler cannot compile headers ahead.");
  }
  CompiledFile file{{}, ReadHeaderList(dependencies, folder.GetPath())};
  OSTRA_ASSIGN_OR_RETURN(file.path, KeepCompiledFile(_key, made, file.headers, start));
  return file;
}

}  // namespace ostra::kernelruntime
