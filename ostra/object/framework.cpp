#include "ostra/object/framework.h"

#include <algorithm>
#include <array>

#include "ostra/core/format.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/synchronized_hash_map.h"
#include "ostra/object/host_frameworks.h"

OSTRA_UNIT("framework");

namespace ostra {
namespace {

constexpr std::array kHostFrameworks = {
    kCoreFramework,         kMathFramework,          kCryptFramework,
    kNetworkFramework,      kImageFramework,         kDrawportFramework,
    kDrawportMiscFramework, kFunctionCacheFramework, kPerformanceMonitorFramework,
};

SynchronizedHashMap<Id, Bool>& GetFrameworks() {
  static auto* frameworks = new SynchronizedHashMap<Id, Bool>;
  return *frameworks;
}

}  // namespace

Result<void> Frameworks::Publish(const Id& framework) {
  OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(framework.GetView()));
  OSTRA_ASSIGN_OR_RETURN(Bool isNew, GetFrameworks().Insert(ownId, true));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("The framework \"@\" is already published.", framework);
  return OK;
}

Bool Frameworks::Withdraw(const Id& framework) { return GetFrameworks().Erase(framework); }

Bool Frameworks::IsPublished(const Id& framework) {
  Bool value = false;
  return GetFrameworks().Find(framework, value);
}

Result<BaseArray<Id>> Frameworks::GetIds() {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Id> ids, GetFrameworks().GetKeys());
  std::sort(ids.begin(), ids.end());
  return ids;
}

Result<void> Frameworks::PublishHostFrameworks() {
  for (std::size_t i = 0; i < kHostFrameworks.size(); ++i) {
    Result<void> published = Publish(kHostFrameworks[i]);
    if (published) continue;
    while (i > 0) Withdraw(kHostFrameworks[--i]);
    return published;
  }
  return OK;
}

void Frameworks::WithdrawHostFrameworks() {
  for (const Id& framework : kHostFrameworks) Withdraw(framework);
}

}  // namespace ostra
