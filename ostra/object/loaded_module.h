// A module between loading and unloading, and the shared object it comes from. Used by the loader only.
#pragma once

#include <memory>
#include <mutex>

#include "ostra/object/module_initializer.h"
#include "ostra/object/module_loader.h"

namespace ostra {

// A shared object; an empty one stands for the running program.
class Library {
 public:
  Library() = default;
  Library(Library&& other) noexcept
      : _handle(std::exchange(other._handle, nullptr)), _path(std::move(other._path)), _wasStarted(other._wasStarted) {}
  Library& operator=(Library&&) = delete;
  ~Library();

  static Result<Library> Open(std::string_view path);

  // The descriptor, if it is one of this host's version.
  Result<ModuleDescriptor&> FindDescriptor() const;
  const String& GetPath() const { return _path; }
  // Called before anything of the module runs: from then on its code may be needed by others.
  void SetStarted() { _wasStarted = true; }
  // Leaves the code in memory for good.
  void KeepLoaded() { _handle = nullptr; }
  Bool IsProgram() const { return !_handle; }

 private:
  Bool ServesDataTypes() const;
  void* _handle = nullptr;
  String _path;
  Bool _wasStarted = false;
};

class LoadedModule;
struct DeleteLoadedModule {
  void operator()(LoadedModule* module) const;
};

class LoadedModule final : public Module {
 public:
  using Owner = std::unique_ptr<LoadedModule, DeleteLoadedModule>;

  static Result<Owner> Create(ModuleDescriptor& descriptor, const LoadOptions& options, Library library);
  LoadedModule(ModuleDescriptor& descriptor, const LoadOptions& options, Library library)
      : _library(std::move(library)), _descriptor(descriptor), _initializer(options.takesPartInConfiguration) {}
  ~LoadedModule() override = default;

  const Id& GetId() const override { return _id; }
  const String& GetVersion() const override { return _version; }
  const String& GetPath() const override { return _library.GetPath(); }
  const ModuleDescriptor& GetDescriptor() const { return _descriptor; }
  Bool Needs(const Id& framework) const;

  // Registers and starts the module; on error nothing of it is left.
  Result<void> Start();
  void Stop();
  // Once it is stopped: says so and keeps the code in memory when objects of its classes still exist.
  void KeepCodeOfLivingObjects();

 private:
  Result<void> CheckFrameworks() const;
  Result<void> RunEntries();
  Result<void> RunEntry(const ModuleEntry& entry, std::string_view kind);
  Result<void> PublishFramework();

  Library _library;  // first, so that it is closed last
  ModuleDescriptor& _descriptor;
  Id _id;  // own copies: they are read while the library is being closed
  String _version;
  ModuleInitializer _initializer;
  // Entries that succeeded, and the number of registrations that were there before each.
  struct RunningEntry {
    const ModuleEntry* entry = nullptr;
    Int registrationsBefore = 0;
  };
  BaseArray<RunningEntry> _running;
  Bool _hasPublished = false;
};

}  // namespace ostra
