#include <vector>

#include "apps/ostra/output/table.h"
#include "apps/ostra/translate/translation_report.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string GetKindText(const ShaderInputEntry& input) {
  std::string text = input.typeName.IsEmpty() ? "value" : "buffer";
  if (input.kind & kShaderInputVarying) text = "varying";
  if (input.kind & kShaderInputOut) text = "output";
  if (input.kind & kShaderInputAttribute) text = "attribute";
  if (input.kind & kShaderInputReadOnly) text += ", read only";
  return text;
}

std::string FormatInputs(const ShaderParser& parser) {
  if (parser.GetInputEntries().IsEmpty()) return {};
  Rows rows;
  for (const ShaderInputEntry& input : parser.GetInputEntries()) {
    const std::string_view type = GetValueTypeName(input.dataType);
    rows.push_back(
        {"  " + TextOf(input.name), TextOf(type.empty() ? input.typeName.GetView() : type), GetKindText(input)});
  }
  return "\ninputs\n" + FormatTable(rows);
}

std::string FormatTextures(const ShaderParser& parser) {
  if (parser.GetTextureEntries().IsEmpty()) return {};
  Rows rows;
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries()) {
    const char* const dimensions = texture.textureType == kShaderTexture1D   ? "1D"
                                   : texture.textureType == kShaderTexture2D ? "2D"
                                                                             : "3D";
    rows.push_back({"  " + TextOf(texture.name), dimensions, TextOf(texture.format->id.GetView()),
                    texture.linear ? "linear" : "point", texture.readOnly ? "read only" : "writable image"});
  }
  return "\ntextures\n" + FormatTable(rows);
}

// A heading and a text under it; nothing for an empty text.
void AddPiece(std::string& report, const std::string& heading, std::string_view text) {
  if (text.empty()) return;
  report.append("\n--- ").append(heading).append("\n").append(text);
  if (report.back() != '\n') report += '\n';
}

}  // namespace

Result<std::string> FormatTranslation(const Translation& translation) {
  const ShaderParser& parser = *translation.parser;
  const Vec3<Int32> size = parser.GetWorkGroupSize();
  std::string report = FormatTable(
      {{"target", TextOf(parser.GetTargetLanguage().GetView())},
       {"work group", std::to_string(size.x) + " x " + std::to_string(size.y) + " x " + std::to_string(size.z)},
       {"noise calls", std::to_string(parser.GetNoiseCallCount())}});
  report += FormatInputs(parser) + FormatTextures(parser);
  std::string defines, shared;
  for (const String& define : parser.GetDefines()) defines.append(define.GetView()).append("\n");
  for (const String& declaration : parser.GetGroupSharedDeclarations()) shared.append(declaration.GetView());
  AddPiece(report, "defines", defines);
  for (const ShaderStructDefinition& definition : parser.GetStructs()) {
    std::string members;
    for (const String& line : definition.memberLines) members.append(line.GetView()).append("\n");
    AddPiece(report, "struct " + TextOf(definition.name) + ", " + std::to_string(definition.byteSize) + " bytes",
             members);
  }
  for (const ShaderFunctionDefinition& function : parser.GetFunctions()) {
    const auto definition = MakeFunctionDefinition(parser, function);
    if (definition)
      AddPiece(report, "function", *definition);
    else
      AddPiece(report, "function that cannot be defined: " + TextOf(definition.GetError().GetMessage()),
               function.declaration);
  }
  for (const CString& code : parser.GetGlobalCode()) AddPiece(report, "file scope", code);
  AddPiece(report, "group-shared memory", shared);
  AddPiece(report, "kernel", parser.GetKernelCode());
  for (const Diagnostic& line : translation.diagnostics) AddPiece(report, "diagnostic", line.text);
  return report;
}

}  // namespace ostra::tool
