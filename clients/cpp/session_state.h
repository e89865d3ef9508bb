// What a session and everything that it has made share. For the headers of this folder.
#pragma once

#include <unistd.h>

#include <climits>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ostra/drawport/device_list.h"
#include "ostra/host.h"
#include "ostra/object/class.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_print_text.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra {

// Where the kernels of a session run.
enum class Backend { kCpu, kGpu };

// Takes what the kernels of a session have printed; see Session::SetPrintListener.
using PrintListener = std::function<void(const KernelPrints&)>;

namespace client {

inline constexpr const char* kUnit = "client";

// The host of all sessions of a process, unless they are given one: there is one at a time.
class SharedHost {
 public:
  static Result<std::shared_ptr<SharedHost>> Get() {
    static std::mutex mutex;
    static std::weak_ptr<SharedHost> shared;
    const std::lock_guard lock(mutex);
    if (auto known = shared.lock()) return known;
    OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
    auto made = std::make_shared<SharedHost>(std::move(host));
    shared = made;
    return made;
  }
  explicit SharedHost(Host host) : _host(std::move(host)) {}

  Host& GetHost() { return _host; }

 private:
  Host _host;
};

class SessionState {
 public:
  SessionState(std::shared_ptr<SharedHost> owned, Host& host, Backend backend)
      : _owned(std::move(owned)), _host(host), _backend(backend) {}
  SessionState(const SessionState&) = delete;
  SessionState& operator=(const SessionState&) = delete;
  ~SessionState() {
    _program = ParallelProgramRef();
    auto registry = ClassRegistry::Find(kKernelClassRegistry);
    for (const Id& id : _classes)
      if (registry) registry->Erase(id);
  }

  Result<void> Start(const std::string& resourceFolder, Int32 deviceIndex) {
    OSTRA_RETURN_IF_ERROR(LoadOnce("parallelprogram", "net.ostra.parallelprogram"_id));
    if (_backend == Backend::kGpu) OSTRA_RETURN_IF_ERROR(LoadOnce("drawport_vulkan", "net.ostra.drawport.vulkan"_id));
    const Id programClass = _backend == Backend::kGpu ? kGpuProgramClass : kCpuProgramClass;
    OSTRA_ASSIGN_OR_RETURN(_program, CreateObject<ParallelProgramInterface>(programClass));
    _reports = FindInterface<KernelReportInterface>(*_program);
    OSTRA_ASSIGN_OR_RETURN(const Url resources,
                           Url::Create(resourceFolder.empty() ? FindProgramFolder() : resourceFolder));
    const auto started = _program->Init(resources, nullptr, deviceIndex, _backend == Backend::kGpu);
    if (!started && _backend == Backend::kGpu) OSTRA_RETURN_IF_ERROR(GetDrawportDevices());  // says why there is none
    return started;
  }

  ParallelProgramInterface& GetProgram() const { return *_program; }
  Backend GetBackend() const { return _backend; }
  Host& GetHost() const { return _host; }

  // A name that no other resource of the program has.
  Result<InternedId> MakeName(const char* kind) {
    return InternedId::Create("client." + std::string(kind) + std::to_string(++_count));
  }

  void SetPrintListener(PrintListener listener) { _printListener = std::move(listener); }
  // Hands over what the last dispatch has printed.
  Result<void> ShowPrints() {
    if (!_reports) return OK;
    OSTRA_ASSIGN_OR_RETURN(const KernelPrints prints, _reports->TakePrints());
    if (prints.prints.IsEmpty() && prints.lostCount == 0) return OK;
    _printListener ? _printListener(prints) : WritePrints(prints);
    return OK;
  }

  // Links of kernels may still lead to an array of the client: it stays, without elements.
  void Retire(std::unique_ptr<Array<Generic>> shared) {
    *shared = Array<Generic>();
    _retired.push_back(std::move(shared));
  }

  // Makes a class known as long as the session lives, unless it is.
  Result<void> RegisterKernel(const char* classId, Result<ClassRef> (*create)()) {
    OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
    OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(classId));
    if (registry.FindEntryValue(id)) return OK;
    OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, create());
    _classes.reserve(_classes.size() + 1);
    OSTRA_RETURN_IF_ERROR(registry.Insert(id, kernelClass));
    _classes.push_back(id);
    return OK;
  }

 private:
  // Empty where the system does not say it.
  static std::string FindProgramFolder() {
    char path[PATH_MAX];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof(path));
    const std::string_view file(path, size < 0 ? 0 : static_cast<std::size_t>(size));
    return std::string(file.substr(0, file.rfind('/')));
  }

  static void WritePrints(const KernelPrints& prints) {
    for (const KernelPrint& print : prints.prints) std::cerr << FormatKernelPrint(print) << '\n';
    if (prints.lostCount > 0) std::cerr << prints.lostCount << " prints did not fit\n";
  }

  Result<void> LoadOnce(std::string_view name, const Id& id) {
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<ModuleInformation> modules, ModuleLoader::GetModules());
    for (const ModuleInformation& module : modules)
      if (module.id == id) return OK;
    OSTRA_RETURN_IF_ERROR(_host.LoadModule(name));
    return OK;
  }

  const std::shared_ptr<SharedHost> _owned;  // null: the client's host
  Host& _host;
  const Backend _backend;
  std::vector<Id> _classes;
  std::vector<std::unique_ptr<Array<Generic>>> _retired;
  Int _count = 0;
  PrintListener _printListener;
  ParallelProgramRef _program;
  KernelReportInterface* _reports = nullptr;  // of the program
};

using SessionRef = std::shared_ptr<SessionState>;

}  // namespace client

}  // namespace ostra
