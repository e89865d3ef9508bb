#include "parallelprogram/kernellanguage/lane_code.h"

#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

void LanePrinter::Refuse(NodeIndex node, std::string reason) {
  if (_refusal) return;
  _refusal = NotUnderstood{node == kNoNode ? kNoOffset : _tree.nodes[node].offset, std::move(reason)};
}

void LanePrinter::Line(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

// Compiler messages and debuggers show the line of the kernel file.
void LanePrinter::MarkLine(NodeIndex node) {
  const SourceLocation location = _sources.Locate(_tree.nodes[node].offset);
  if (location.line == 0) return;
  std::string file;
  for (const char c : location.file) {
    if (c == '"' || c == '\\') file += '\\';
    file += static_cast<unsigned char>(c) < ' ' ? '?' : c;
  }
  Line({"#line ", std::to_string(location.line), " \"", file, "\""});
}

std::string LanePrinter::NewName(std::string_view stem) { return Join({"ostra_", stem, std::to_string(_nameCount++)}); }

LaneCode LanePrinter::Print() {
  const NodeIndex kernel = _tree.kernel;
  if (_tree.HasFlag(kernel, kIsMethodForm)) Refuse(kernel, "a kernel that can fail");
  if (!_resolved.structs.empty()) Refuse(_resolved.structs[0], "a struct");
  const std::string name = Join({"Ostra", _options.className, "Lanes"});
  Line({"struct ", name, " : ", _options.parameters, " {"});
  Line({"explicit ", name, "(const ", _options.parameters, "& values) : ", _options.parameters, "(values) {}"});
  Line(
      {"[[maybe_unused]] static constexpr Vec3<UInt32> ostraGroupSize{OstraGroupSize::kX, OstraGroupSize::kY, "
       "OstraGroupSize::kZ};"});
  Functions();
  _masks = {"ostraActive"};
  Line(
      {"OSTRA_KERNEL_INLINE void Run([[maybe_unused]] UInt32 ostraX, [[maybe_unused]] UInt32 ostraY, "
       "[[maybe_unused]] UInt32 ostraZ, [[maybe_unused]] UInt32 ostraLinear, [[maybe_unused]] Mask ostraActive) const "
       "{"});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  Block(_tree.GetChild(kernel, 0));
  Line({"}"});
  Line({"};"});
  if (_refusal) _text.clear();
  return {std::move(_text), std::move(_refusal)};
}

LaneCode PrintLaneCode(const AnalyzedKernel& kernel, const LaneCodeOptions& options) {
  return LanePrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage
