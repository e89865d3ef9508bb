// The host's side of a module that is being, or has been, registered: remembers what to take back. Used by the loader
// and by the registration functions only.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"
#include "ostra/object/class.h"

namespace ostra {

class ModuleInitializer {
 public:
  using UndoFunction = void (*)(const Id& registryId, const Id& id);

  explicit ModuleInitializer(Bool takesPartInConfiguration) : _takesPartInConfiguration(takesPartInConfiguration) {}
  ~ModuleInitializer() { RollBack(0); }
  ModuleInitializer(const ModuleInitializer&) = delete;
  ModuleInitializer& operator=(const ModuleInitializer&) = delete;

  Bool TakesPartInConfiguration() const { return _takesPartInConfiguration; }

  // Runs `action` (→ Result<void>) and remembers how it is undone. Memory for that is taken first, so that nothing is
  // ever registered without it.
  template <class Action>
  Result<void> Do(Action&& action, UndoFunction undo, const Id& registryId, const Id& id) {
    OSTRA_RETURN_IF_ERROR(_done.Append(Done{undo, nullptr, registryId, id}));
    Result<void> result = action();
    if (!result) _done.RemoveLast();
    return result;
  }

  // Remembers something that is undone without knowing what was registered.
  Result<void> Remember(void (*undo)()) {
    OSTRA_RETURN_IF_ERROR(_done.Append(Done{nullptr, undo, {}, {}}));
    return OK;
  }

  // Holds a class that the module has registered, to see at its end whether others do.
  Result<void> Hold(const ClassRef& entry) {
    for (const ClassRef& held : _classes)
      if (held == entry) return OK;  // it stands in several registries
    OSTRA_RETURN_IF_ERROR(_classes.Append(entry));
    return OK;
  }
  // A class of the module that others hold, as objects hold theirs; null when there is none. After RollBack(0).
  const Class* FindUsedClass() const {
    for (const ClassRef& entry : _classes)
      if (!entry->IsUnique()) return entry.GetPointer();
    return nullptr;
  }

  Int GetCount() const { return _done.GetCount(); }
  // Undoes everything after the first `count` actions, the latest first.
  void RollBack(Int count) {
    while (_done.GetCount() > count) {
      const Done& last = _done.GetLast();
      if (last.undo) last.undo(last.registryId, last.id);
      if (last.simpleUndo) last.simpleUndo();
      _done.RemoveLast();
    }
  }

 private:
  struct Done {
    UndoFunction undo = nullptr;
    void (*simpleUndo)() = nullptr;
    Id registryId;
    Id id;
  };
  BaseArray<Done> _done;
  BaseArray<ClassRef> _classes;
  Bool _takesPartInConfiguration;
};

}  // namespace ostra
