#include "ostra/core/data_dictionary.h"

#include "ostra/core/format.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/intrusive_list.h"
#include "ostra/core/strong_ref.h"

OSTRA_UNIT("datadictionary");

namespace ostra {

namespace {
struct Node : ListNode<Node> {
  DataDictionary::Entry entry;
};
}  // namespace

// The list keeps the order, the map finds.
struct DataDictionary::Table : RefCounted<Table> {
  IntrusiveList<Node> nodes;
  HashMap<InternedId, Node*> index;

  Result<void> Set(InternedId key, Data value) {
    OSTRA_ASSIGN_OR_RETURN(auto position, index.Insert(key, nullptr));
    if (position.isNew) {
      Node* node = NewObj<Node>();
      if (!node) {
        index.Erase(key);
        return OSTRA_OUT_OF_MEMORY();
      }
      node->entry.key = key;
      nodes.Append(node);
      *position.value = node;
    }
    (*position.value)->entry.value = std::move(value);
    return OK;
  }
};

DataDictionary::DataDictionary(const DataDictionary& other) noexcept : _table(other._table) {
  if (_table) _table->AddRef();
}

DataDictionary::DataDictionary(DataDictionary&& other) noexcept : _table(std::exchange(other._table, nullptr)) {}

DataDictionary& DataDictionary::operator=(DataDictionary other) noexcept {
  std::swap(_table, other._table);
  return *this;
}

DataDictionary::~DataDictionary() { Reset(); }

void DataDictionary::Reset() {
  if (Table* table = std::exchange(_table, nullptr)) table->Release();
}

Result<void> DataDictionary::MakeWritable() {
  if (_table && _table->IsUnique()) return OK;
  Table* copy = NewObj<Table>();
  if (!copy) return OSTRA_OUT_OF_MEMORY();
  DataDictionary owner;
  owner._table = copy;
  for (const Entry& entry : *this) OSTRA_RETURN_IF_ERROR(copy->Set(entry.key, entry.value));
  std::swap(_table, owner._table);
  return OK;
}

const Data* DataDictionary::FindData(InternedId key) const {
  Node* const* node = _table ? _table->index.Find(key) : nullptr;
  return node ? &(*node)->entry.value : nullptr;
}

Result<const Data&> DataDictionary::GetData(InternedId key) const {
  const Data* data = FindData(key);
  if (!data) return OSTRA_ILLEGAL_ARGUMENT("The dictionary has no entry \"@\".", key);
  return *data;
}

Result<const Data&> DataDictionary::GetData(const Id& key) const {
  const InternedId name = InternedId::Find(key.GetView());
  const Data* data = name.IsEmpty() ? nullptr : FindData(name);
  if (!data) return OSTRA_ILLEGAL_ARGUMENT("The dictionary has no entry \"@\".", key);
  return *data;
}

Result<void> DataDictionary::SetData(InternedId key, Data value) {
  OSTRA_RETURN_IF_ERROR(MakeWritable());
  return _table->Set(key, std::move(value));
}

Result<void> DataDictionary::SetData(const Id& key, Data value) {
  OSTRA_ASSIGN_OR_RETURN(InternedId name, InternedId::Create(key.GetView()));
  return SetData(name, std::move(value));
}

Result<void> DataDictionary::SetValue(InternedId key, ForwardingDataPtr&& value) {
  OSTRA_RETURN_IF_ERROR(MakeWritable());
  Node* const* node = _table->index.Find(key);
  if (node && (*node)->entry.value.TryOverwrite(value.GetType(), value.GetPointer())) {
    static_cast<void>(value.Release());
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(Data data, value.Take());
  return _table->Set(key, std::move(data));
}

Result<void> DataDictionary::EraseData(InternedId key) {
  if (!Contains(key)) return OSTRA_ILLEGAL_ARGUMENT("The dictionary has no entry \"@\".", key);
  OSTRA_RETURN_IF_ERROR(MakeWritable());
  _table->nodes.Free(*_table->index.Find(key));
  _table->index.Erase(key);
  return OK;
}

Int DataDictionary::GetCount() const { return _table ? _table->index.GetCount() : 0; }
DataDictionary::Iterator DataDictionary::begin() const { return Iterator(_table ? _table->nodes.GetFirst() : nullptr); }
const DataDictionary::Entry& DataDictionary::Iterator::operator*() const {
  return static_cast<const Node*>(_node)->entry;
}

DataDictionary::Iterator& DataDictionary::Iterator::operator++() {
  _node = static_cast<const Node*>(_node)->GetNext();
  return *this;
}

}  // namespace ostra
