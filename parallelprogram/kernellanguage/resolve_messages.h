// What the resolver has to say of a file: the errors so far, and the first thing that is not understood.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

class ResolveMessages {
 public:
  explicit ResolveMessages(const SyntaxTree& tree) : _tree(tree) {}

  // Whether reading ends: something is not understood, or there are kMaxErrors. Nothing is noted from then on.
  Bool IsStopped() const { return _notUnderstood.has_value() || _errors.size() >= kMaxErrors; }
  // What C++ might read in another way.
  void Stop(NodeIndex node, std::string reason);
  // A mistake.
  void Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes = {});

  // Between these two, which nest, nothing is noted: C++ does not read the code there.
  void BeginSilence() { ++_silence; }
  void EndSilence() { --_silence; }

  const std::vector<Diagnostic>& GetErrors() const { return _errors; }
  const std::optional<NotUnderstood>& GetNotUnderstood() const { return _notUnderstood; }

 private:
  const SyntaxTree& _tree;
  std::vector<Diagnostic> _errors;
  std::optional<NotUnderstood> _notUnderstood;
  Int _silence = 0;
};

}  // namespace ostra::kernellanguage
