// The text that is being written, line by line, and what its writers need beside: new names, the depth of braces, which
// function is written, and the first thing that has no plain form.
//
//   out.Line({"if (", condition, ")"});
//   out.Open();
//   ...
//   out.Close();
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

class PlainOutput {
 public:
  // A line of these pieces at the present depth.
  void Line(std::initializer_list<std::string_view> parts);
  // "{", and the lines behind it one step deeper; the other way round.
  void Open();
  void Close();
  void Indent() { ++_depth; }
  void Outdent() { --_depth; }
  void EmptyLine() { _text += '\n'; }
  // Lines that are made later than what follows them.
  void Insert(std::size_t position, std::string_view text) { _text.insert(position, text); }
  std::size_t GetSize() const { return _text.size(); }
  // The text so far; the next one begins empty.
  std::string TakeText();

  // A name that nothing else has: "ostraValue7".
  std::string NewName(std::string_view what);

  // Where the statement that is being written stands in the source.
  void SetPlace(SourceOffset place) { _place = place; }
  SourceOffset GetPlace() const { return _place; }

  // What is being written: a function, the kernel, or neither (kNoNode).
  void SetFunction(NodeIndex function) { _function = function; }
  NodeIndex GetFunction() const { return _function; }
  void EnterKernel() { _isInKernel = true; }
  Bool IsInKernel() const { return _isInKernel; }

  // What has no plain form; the first of several is kept.
  void Refuse(SourceOffset place, std::string reason);
  Bool HasRefused() const { return _refusal.has_value(); }
  std::optional<NotUnderstood> TakeRefusal() { return std::move(_refusal); }

 private:
  std::string _text;
  std::size_t _depth = 0;
  Int _nameCount = 0;
  SourceOffset _place = 0;
  NodeIndex _function = kNoNode;
  Bool _isInKernel = false;
  std::optional<NotUnderstood> _refusal;
};

}  // namespace ostra::kernellanguage
