#include "ostra/core/interned_id.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ostra/core/memory.h"

OSTRA_UNIT("internedid");

namespace ostra {

// A fixed number of lists that only grow at their heads: finding needs no lock, adding is one compare-exchange.
struct InternTable {
  using Node = InternedId::Node;
  using Allocate = void* (*)(Int bytes);
  static constexpr std::size_t kBuckets = 1 << 14;

  std::array<std::atomic<Node*>, kBuckets> heads{};
  std::atomic<Node*> unused{nullptr};

  static InternTable& Get() {
    static InternTable table;
    return table;
  }

  static const Node* FindIn(const Node* node, const Node* end, std::string_view text, UInt64 hash) {
    for (; node != end; node = node->next) {
      if (node->hash == hash && std::string_view(reinterpret_cast<const char*>(node + 1), node->size) == text)
        return node;
    }
    return nullptr;
  }

  const Node* Find(std::string_view text) {
    const UInt64 hash = HashText(text);
    return FindIn(heads[hash % kBuckets].load(std::memory_order_acquire), nullptr, text, hash);
  }

  // Nodes that came too late are few and are not used again, but they are not lost either: leak checkers would say so.
  void KeepUnused(Node& node) {
    Node* first = unused.load(std::memory_order_relaxed);
    do {
      node.next = first;
    } while (!unused.compare_exchange_weak(first, &node, std::memory_order_release, std::memory_order_relaxed));
  }

  // The node of `text`, added when there is none; null when `allocate` fails.
  const Node* FindOrAdd(std::string_view text, Allocate allocate) {
    const UInt64 hash = HashText(text);
    std::atomic<Node*>& head = heads[hash % kBuckets];
    Node* first = head.load(std::memory_order_acquire);
    if (const Node* known = FindIn(first, nullptr, text, hash)) return known;
    void* memory = allocate(static_cast<Int>(sizeof(Node) + text.size() + 1));
    if (!memory) return nullptr;
    Node* node = ::new (memory) Node{first, hash, text.size()};
    char* characters = reinterpret_cast<char*>(node + 1);
    std::memcpy(characters, text.data(), text.size());
    characters[text.size()] = 0;
    const Node* searched = first;
    while (!head.compare_exchange_weak(first, node, std::memory_order_acq_rel, std::memory_order_acquire)) {
      // Another thread was faster; it may have added the same text.
      if (const Node* known = FindIn(first, searched, text, hash)) {
        KeepUnused(*node);
        return known;
      }
      searched = first;
      node->next = first;
    }
    return node;
  }
};

Result<InternedId> InternedId::Create(std::string_view text) {
  if (text.empty()) return InternedId();
  const Node* node = InternTable::Get().FindOrAdd(text, &AllocForever);
  if (!node) return OSTRA_OUT_OF_MEMORY();
  return InternedId(node);
}

Result<InternedId> InternedId::Create(std::string_view pattern, Int number) {
  OSTRA_ASSIGN_OR_RETURN(String text, Format(pattern, number));
  return Create(text.GetView());
}

InternedId InternedId::FromLiteral(std::string_view text) {
  if (text.empty()) return InternedId();
  const Node* node =
      InternTable::Get().FindOrAdd(text, [](Int bytes) { return std::malloc(static_cast<std::size_t>(bytes)); });
  if (!node) {
    std::fputs("There is no memory for the names of the program.\n", stderr);
    std::abort();
  }
  return InternedId(node);
}

InternedId InternedId::Find(std::string_view text) {
  return text.empty() ? InternedId() : InternedId(InternTable::Get().Find(text));
}

InternedId::UniqueHash InternedId::GetUniqueHash() const {
  UInt64 high = 0x9E3779B97F4A7C15ULL;
  for (char character : GetView()) high = MixHash(high ^ static_cast<unsigned char>(character));
  return {GetHashCode(), high};
}

}  // namespace ostra
