// One kernel file on its way to a C++ source: finds its parts and changes them in place.
#pragma once

#include <set>

#include "parallelprogram/kernelfront/edited_text.h"
#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/kernelfront/parameters.h"

namespace ostra::kernelfront {

// Around everything that a source has of the kernel file.
inline constexpr std::string_view kOpenNamespaces = "namespace ostra::kernel { namespace {";
inline constexpr std::string_view kCloseNamespaces = "} }";

class KernelFile {
 public:
  // `text` must outlive the object. All functions end in a Failure for text that is no kernel file.
  KernelFile(const KernelSourceOptions& options, std::string_view text)
      : _options(options), _file(options.fileName), _text({options.fileName, text, options.isHidden}) {}

  // Finds the parts of the file and changes them. Once, before the other functions.
  void Read();

  // The DataTypes of structs in buffers, which stand behind the kernel's class (struct_types.h).
  void SetStructTypes(std::string text) { _structTypes = std::move(text); }
  // What the kernel reports (kernellanguage/plain_form.h); empty: nothing.
  void SetReportTable(std::string_view table) { _reportTable = table; }
  const std::vector<Parameter>& GetParameters() const { return _parameters; }

  // The whole C++ source; the wide forms (lane_forms.h) stand behind the kernel's class.
  std::string Print(std::string_view laneForms) const;
  // The same with `groupClass` (group_code.h) in place of the kernel.
  std::string PrintGroups(std::string_view groupClass, std::string_view laneForms) const;

  const std::string& GetKernelName() const { return _kernel.name; }
  // The record of parameters, with the noises of a kernel that has some.
  std::string MakeParametersName() const;

 private:
  static constexpr int kMaxHeaders = 1000;

  // The kernel: the place of its text from the head of its definition to the end, and what it needs to be a class.
  struct Kernel {
    std::size_t begin = 0, bodyBegin = 0, end = 0;
    std::size_t openBrace = 0, closeBrace = 0;  // tokens of the body in a macro kernel
    int line = 0, endLine = 0;
    std::string name, result = "void";
  };

  // Looks at the token `i` outside all parts, which may begin one. Returns the token to go on with.
  std::size_t ReadOutside(std::size_t i);
  std::size_t ReadLineStart(std::size_t i);
  std::size_t ReadBrace(std::size_t i);
  std::size_t ReadNamespace(std::size_t i);
  std::size_t ReadParameters(std::size_t i, bool isDefinition);
  std::size_t ReadGroupSize(std::size_t i);
  std::size_t ReadTuning(std::size_t i);
  std::size_t ReadInclude(std::size_t i);
  std::size_t ReadMacroKernel(std::size_t i);
  std::size_t ReadMethodKernel(std::size_t i);

  // Takes the line of `directive` out; `line` is put in front of everything. Looks at the line after it, which the
  // translation for the GPU drops.
  void TakeDirective(const Token& directive, const std::string& line);
  void StartKernel(const Token& start, std::string_view name);
  void CheckWords(const EditedText& text);
  std::string MakeInclude(const EditedText& text, const Token& start, const std::vector<std::string>& includingHeaders);
  std::string MakeHeader(const KernelHeader& header, std::vector<std::string> includingHeaders);
  std::string MakeClassHead() const;
  std::string MakeClassEnd();
  std::string MakeHead() const;
  std::string MakeBody() const;
  std::string MakeTail(std::string_view laneForms) const;

  const Token& At(std::size_t i) const { return _text.GetTokens()[i]; }
  [[noreturn]] void Stop(const Token& token, const std::string& message) const;

  const KernelSourceOptions& _options;
  const std::string _file;
  EditedText _text;
  std::set<std::string> _onceHeaders;  // paths of headers that are put in at most once
  std::vector<bool> _braces;           // open ones outside of parts; true for those of a namespace
  std::string _directives;             // GROUPSIZE and so on
  std::string _structTypes, _reportTable;
  Kernel _kernel;
  std::vector<Parameter> _parameters;
  int _headerCount = 0;
  int _parameterLine = 0;              // 0: no declarations yet
  int _swallowedLine = 0;              // the line that the translation for the GPU drops
  bool _isNeededBeforeKernel = false;  // something after the kernel must come before it in C++
  bool _usesLinearInvocation = false;
  bool _usesNoise = false;
  bool _usesGradient = false;
};

// A text as a C++ string literal.
std::string Quote(std::string_view text);

// The C++ identifier that stands for a class ID.
std::string MakeIdentifier(std::string_view classId);

}  // namespace ostra::kernelfront
