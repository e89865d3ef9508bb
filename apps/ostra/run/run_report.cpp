#include "apps/ostra/run/run_report.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/ostra/output/table.h"
#include "apps/ostra/profile/profile_report.h"
#include "plans/values/scalar_type.h"
#include "plans/values/typed_value.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Json = nlohmann::ordered_json;

std::string FormatMilliseconds(Float64 milliseconds) {
  char text[40];
  std::snprintf(text, sizeof(text), milliseconds < 10 ? "%.3f ms" : "%.1f ms", milliseconds);
  return text;
}

Float64 GetMedian(std::vector<Float64> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::string FormatTime(const std::vector<Float64>& milliseconds) {
  const Float64 best = *std::min_element(milliseconds.begin(), milliseconds.end());
  if (milliseconds.size() == 1) return FormatMilliseconds(best);
  return FormatMilliseconds(best) + " (best of " + std::to_string(milliseconds.size()) + ", median " +
         FormatMilliseconds(GetMedian(milliseconds)) + ")";
}

std::string FormatLayers(Int count) { return count == 1 ? "" : ", " + std::to_string(count) + " layers"; }

std::string FormatDifference(const RunDifference& difference) {
  if (difference.place.empty()) return "none, all bits are the same";
  char text[40];
  std::snprintf(text, sizeof(text), "%g", difference.largest);
  return std::string(text) + " at most, at " + difference.place;
}

Json MakeTimes(const std::vector<Float64>& milliseconds) {
  const Float64 best = *std::min_element(milliseconds.begin(), milliseconds.end());
  return {{"best", best}, {"median", GetMedian(milliseconds)}, {"all", milliseconds}};
}

const char* GetBackendName(Backend backend) {
  return backend == Backend::Cpu ? "cpu" : backend == Backend::Gpu ? "gpu" : "both";
}

Json MakePrints(const std::vector<PrintedLine>& lines) {
  Json prints = Json::array();
  for (const PrintedLine& line : lines) {
    Json print = {{"file", line.file}, {"line", line.line}, {"column", line.column}, {"invocation", line.invocation}};
    if (line.dispatch != 0) print["dispatch"] = line.dispatch;
    if (!line.backend.empty()) print["backend"] = line.backend;
    print["text"] = line.text;
    prints.push_back(std::move(print));
  }
  return prints;
}

Json MakeFirstDifference(const std::optional<FirstDifference>& difference) {
  if (!difference) return nullptr;
  constexpr Int kMaxLines = 10'000;
  Json json = {{"place", difference->place},
               {"cpu", difference->cpu},
               {"gpu", difference->gpu},
               {"dispatch", difference->dispatch}};
  json["invocation"] = difference->invocation ? Json(*difference->invocation) : Json(nullptr);
  Json values = Json::array(), first = nullptr;
  Int leftOut = static_cast<Int>(difference->lines.size());
  for (const ShownLines& part : ChooseLines(leftOut, difference->first, kMaxLines))
    for (Int i = part.begin; i < part.end; ++i, --leftOut) {
      const TracedLine& line = difference->lines[static_cast<std::size_t>(i)];
      if (i == difference->first) first = values.size();
      const auto show = [](const std::string& value) { return value.empty() ? Json(nullptr) : Json(value); };
      values.push_back({{"file", line.file},
                        {"line", line.line},
                        {"column", line.column},
                        {"name", line.name},
                        {"cpu", show(line.cpu)},
                        {"gpu", show(line.gpu)}});
    }
  json["values"] = std::move(values);
  json["firstValue"] = std::move(first);
  json["valuesLeftOut"] = leftOut + difference->lostCount;
  json["notes"] = difference->notes;
  return json;
}

std::string GetText(InternedId name) { return std::string(name.GetView()); }

}  // namespace

