#include "ostra/shadercompiler/call_graph.h"

#include <glslang/MachineIndependent/localintermediate.h>

#include <algorithm>
#include <cstddef>
#include <list>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ostra::shadercompiler {

namespace {

// The member of the library's class that is for derived classes alone.
struct Opened : glslang::TIntermediate {
  static auto& GetCalls(glslang::TIntermediate& program) { return program.*(&Opened::callGraph); }
};

struct Function {
  std::vector<std::size_t> callees;
  Bool hasBody = false;
  Bool isReached = false;  // from the entry point
  enum class Walk { NotBegun, Running, Done } walk = Walk::NotBegun;
};

class CallGraph {
 public:
  explicit CallGraph(glslang::TIntermediate& program) : _calls(Opened::GetCalls(program)) {
    for (const glslang::TCall& call : _calls) {
      const std::size_t caller = Find(call.caller), callee = Find(call.callee);
      _functions[caller].callees.push_back(callee);
    }
    glslang::TIntermAggregate* const root = program.getTreeRoot() ? program.getTreeRoot()->getAsAggregate() : nullptr;
    if (!root) return;
    _sequence = &root->getSequence();
    for (TIntermNode* node : *_sequence)
      if (const glslang::TIntermAggregate* body = GetBody(node)) _functions[Find(body->getName())].hasBody = true;
    Reach(Find(program.getEntryPointMangledName()));
  }

  Bool IsComplete() {
    if (!_sequence) return false;
    for (std::size_t i = 0; i < _functions.size(); ++i) {
      if (_functions[i].isReached && !_functions[i].hasBody) return false;
      if (_functions[i].walk == Function::Walk::NotBegun && CallsItself(i)) return false;
    }
    return true;
  }

  void RemoveUncalled() {
    const auto isUncalled = [this](TIntermNode* node) {
      const glslang::TIntermAggregate* const body = GetBody(node);
      return body && !_functions[Find(body->getName())].isReached;
    };
    _sequence->erase(std::remove_if(_sequence->begin(), _sequence->end(), isUncalled), _sequence->end());
    _calls.clear();
  }

 private:
  static const glslang::TIntermAggregate* GetBody(TIntermNode* node) {
    const glslang::TIntermAggregate* const body = node ? node->getAsAggregate() : nullptr;
    return body && body->getOp() == glslang::EOpFunction ? body : nullptr;
  }

  template <class Name>
  std::size_t Find(const Name& name) {
    const auto [known, isNew] = _numbers.emplace(std::string_view(name.data(), name.size()), _functions.size());
    if (isNew) _functions.emplace_back();
    return known->second;
  }

  void Reach(std::size_t first) {
    std::vector<std::size_t> open = {first};
    while (!open.empty()) {
      Function& function = _functions[open.back()];
      open.pop_back();
      if (function.isReached) continue;
      function.isReached = true;
      open.insert(open.end(), function.callees.begin(), function.callees.end());
    }
  }

  // Whether a walk along the calls comes back to a function that it is in. Chains of calls may be long: no recursion.
  Bool CallsItself(std::size_t first) {
    struct Step {
      std::size_t function, nextCallee;
    };
    std::vector<Step> path = {{first, 0}};
    _functions[first].walk = Function::Walk::Running;
    while (!path.empty()) {
      Function& function = _functions[path.back().function];
      if (path.back().nextCallee == function.callees.size()) {
        function.walk = Function::Walk::Done;
        path.pop_back();
        continue;
      }
      const std::size_t callee = function.callees[path.back().nextCallee++];
      if (_functions[callee].walk == Function::Walk::Running) return true;
      if (_functions[callee].walk == Function::Walk::Done) continue;
      _functions[callee].walk = Function::Walk::Running;
      path.push_back({callee, 0});
    }
    return false;
  }

  std::list<glslang::TCall>& _calls;
  glslang::TIntermSequence* _sequence = nullptr;
  std::unordered_map<std::string_view, std::size_t> _numbers;  // of names that the program holds
  std::vector<Function> _functions;
};

}  // namespace

Bool ResolveCalls(glslang::TIntermediate& program) {
  CallGraph graph(program);
  if (!graph.IsComplete()) return false;
  graph.RemoveUncalled();
  return true;
}

}  // namespace ostra::shadercompiler
