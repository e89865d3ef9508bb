#include "ostra/drawport/function_cache.h"

#include <mutex>

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_functioncache");

namespace ostra {
namespace {

// Functions are few and kept for ever, so that references to them stay good without a count.
struct Node {
  DrawportFunction function;
  Int32 number = 0;
  Node* next = nullptr;
};

constinit std::mutex g_mutex;
constinit Node* g_newest = nullptr;

Result<Node*> CreateNode(const DrawportFunction& function) {
  // Own copies of the texts: a module that handed in literals may be unloaded.
  OSTRA_ASSIGN_OR_RETURN(Id language, Id::Create(function.language.GetView()));
  OSTRA_ASSIGN_OR_RETURN(String definition, String::Create(function.definition));
  OSTRA_ASSIGN_OR_RETURN(String name, String::Create(function.name));
  OSTRA_ASSIGN_OR_RETURN(String returnType, String::Create(function.returnType));
  OSTRA_ASSIGN_OR_RETURN(String parameters, String::Create(function.parameters));
  void* memory = AllocForever(sizeof(Node));
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  Node* node = ::new (memory) Node;
  node->function = {std::move(language), std::move(definition), std::move(name), std::move(returnType),
                    std::move(parameters)};
  return node;
}

}  // namespace

Result<DrawportFunctionId> FunctionCache::Add(const DrawportFunction& function) {
  if (function.definition.IsEmpty())
    return OSTRA_ILLEGAL_ARGUMENT("The function \"@\" has no definition.", function.name);
  const std::scoped_lock lock(g_mutex);
  for (const Node* node = g_newest; node; node = node->next) {
    if (node->function.language == function.language && node->function.definition == function.definition)
      return DrawportFunctionId{node->number};
  }
  OSTRA_ASSIGN_OR_RETURN(Node * node, CreateNode(function));
  node->number = g_newest ? g_newest->number + 1 : 1;
  node->next = g_newest;
  g_newest = node;
  return DrawportFunctionId{node->number};
}

Result<const DrawportFunction&> FunctionCache::Find(DrawportFunctionId id) {
  const std::scoped_lock lock(g_mutex);
  for (const Node* node = g_newest; node; node = node->next)
    if (node->number == id.value) return node->function;
  return OSTRA_ILLEGAL_ARGUMENT("The function cache has no function @.", id.value);
}

}  // namespace ostra