Result<std::string> FormatRunReport(const RunReport& report, const RunOptions& options, const RunPlan& plan) {
  std::vector<std::vector<std::string>> rows = {{"kernel", report.kernel}, {"size", plan.size.ToText()}};
  if (options.iterationCount > 1) rows.push_back({"dispatches", std::to_string(options.iterationCount)});
  if (options.backend != Backend::Gpu) rows.push_back({"threads", std::to_string(report.threadCount)});
  if (report.lanes) rows.push_back({"invocations", FormatLaneReport(*report.lanes)});
  if (options.backend == Backend::Both) {
    rows.push_back({"time on the CPU", FormatTime(report.milliseconds)});
    rows.push_back({"time on the GPU", FormatTime(report.gpuMilliseconds)});
    rows.push_back({"difference", FormatDifference(report.difference)});
  } else {
    rows.push_back({options.backend == Backend::Gpu ? "time on the GPU" : "time", FormatTime(report.milliseconds)});
  }
  for (const PlannedTexture& texture : plan.textures)
    rows.push_back({"texture", GetText(texture.name) + ": " + std::string(texture.layout->name) + ", " +
                                   texture.contents.size.ToText() + FormatLayers(texture.contents.layers)});
  for (const auto& [name, value] : report.counters) rows.push_back({"counter", name + " = " + std::to_string(value)});
  for (const PlannedBuffer& buffer : plan.buffers)
    if (buffer.target)
      rows.push_back({"written", std::string(buffer.target->GetView()) + " (" + GetText(buffer.name) + ", " +
                                     std::to_string(buffer.count) + " elements of " + DescribeType(buffer.elementType) +
                                     ")"});
  std::string text = FormatTable(rows);
  if (options.differenceBound)
    text += FormatFirstDifference(report.firstDifference, *options.differenceBound,
                                  std::string(options.kernelFile.GetView()));
  return text + (report.profile ? FormatProfile(*report.profile) : "");
}

namespace {

Result<Json> FormatUniforms(const RunPlan& plan) {
  Json uniforms = Json::object();
  for (const PlannedUniform& uniform : plan.uniforms) {
    OSTRA_ASSIGN_OR_RETURN(const std::string value, PrintValue(uniform.value));
    uniforms[GetText(uniform.name)] = {{"type", DescribeType(uniform.value.GetType())}, {"value", value}};
  }
  return uniforms;
}

Json FormatOutputs(const RunPlan& plan) {
  Json outputs = Json::array();
  for (const PlannedBuffer& buffer : plan.buffers)
    if (buffer.target)
      outputs.push_back({{"buffer", GetText(buffer.name)},
                         {"file", std::string(buffer.target->GetView())},
                         {"type", DescribeType(buffer.elementType)},
                         {"count", buffer.count}});
  return outputs;
}

Json FormatTextures(const RunPlan& plan) {
  Json textures = Json::object();
  for (const PlannedTexture& texture : plan.textures) {
    const Extents& size = texture.contents.size;
    textures[GetText(texture.name)] = {{"type", texture.layout->name},
                                       {"files", texture.sources},
                                       {"size", {size.width, size.height, size.depth}},
                                       {"layers", texture.contents.layers}};
  }
  return textures;
}

}  // namespace

Result<std::string> FormatRunReportAsJson(const RunReport& report, const RunOptions& options, const RunPlan& plan) {
  OSTRA_ASSIGN_OR_RETURN(const Json uniforms, FormatUniforms(plan));
  Json inputs = Json::object(), counters = Json::object();
  for (const PlannedBuffer& buffer : plan.buffers)
    if (!buffer.source.empty()) inputs[GetText(buffer.name)] = buffer.source;
  for (const auto& [name, value] : report.counters) counters[name] = value;
  Json json = {{"kernel", report.kernel},
               {"backend", GetBackendName(options.backend)},
               {"compiled", report.wasCompiled},
               {"size", {plan.size.width, plan.size.height, plan.size.depth}},
               {"iterations", options.iterationCount},
               {"threads", report.threadCount},
               {"milliseconds", MakeTimes(report.milliseconds)},
               {"uniforms", uniforms},
               {"inputs", inputs},
               {"textures", FormatTextures(plan)},
               {"outputs", FormatOutputs(plan)},
               {"counters", counters}};
  if (!report.prints.empty()) json["prints"] = MakePrints(report.prints);
  if (report.lostPrints > 0) json["lostPrints"] = report.lostPrints;
  if (report.lanes) json["lanes"] = {{"count", report.lanes->count}, {"reason", report.lanes->reason}};
  if (options.backend == Backend::Both) {
    json["gpuMilliseconds"] = MakeTimes(report.gpuMilliseconds);
    json["difference"] = {{"largest", report.difference.largest}, {"place", report.difference.place}};
  }
  if (options.differenceBound) json["firstDifference"] = MakeFirstDifference(report.firstDifference);
  if (report.profile) json["profile"] = FormatProfileAsJson(*report.profile);
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ostra::tool
