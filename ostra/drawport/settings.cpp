#include "ostra/drawport/settings.h"

#include <algorithm>
#include <atomic>

#include "ostra/drawport/enumerations.h"

namespace ostra {
namespace {

constinit std::atomic<Int> g_memoryLimit{0};
constinit std::atomic<Int> g_stagingCapacity{0};
constinit std::atomic<Int> g_programLimit{0};
constinit std::atomic<Float64> g_timeLimit{0};
constinit std::atomic<Int> g_rowAlignment{1};
constinit std::atomic<bool> g_isDirect{true};
constinit std::atomic<bool> g_readsDirectly{true};
constinit std::atomic<bool> g_isHlsl{false};

}  // namespace

void SetDrawportMemoryLimit(Int bytes) { g_memoryLimit = std::max<Int>(bytes, 0); }
Int GetDrawportMemoryLimit() { return g_memoryLimit; }

void SetDrawportStagingCapacity(Int bytes) { g_stagingCapacity = std::max<Int>(bytes, 0); }
Int GetDrawportStagingCapacity() { return g_stagingCapacity; }

void SetDrawportProgramLimit(Int words) { g_programLimit = words; }
Int GetDrawportProgramLimit() { return g_programLimit; }

void SetDrawportTimeLimit(Float64 seconds) { g_timeLimit = seconds > 0 ? std::clamp(seconds, 1e-6, 1e6) : 0; }
Float64 GetDrawportTimeLimit() { return g_timeLimit; }

void SetDrawportRowAlignment(Int bytes) { g_rowAlignment = std::max<Int>(bytes, 1); }
Int GetDrawportRowAlignment() { return g_rowAlignment; }

void SetDrawportDirectMapping(Bool isOn) { g_isDirect = isOn; }
Bool GetDrawportDirectMapping() { return g_isDirect; }

void SetDrawportDirectReading(Bool isOn) { g_readsDirectly = isOn; }
Bool GetDrawportDirectReading() { return g_readsDirectly; }

void SetDrawportShadingLanguage(const Id& language) { g_isHlsl = language == kShadingLanguageHlsl; }
const Id& GetDrawportShadingLanguage() { return g_isHlsl ? kShadingLanguageHlsl : kShadingLanguageGlsl; }

}  // namespace ostra
