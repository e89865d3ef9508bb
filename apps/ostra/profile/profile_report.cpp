#include "apps/ostra/profile/profile_report.h"

#include <cstdio>

#include "apps/ostra/output/table.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;

std::string Print(const char* format, Float64 value) {
  char text[40];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

// Three digits and the unit that suits them.
std::string FormatAmount(Float64 amount, const char* unit) {
  const char* const prefixes[] = {"", "k", "M", "G", "T"};
  std::size_t i = 0;
  for (; amount >= 999.5 && i + 1 < std::size(prefixes); ++i) amount /= 1000;
  const char* const format = i == 0 && amount == static_cast<Float64>(static_cast<Int>(amount)) ? "%.0f"
                             : amount < 9.995                                                   ? "%.2f"
                             : amount < 99.95                                                   ? "%.1f"
                                                                                                : "%.0f";
  return Print(format, amount).append(1, ' ').append(prefixes[i]).append(unit);
}

std::string FormatTime(Int nanoseconds) {
  const Float64 milliseconds = static_cast<Float64>(nanoseconds) * 1e-6;
  return Print(milliseconds < 10 ? "%.3f ms" : "%.1f ms", milliseconds);
}

Float64 GetRate(Int amount, Int nanoseconds) {
  return nanoseconds > 0 ? static_cast<Float64>(amount) * 1e9 / static_cast<Float64>(nanoseconds) : 0;
}

std::string FormatRate(Int amount, Int nanoseconds, const char* unit) {
  return amount > 0 && nanoseconds > 0 ? FormatAmount(GetRate(amount, nanoseconds), unit) : "";
}

Row MakePartRow(const ProfileTime& part, Int total) {
  const Float64 share = total > 0 ? 100 * static_cast<Float64>(part.nanoseconds) / static_cast<Float64>(total) : 0;
  return {part.name, FormatTime(part.nanoseconds), Print("%.1f %%", share),
          part.bytes > 0 ? FormatAmount(static_cast<Float64>(part.bytes), "B") : "",
          FormatRate(part.bytes, part.nanoseconds, "B/s")};
}

Row MakeKernelRow(const ProfileKernel& kernel) {
  const ProfileTime& time = kernel.time;
  return {time.name,
          kernel.isOnGpu ? "gpu" : "cpu",
          std::to_string(time.count),
          FormatTime(time.nanoseconds),
          FormatTime(time.count > 0 ? time.nanoseconds / time.count : 0),
          FormatTime(kernel.shortest),
          FormatTime(kernel.longest),
          FormatRate(kernel.invocations, time.nanoseconds, "/s"),
          FormatRate(time.bytes, time.nanoseconds, "B/s")};
}

// What no part has counted.
ProfileTime GetRest(const ProfileReport& report) {
  ProfileTime rest{"the rest", 1, report.nanoseconds};
  for (const ProfileTime& part : report.parts) rest.nanoseconds -= part.nanoseconds;
  return rest;
}

// Lines end with their last word.
std::string TrimLines(const std::string& text) {
  std::string trimmed;
  for (const char character : text) {
    if (character == '\n') trimmed.erase(trimmed.find_last_not_of(' ') + 1);
    trimmed += character;
  }
  return trimmed;
}

Float64 GetMilliseconds(Int nanoseconds) { return static_cast<Float64>(nanoseconds) * 1e-6; }

}  // namespace

std::string FormatProfile(const ProfileReport& report) {
  std::vector<Row> parts = {{"part", "time", "share", "bytes", "rate"}};
  for (const ProfileTime& part : report.parts) parts.push_back(MakePartRow(part, report.nanoseconds));
  parts.push_back(MakePartRow(GetRest(report), report.nanoseconds));
  parts.push_back({"all", FormatTime(report.nanoseconds)});
  std::string text = FormatTable(parts);
  text.insert(text.begin(), '\n');
  if (!report.kernels.empty()) {
    std::vector<Row> kernels = {
        {"kernel", "on", "dispatches", "time", "mean", "shortest", "longest", "invocations", "bytes"}};
    for (const ProfileKernel& kernel : report.kernels) kernels.push_back(MakeKernelRow(kernel));
    text.append(1, '\n').append(FormatTable(kernels));
  }
  for (const std::string& note : report.notes) text.append("note: ").append(note).append(1, '\n');
  if (!report.traceFile.empty()) text.append(1, '\n').append(FormatTable({{"trace", report.traceFile}}));
  return TrimLines(text);
}

Json FormatProfileAsJson(const ProfileReport& report) {
  Json parts = Json::array(), kernels = Json::array();
  for (const ProfileTime& part : report.parts)
    parts.push_back({{"name", part.name},
                     {"count", part.count},
                     {"milliseconds", GetMilliseconds(part.nanoseconds)},
                     {"bytes", part.bytes}});
  for (const ProfileKernel& kernel : report.kernels)
    kernels.push_back({{"name", kernel.time.name},
                       {"backend", kernel.isOnGpu ? "gpu" : "cpu"},
                       {"dispatches", kernel.time.count},
                       {"milliseconds", GetMilliseconds(kernel.time.nanoseconds)},
                       {"shortest", GetMilliseconds(kernel.shortest)},
                       {"longest", GetMilliseconds(kernel.longest)},
                       {"invocations", kernel.invocations},
                       {"bytes", kernel.time.bytes},
                       {"invocationsPerSecond", GetRate(kernel.invocations, kernel.time.nanoseconds)},
                       {"bytesPerSecond", GetRate(kernel.time.bytes, kernel.time.nanoseconds)}});
  Json json = {{"milliseconds", GetMilliseconds(report.nanoseconds)},
               {"parts", parts},
               {"kernels", kernels},
               {"notes", report.notes}};
  if (!report.traceFile.empty()) json["trace"] = report.traceFile;
  return json;
}

}  // namespace ostra::tool
