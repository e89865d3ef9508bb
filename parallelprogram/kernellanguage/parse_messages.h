// What the parser has to say of a file: the errors so far, and the first thing that is not understood. It also knows
// how far reading is from now on: the broken statement ends, or the file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/token_cursor.h"

namespace ostra::kernellanguage {

class ParseMessages {
 public:
  explicit ParseMessages(const TokenCursor& tokens) : _tokens(tokens) {}

  // Whether reading of the file ends: something is not understood, or there are kMaxErrors. Nothing is noted from then
  // on.
  Bool IsStopped() const { return _notUnderstood.has_value() || _isFull; }
  // Whether reading of the statement ends: it has a mistake, or the file ends.
  Bool IsBroken() const { return _isBroken || IsStopped(); }
  // Whether the statement has a mistake behind which reading goes on with the next one.
  Bool CanRecover() const { return _isBroken && !IsStopped(); }

  // What C++ might read in another way.
  void Stop(SourceOffset offset, std::string reason);
  // A mistake. Of several in one line the first is noted: the others are often nothing but its trace.
  void Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes = {});
  // The next statement is read.
  void Recover() { _isBroken = false; }
  // The rest of the file is not read.
  void End() { _isFull = true; }

  const std::vector<Diagnostic>& GetErrors() const { return _errors; }
  const std::optional<NotUnderstood>& GetNotUnderstood() const { return _notUnderstood; }

 private:
  const TokenCursor& _tokens;
  std::vector<Diagnostic> _errors;
  std::optional<NotUnderstood> _notUnderstood;
  std::size_t _lastError = 0;  // position at which the last error was found
  Bool _isBroken = false, _isFull = false;
};

}  // namespace ostra::kernellanguage
