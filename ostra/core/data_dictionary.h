// DataDictionary: values of any type by name, in a stable order (that of first insertion). Copies share one table until
// one of them is changed.
//
//   DataDictionary uniforms;
//   OSTRA_RETURN_IF_ERROR(uniforms.SetData("radius"_iid, data));
//   OSTRA_ASSIGN_OR_RETURN(const Float32& radius, uniforms.Get<Float32>("radius"_iid));
//   for (const auto& [key, value] : uniforms) ...
//
// Options are keyed by Id, which is looked up by its text. Not synchronised.
#pragma once

#include "ostra/core/data.h"
#include "ostra/core/interned_id.h"

namespace ostra {

class OSTRA_API DataDictionary {
 public:
  struct Entry {
    InternedId key;
    Data value;
  };
  // Goes through the entries in order. Valid until the dictionary changes.
  class OSTRA_API Iterator {
   public:
    const Entry& operator*() const;
    const Entry* operator->() const { return &**this; }
    Iterator& operator++();
    friend bool operator==(const Iterator& a, const Iterator& b) { return a._node == b._node; }

   private:
    friend class DataDictionary;
    explicit Iterator(const void* node) : _node(node) {}
    const void* _node;
  };

  DataDictionary() = default;
  DataDictionary(const DataDictionary& other) noexcept;
  DataDictionary(DataDictionary&& other) noexcept;
  DataDictionary& operator=(DataDictionary other) noexcept;
  ~DataDictionary();

  // The value of `key`. Its address is stable until this dictionary is changed for the first time after it was copied,
  // which gives it a table of its own, and otherwise until the entry changes. Error: illegal argument when absent.
  Result<const Data&> GetData(InternedId key) const;
  Result<const Data&> GetData(const Id& key) const;
  // Null when absent.
  const Data* FindData(InternedId key) const;
  Bool Contains(InternedId key) const { return FindData(key); }
  // Error: illegal argument when absent or of another type.
  template <class T, class Key>
  Result<const T&> Get(const Key& key) const {
    OSTRA_ASSIGN_OR_RETURN(const Data& data, GetData(key));
    return data.Get<T>();
  }

  // Sets or replaces a value; a replaced one keeps its place. Error: out of memory; the dictionary is then unchanged.
  Result<void> SetData(InternedId key, Data value);
  Result<void> SetData(const Id& key, Data value);
  // Takes a value over. One that is its bytes only replaces another of its type without memory: values that are set
  // again and again cost none.
  Result<void> SetValue(InternedId key, ForwardingDataPtr&& value);
  template <class T, class Key>
  Result<void> Set(const Key& key, T&& value) {
    OSTRA_ASSIGN_OR_RETURN(Data data, Data::Create(std::forward<T>(value)));
    return SetData(key, std::move(data));
  }
  // Errors: illegal argument when absent; out of memory when a shared table had to be copied.
  Result<void> EraseData(InternedId key);
  // Leaves this dictionary empty; others that share its table keep theirs.
  void Reset();

  Int GetCount() const;
  Bool IsEmpty() const { return GetCount() == 0; }
  Iterator begin() const;
  Iterator end() const { return Iterator(nullptr); }

 private:
  struct Table;
  // Gives this dictionary a table of its own. Error: out of memory.
  Result<void> MakeWritable();
  Table* _table = nullptr;  // null for an empty dictionary that was never written
};

}  // namespace ostra
