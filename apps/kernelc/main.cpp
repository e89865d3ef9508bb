// ostra-kernelc: turns kernel files into C++ when a target is built. ostra_add_kernels (cmake/OstraKernels.cmake) calls
// it.
//
//   ostra-kernelc [--id CLASSID] [--name SHOWN] [--type T] [--module] [--scalar] [--silent] [--checked]
//                 [--depfile D] [--structs OUT.h] [--client OUT.h] IN.krn OUT.cpp
//   ostra-kernelc --table NAME OUT.cpp OUT.h CLASSID...
//   ostra-kernelc --explain [--type T] IN.krn        says why the kernel has no wide form; nothing when it has one
//
// Exit status: 0 done, 1 failed, 2 wrong usage. Messages go to standard error as file:line: error: ...
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/core/printable_text.h"
#include "ostra/host_classes.h"
#include "ostra/io/file.h"
#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/shaderparser/source_file.h"

namespace {

using namespace ostra;
namespace fs = std::filesystem;

struct Arguments {
  std::string id, name, type, dependencyFile, structFile, clientFile;
  bool isModule = false;
  bool isScalar = false, isSilent = false, isChecked = false;
  bool isExplained = false;
  std::vector<std::string> files;
};

int Report(const std::string& message) {
  WriteMessage(stderr, message);
  std::fputc('\n', stderr);
  return 1;
}

std::optional<std::string> ReadFile(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// Kernel files and headers may be encoded. Nothing, with a message, when the file cannot be read.
std::optional<SourceFile> ReadSource(const std::string& path) {
  const auto file = Url::Create(path);
  auto source = file ? ReadSourceFile(*file, LineEnds::LineFeeds) : Result<SourceFile>(file.GetError());
  if (source) return std::move(*source);
  const std::string message(source.GetError().GetMessage().GetView());
  const bool saysIt = message.find(" cannot be read: ") != std::string::npos;
  Report(path + ": error: " + (saysIt ? "" : "the file cannot be read: ") + message);
  return std::nullopt;
}

// Leaves a file with the same contents alone, so that nothing is built again for it.
bool WriteFile(const fs::path& path, std::string_view text) {
  if (ReadFile(path) == text) return true;
  std::ofstream file(path, std::ios::binary);
  file << text;
  return static_cast<bool>(file.flush());
}

int WriteResult(const std::string& path, const Result<String>& text) {
  if (!text) return Report(std::string(text.GetError().GetMessage().GetView()));
  return WriteFile(path, text->GetView()) ? 0 : Report(path + ": error: the file cannot be written");
}

// For the build: OUT depends on the kernel file and the headers that were put in.
bool WriteDependencies(const Arguments& arguments, const std::vector<std::string>& headers) {
  if (arguments.dependencyFile.empty()) return true;
  std::string text = arguments.files[1] + ": " + arguments.files[0];
  for (const std::string& header : headers) text += " \\\n  " + header;
  return WriteFile(arguments.dependencyFile, text + "\n");
}

// Reads headers beside the file, whose shown name is `name`, and notes their paths.
auto MakeHeaderReader(const std::string& in, const std::string& name, std::vector<std::string>& headers) {
  return [&in, &name, &headers](const std::string& header,
                                const std::string& includingFile) -> std::optional<KernelHeader> {
    const fs::path including = includingFile == name ? fs::path(in) : fs::path(includingFile);
    const std::string path = (including.parent_path() / header).lexically_normal().string();
    if (!fs::is_regular_file(path)) return std::nullopt;
    const auto contents = ReadSource(path);
    if (!contents) return std::nullopt;
    headers.push_back(path);
    return KernelHeader{path, std::string(contents->text.GetView()), contents->isEncoded};
  };
}

int Translate(const Arguments& arguments) {
  const std::string& in = arguments.files[0];
  for (const std::string& name : {in, arguments.id, arguments.name})
    if (HasControlCharacters(name))
      return Report(name + ": error: names of kernel files and classes are UTF-8 without control characters");
  // Those that decode files.
  if (const auto registered = RegisterHostClasses(); !registered)
    return Report(in + ": error: " + std::string(registered.GetError().GetMessage().GetView()));
  const auto source = ReadSource(in);
  if (!source) return 1;
  const std::string name = arguments.name.empty() ? in : arguments.name;
  std::vector<std::string> headers;
  KernelSourceOptions options{.fileName = name,
                              .classId = arguments.id,
                              .templateArgument = arguments.type,
                              .isModule = arguments.isModule,
                              .isScalar = arguments.isScalar,
                              .isSilent = arguments.isSilent,
                              .isChecked = arguments.isChecked,
                              .isHidden = source->isEncoded};
  options.readHeader = MakeHeaderReader(in, name, headers);
  if (arguments.isExplained) {
    const auto reason = ExplainKernelLanes(options, source->text.GetView());
    if (!reason) return Report(std::string(reason.GetError().GetMessage().GetView()));
    WriteMessage(stdout, reason->GetView());
    return 0;
  }
  int status = WriteResult(arguments.files[1], GenerateKernelSource(options, source->text.GetView()));
  if (status == 0 && !arguments.structFile.empty())
    status = WriteResult(arguments.structFile, GenerateStructHeader(options, source->text.GetView()));
  if (status == 0 && !arguments.clientFile.empty())
    status = WriteResult(arguments.clientFile, GenerateClientHeader(options, source->text.GetView()));
  if (status == 0 && !WriteDependencies(arguments, headers))
    return Report(arguments.dependencyFile + ": error: the file cannot be written");
  return status;
}

int WriteTable(const Arguments& arguments) {
  const std::vector<std::string> ids(arguments.files.begin() + 2, arguments.files.end());
  const int status = WriteResult(arguments.files[0], GenerateKernelTable(arguments.name, ids));
  return status ? status : WriteResult(arguments.files[1], GenerateKernelTableHeader(arguments.name));
}

int ShowUsage(bool isWanted) {
  std::fputs(
      "usage: ostra-kernelc [--id CLASSID] [--name SHOWN] [--type T] [--module] [--scalar] [--silent] [--checked]\n"
      "                     [--depfile D] [--structs OUT.h] [--client OUT.h] IN.krn OUT.cpp\n"
      "       ostra-kernelc --table NAME OUT.cpp OUT.h CLASSID...\n"
      "       ostra-kernelc --explain [--type T] IN.krn\n",
      isWanted ? stdout : stderr);
  return isWanted ? 0 : 2;
}

// The switches and the words that take a value; null for others.
bool* FindSwitch(Arguments& arguments, std::string_view word) {
  if (word == "--module") return &arguments.isModule;
  if (word == "--scalar") return &arguments.isScalar;
  if (word == "--silent") return &arguments.isSilent;
  if (word == "--checked") return &arguments.isChecked;
  return word == "--explain" ? &arguments.isExplained : nullptr;
}

std::string* FindValue(Arguments& arguments, std::string_view word) {
  if (word == "--id") return &arguments.id;
  if (word == "--name" || word == "--table") return &arguments.name;
  if (word == "--type") return &arguments.type;
  if (word == "--depfile") return &arguments.dependencyFile;
  if (word == "--structs") return &arguments.structFile;
  return word == "--client" ? &arguments.clientFile : nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  bool isTable = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--help") return ShowUsage(true);
    std::string* const value = i + 1 < argc ? FindValue(arguments, word) : nullptr;
    isTable = isTable || (value && word == "--table");
    if (bool* const isOn = FindSwitch(arguments, word))
      *isOn = true;
    else if (value)
      *value = argv[++i];
    else if (word.starts_with("--"))
      return ShowUsage(false);
    else
      arguments.files.emplace_back(word);
  }
  try {
    if (isTable) return arguments.files.size() < 2 ? ShowUsage(false) : WriteTable(arguments);
    const std::size_t fileCount = arguments.isExplained ? 1 : 2;
    return arguments.files.size() != fileCount ? ShowUsage(false) : Translate(arguments);
  } catch (const std::exception& exception) {
    return Report(std::string("ostra-kernelc: error: ") + exception.what());
  }
}
