#include "parallelprogram/kernellanguage/struct_layout.h"

#include <algorithm>
#include <map>
#include <optional>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

struct Extent {
  UInt32 size = 0, alignment = 1;  // bytes
};

class LayoutMaker {
 public:
  LayoutMaker(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  StructLayouts Make() {
    for (const NodeIndex parameter : _resolved.parameters) {
      const Type& type = _resolved.types[_resolved.type[parameter]];
      if (type.kind != TypeKind::kBuffer) continue;
      const Type& element = _resolved.types[type.element];
      if (element.kind != TypeKind::kStruct) continue;
      LayOut(element.declaration);
    }
    return std::move(_result);
  }

 private:
  void Fail(NodeIndex node, std::string text) {
    if (_result.errors.size() < kMaxErrors)
      _result.errors.push_back({.offset = _tree.nodes[node].offset, .text = std::move(text)});
  }

  UInt32 LayOut(NodeIndex declaration) {
    if (const auto known = _known.find(declaration); known != _known.end()) return known->second;
    StructLayout layout;
    layout.name = _tree.GetName(declaration);
    for (const NodeIndex member : _tree.GetChildren(declaration)) AddMember(member, layout);
    if (!layout.members.empty() && _result.errors.empty())
      CheckPadding(_tree.GetChildren(declaration).back(), layout, layout.alignment);
    else if (_tree.GetChildren(declaration).empty())
      Fail(declaration, Join({"the struct \"", layout.name, "\" has no members, and is the element of a buffer"}));
    _result.structs.push_back(std::move(layout));
    return _known[declaration] = static_cast<UInt32>(_result.structs.size()) - 1;
  }

  void AddMember(NodeIndex node, StructLayout& layout) {
    StructMember member{.name = std::string(_tree.GetName(node)), .type = _resolved.types[_resolved.type[node]]};
    if (member.type.kind == TypeKind::kArray) {
      member.count = member.type.count;
      member.type = _resolved.types[member.type.element];
    }
    const auto element = GetElementExtent(member);
    if (!element) {
      Fail(node, Join({"the member \"", member.name, "\" of the struct \"", layout.name, "\" is ",
                       _resolved.types.GetName(_resolved.type[node]), ": ", FindObstacle(member.type)}));
      return;
    }
    CheckPadding(node, layout, element->alignment);
    member.offset = layout.size;
    member.size = element->size * (member.count == 0 ? 1 : member.count);
    layout.size += member.size;
    layout.alignment = std::max(layout.alignment, element->alignment);
    layout.members.push_back(std::move(member));
  }

  // `node` is the member that begins, or ends, at the end of the layout.
  void CheckPadding(NodeIndex node, const StructLayout& layout, UInt32 alignment) {
    if (layout.size % alignment == 0) return;
    Fail(node, Join({"the struct \"", layout.name, "\" has ", std::to_string(layout.size), " bytes at the member \"",
                     _tree.GetName(node), "\", where a multiple of ", std::to_string(alignment),
                     " is needed: languages fill such gaps differently, so add members or change their order"}));
  }

  // Nothing for what structs in buffers do not have.
  std::optional<Extent> GetElementExtent(StructMember& member) {
    const Type& type = member.type;
    const UInt32 number = GetSize(type.scalar);
    const Bool isOnGpus = type.scalar == Scalar::kFloat32 || type.scalar == Scalar::kInt32 ||
                          type.scalar == Scalar::kUInt32 || type.scalar == Scalar::kHalf;
    // The languages that lack these refuse them in their own translation.
    const Bool isOtherInteger = IsInteger(type.scalar) && type.scalar != Scalar::kBool && type.count == 1;
    switch (type.kind) {
      case TypeKind::kScalar:
      case TypeKind::kVector:
        if (!isOnGpus && !isOtherInteger) return std::nullopt;
        return Extent{GetSize(type), number};
      case TypeKind::kMatrix:
        if (type.count < 3) return std::nullopt;
        return Extent{GetSize(type), number};
      case TypeKind::kStruct: {
        member.structure = LayOut(type.declaration);
        const StructLayout& inner = _result.structs[member.structure];
        return Extent{inner.size, inner.alignment};
      }
      default:
        return std::nullopt;
    }
  }

  // In the words in which other elements of buffers are refused.
  static std::string_view FindObstacle(const Type& type) {
    if (type.kind == TypeKind::kArray) return "structs in buffers have no arrays of arrays";
    if (type.kind == TypeKind::kMatrix) return "structs in buffers have the matrices mat3 and mat4";
    if (type.kind == TypeKind::kAffineMatrix) return "GPU kernels have no affine matrices: use mat4";
    if (type.kind != TypeKind::kScalar && type.kind != TypeKind::kVector)
      return "structs in buffers are made of numbers";
    if (type.scalar == Scalar::kBool) return "a bool has 1 byte on the CPU and 4 on a GPU: use uint";
    if (type.scalar == Scalar::kFloat64) return "structs in buffers have no 64-bit floats: use float";
    return "structs in buffers have no vectors of integers of 8, 16 and 64 bits: give each component a member of its "
           "own, or use an array";
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::map<NodeIndex, UInt32> _known;
  StructLayouts _result;
};

}  // namespace

StructLayouts LayOutBufferStructs(const SyntaxTree& tree, const ResolvedTree& resolved) {
  return LayoutMaker(tree, resolved).Make();
}

}  // namespace ostra::kernellanguage
