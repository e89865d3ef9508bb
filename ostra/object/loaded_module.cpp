#include "ostra/object/loaded_module.h"

#include "ostra/core/diagnostics.h"
#include "ostra/core/format.h"
#include "ostra/object/framework.h"

OSTRA_UNIT("moduleloader");

namespace ostra {
namespace {

// The error of an entry with what failed in front, still raised where it was; exhausted memory stays what it is.
Error DescribeFailure(const ModuleDescriptor& module, std::string_view kind, const char* name, const Error& error) {
  if (error.GetKind() == kOutOfMemoryError) return error;
  return MakeError(error.GetKind(), error.GetUnit().data(), error.GetLine(),
                   "The module \"@\" cannot be loaded: the @ \"@\" failed: @", module.id, kind, name, error);
}

}  // namespace

void DeleteLoadedModule::operator()(LoadedModule* module) const { DeleteObj(module); }

Result<LoadedModule::Owner> LoadedModule::Create(ModuleDescriptor& descriptor, const LoadOptions& options,
                                                 Library library) {
  if (descriptor.initializer) return OSTRA_ILLEGAL_STATE("The module \"@\" is already loaded.", descriptor.id);
  Owner module(NewObj<LoadedModule>(descriptor, options, std::move(library)));
  if (!module) return OSTRA_OUT_OF_MEMORY();
  OSTRA_ASSIGN_OR_RETURN(module->_id, Id::Create(descriptor.id.GetView()));
  OSTRA_ASSIGN_OR_RETURN(module->_version, String::Create(descriptor.version));
  return module;
}

Bool LoadedModule::Needs(const Id& framework) const {
  if (framework.IsEmpty()) return false;
  for (const Id& needed : _descriptor.requiredFrameworks) {
    if (needed == framework) return true;
  }
  return false;
}

Result<void> LoadedModule::CheckFrameworks() const {
  for (const Id& needed : _descriptor.requiredFrameworks) {
    if (needed != _descriptor.publishedFramework && !Frameworks::IsPublished(needed))
      return OSTRA_ILLEGAL_STATE("The module \"@\" needs the framework \"@\", which is not published.", _id, needed);
  }
  return OK;
}

Result<void> LoadedModule::Start() {
  OSTRA_RETURN_IF_ERROR(CheckFrameworks());
  _library.SetStarted();
  _descriptor.initializer = &_initializer;
  // A reference that cannot be resolved is no reason to refuse the module: only a call through it fails.
  for (InterfaceReference* reference : _descriptor.references) HostInterfaces::Resolve(*reference);
  Result<void> result = RunEntries();
  if (result) result = PublishFramework();
  if (!result) Stop();
  return result;
}

Result<void> LoadedModule::PublishFramework() {
  if (_descriptor.publishedFramework.IsEmpty()) return OK;
  OSTRA_RETURN_IF_ERROR(Frameworks::Publish(_descriptor.publishedFramework));
  _hasPublished = true;
  return OK;
}

Result<void> LoadedModule::RunEntries() {
  for (const ModuleEntry& unit : _descriptor.units) OSTRA_RETURN_IF_ERROR(RunEntry(unit, "registration"));
  for (const ModuleEntry& entry : _descriptor.startupEntries) OSTRA_RETURN_IF_ERROR(RunEntry(entry, "start-up entry"));
  return OK;
}

Result<void> LoadedModule::RunEntry(const ModuleEntry& entry, std::string_view kind) {
  const Int registrationsBefore = _initializer.GetCount();
  OSTRA_RETURN_IF_ERROR(_running.Reserve(_running.GetCount() + 1));
  if (auto entered = entry.enter ? entry.enter(_descriptor) : Result<void>(OK); !entered) {
    _initializer.RollBack(registrationsBefore);
    return DescribeFailure(_descriptor, kind, entry.name, entered.GetError());
  }
  OSTRA_RETURN_IF_ERROR(_running.Append(RunningEntry{&entry, registrationsBefore}));
  return OK;
}

void LoadedModule::Stop() {
  if (_hasPublished) Frameworks::Withdraw(_descriptor.publishedFramework);
  _hasPublished = false;
  while (_running.IsPopulated()) {
    const RunningEntry last = _running.GetLast();
    if (last.entry->leave) last.entry->leave(_descriptor);
    _initializer.RollBack(last.registrationsBefore);
    _running.RemoveLast();
  }
  for (InterfaceReference* reference : _descriptor.references) HostInterfaces::Unresolve(*reference);
  _descriptor.initializer = nullptr;
}

// Objects that outlive their module would run code that is gone at their next call, or when they are released.
void LoadedModule::KeepCodeOfLivingObjects() {
  if (_library.IsProgram()) return;
  const Class* used = _initializer.FindUsedClass();
  if (!used) return;
  _library.KeepLoaded();
  CriticalOutput(
      "The module \"@\" is unloaded while objects of its class \"@\" exist; release them before the host ends. Its "
      "code stays in memory.",
      _id, used->GetId());
}

}  // namespace ostra
