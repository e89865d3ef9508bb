#include "ostra/core/data_type.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "ostra/core/diagnostics.h"
#include "ostra/core/memory.h"

OSTRA_UNIT("datatype");

OSTRA_HOST_DATATYPE_DEFINITION(ostra::Bool, "net.ostra.datatype.bool", "bool")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::UInt8, "net.ostra.datatype.uchar", "uchar")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Char, "net.ostra.datatype.char", "char")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Int8, "net.ostra.datatype.int8", "int8")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::UInt16, "net.ostra.datatype.uint16", "uint16")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Int16, "net.ostra.datatype.int16", "int16")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::UInt32, "net.ostra.datatype.uint32", "uint32")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Int32, "net.ostra.datatype.int32", "int32")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::UInt64, "net.ostra.datatype.uint64", "uint64")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Int64, "net.ostra.datatype.int", "int")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Float32, "net.ostra.datatype.float32", "float32")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Float64, "net.ostra.datatype.float64", "float64")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::String, "net.ostra.datatype.string", "string")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::CString, "net.ostra.datatype.cstring", "cstring")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::Id, "net.ostra.datatype.id", "id")
OSTRA_HOST_DATATYPE_DEFINITION(ostra::InternedId, "net.ostra.datatype.internedid", "internedid")

namespace ostra {

struct DataType::Record {
  DataTypeDescription description;
  DataType inner;
  Record* next = nullptr;
  Bool isListed = true;
};

// All descriptions ever made; those that are listed are the registry, with at most one for an ID. Erased ones stay, so
// that values of their type remain valid, and are listed again when a module that was loaded again registers the same
// type. One that came when its ID was taken serves the module that described it, without being listed.
struct DataTypeTable {
  using Record = DataType::Record;
  std::mutex mutex;
  Record* buckets[1024] = {};

  static DataTypeTable& Get() {
    static auto* table = new DataTypeTable;
    return *table;
  }

  Record*& GetBucket(const Id& id) { return buckets[id.GetHashCode() % std::size(buckets)]; }

  Record* FindListed(const Id& id) {
    for (Record* record = GetBucket(id); record; record = record->next) {
      if (record->isListed && record->description.id == id) return record;
    }
    return nullptr;
  }

  // Whether values of both can stand for each other: the same type, seen by two shared objects.
  static Bool IsSame(const Record& record, const DataTypeDescription& description, DataType inner) {
    const DataTypeDescription& known = record.description;
    const DataTypeOperations& a = known.operations;
    const DataTypeOperations& b = description.operations;
    return known.size == description.size && known.alignment == description.alignment &&
           known.isPlain == description.isPlain && known.elementCount == description.elementCount &&
           record.inner == inner && known.name == description.name &&
           known.parametricType == description.parametricType && !a.construct == !b.construct &&
           !a.destruct == !b.destruct && !a.copy == !b.copy && !a.move == !b.move;
  }

  Record* FindUnlisted(const DataTypeDescription& description, DataType inner) {
    for (Record* record = GetBucket(description.id); record; record = record->next) {
      if (!record->isListed && record->description.id == description.id && IsSame(*record, description, inner))
        return record;
    }
    return nullptr;
  }

  // Owned copies: the description may come from a module that will be unloaded.
  static Bool OwnTexts(DataTypeDescription& description) {
    auto id = Id::Create(description.id.GetView());
    auto name = String::Create(description.name.GetView());
    if (!id || !name) return false;
    auto parametricType = Id::Create(description.parametricType.GetView());
    if (!parametricType) return false;
    description.id = *id;
    description.name = *name;
    description.parametricType = *parametricType;
    return true;
  }

  // Errors: out of memory; illegal argument when the ID is taken and `unique` is asked for.
  Result<DataType> Add(const DataTypeDescription& description, DataType inner, Bool unique) {
    const std::scoped_lock lock(mutex);
    Record* listed = FindListed(description.id);
    if (listed && unique) return OSTRA_ILLEGAL_ARGUMENT("The data type \"@\" is already registered.", description.id);
    if (listed && IsSame(*listed, description, inner)) return DataType(listed);
    Record* record = FindUnlisted(description, inner);
    if (record) {
      // The operations it had may be unloaded. Others may read them meanwhile, so the same ones are left alone.
      if (record->description.operations.destruct != description.operations.destruct)
        record->description.operations = description.operations;
    } else {
      DataTypeDescription owned = description;
      if (!OwnTexts(owned)) return OSTRA_OUT_OF_MEMORY();
      void* memory = AllocForever(static_cast<Int>(sizeof(Record)));
      if (!memory) return OSTRA_OUT_OF_MEMORY();
      Record*& bucket = GetBucket(owned.id);
      bucket = record = ::new (memory) Record{owned, inner, bucket};
    }
    record->isListed = !listed;
    return DataType(record);
  }

  Result<DataType> Find(const Id& id) {
    const std::scoped_lock lock(mutex);
    Record* record = FindListed(id);
    if (!record) return OSTRA_ILLEGAL_ARGUMENT("There is no data type \"@\".", id);
    return DataType(record);
  }

  static Bool IsMadeWith(const Record* record, const Record* part) {
    for (; record; record = record->inner._record) {
      if (record == part) return true;
    }
    return false;
  }

  Bool Erase(const Id& id) {
    const std::scoped_lock lock(mutex);
    const Record* erased = FindListed(id);
    if (!erased) return false;
    for (Record* bucket : buckets) {
      for (Record* record = bucket; record; record = record->next) {
        if (IsMadeWith(record, erased)) record->isListed = false;
      }
    }
    return true;
  }
};

const Id& DataType::GetId() const { return _record->description.id; }
const String& DataType::GetName() const { return _record->description.name; }
std::string_view DataType::GetView() const { return _record ? GetName().GetView() : std::string_view("nothing"); }
Int DataType::GetSize() const { return _record->description.size; }
Int DataType::GetAlignment() const { return _record->description.alignment; }
Bool DataType::IsPlain() const { return _record->description.isPlain; }
Bool DataType::IsDefaultConstructible() const { return _record->description.operations.construct; }
const Id& DataType::GetParametricType() const { return _record->description.parametricType; }
DataType DataType::GetInnerType() const { return _record->inner; }
Int DataType::GetElementCount() const { return _record->description.elementCount; }
const DataTypeOperations& DataType::GetOperations() const { return _record->description.operations; }

void DataType::Construct(void* target, Int count) const {
  _record->description.operations.construct(target, GetSize(), count);
}

void DataType::Destruct(void* target, Int count) const {
  if (!IsPlain()) _record->description.operations.destruct(target, GetSize(), count);
}

Result<void> DataType::Copy(void* target, const void* source, Int count) const {
  return Copy(target, GetSize(), source, GetSize(), count);
}

Result<void> DataType::Copy(void* target, Int targetStride, const void* source, Int sourceStride, Int count) const {
  if (IsPlain() && targetStride == GetSize() && sourceStride == GetSize()) {
    if (count > 0) MemMove(target, source, count * GetSize());
    return OK;
  }
  if (IsPlain() && !_record->description.operations.copy) {
    for (Int i = 0; i < count; ++i)
      MemMove(static_cast<Byte*>(target) + i * targetStride, static_cast<const Byte*>(source) + i * sourceStride,
              GetSize());
    return OK;
  }
  if (!_record->description.operations.copy)
    return OSTRA_NOT_IMPLEMENTED("Values of type \"@\" cannot be copied.", GetName());
  return _record->description.operations.copy(target, targetStride, source, sourceStride, count);
}

void DataType::Move(void* target, void* source, Int count) const {
  if (IsPlain() && !_record->description.operations.move) {
    if (count > 0) MemMove(target, source, count * GetSize());
    return;
  }
  _record->description.operations.move(target, GetSize(), source, GetSize(), count);
}

Result<void> DataType::ConstructCopy(void* target, const void* source, Int count) const {
  return ConstructCopy(target, source, GetSize(), count);
}

Result<void> DataType::ConstructCopy(void* target, const void* source, Int sourceStride, Int count) const {
  const DataTypeOperations& operations = GetOperations();
  if (IsPlain() && sourceStride == GetSize()) {
    if (count > 0) MemMove(target, source, count * GetSize());
    return OK;
  }
  if (IsPlain() && !operations.constructCopy) return Copy(target, GetSize(), source, sourceStride, count);
  if (operations.constructCopy) return operations.constructCopy(target, GetSize(), source, sourceStride, count);
  if (!operations.construct || !operations.copy)
    return OSTRA_NOT_IMPLEMENTED("Values of type \"@\" cannot be copied.", GetName());
  Construct(target, count);
  auto copied = Copy(target, GetSize(), source, sourceStride, count);
  if (!copied) Destruct(target, count);
  return copied;
}

Result<void> DataType::ConstructMoved(void* target, void* source, Int count) const {
  if (IsPlain()) return ConstructCopy(target, source, count);
  const DataTypeOperations& operations = GetOperations();
  if (operations.constructMoved) {
    operations.constructMoved(target, GetSize(), source, GetSize(), count);
    return OK;
  }
  if (!operations.construct || !operations.move)
    return OSTRA_NOT_IMPLEMENTED("Values of type \"@\" cannot be moved.", GetName());
  Construct(target, count);
  Move(target, source, count);
  return OK;
}

Bool DataType::IsEqual(const void* a, const void* b) const {
  if (auto isEqual = _record->description.operations.isEqual) return isEqual(a, b);
  DebugStop("Stop: IsEqual not defined.");
  return false;
}

std::partial_ordering DataType::Compare(const void* a, const void* b) const {
  if (auto compare = _record->description.operations.compare) return compare(a, b);
  DebugStop("Stop: Compare not defined.");
  return std::partial_ordering::unordered;
}

UInt64 DataType::GetHashCode(const void* value) const {
  if (auto hash = _record->description.operations.hash) return hash(value);
  DebugStop("Stop: GetHashCode not defined.");
  return 0;
}

void DataType::GetUniqueHashCode(const void* value, UniqueHashStream& stream) const {
  if (auto uniqueHash = _record->description.operations.uniqueHash) return uniqueHash(value, stream);
  DebugStop("Stop: GetUniqueHashCode not defined.");
}

Result<String> DataType::ToText(const void* value) const {
  auto toText = _record->description.operations.toText;
  return toText ? toText(value) : Result<String>(GetName());
}

Result<DataType> DataType::Register(const DataTypeDescription& description) {
  return DataTypeTable::Get().Add(description, DataType(), true);
}

Result<DataType> DataType::Find(const Id& id) { return DataTypeTable::Get().Find(id); }
Bool DataType::Erase(const Id& id) { return DataTypeTable::Get().Erase(id); }

Bool DataType::AnyOperation(Bool (*matches)(const void* context, const void* operation), const void* context) {
  DataTypeTable& table = DataTypeTable::Get();
  const std::scoped_lock lock(table.mutex);
  for (const Record* bucket : table.buckets) {
    for (const Record* record = bucket; record; record = record->next) {
      const auto destruct = record->description.operations.destruct;  // types that have operations have this one
      if (record->isListed && destruct && matches(context, reinterpret_cast<const void*>(destruct))) return true;
    }
  }
  return false;
}

DataType DataType::FindOrRegister(const DataTypeDescription& description) {
  return FindOrRegister(description, DataType());
}

DataType DataType::FindOrRegister(const DataTypeDescription& description, DataType inner) {
  // A test may make one allocation fail; the second attempt then succeeds. Types cannot report failure here.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (auto type = DataTypeTable::Get().Add(description, inner, false)) return *type;
  }
  std::fputs("There is no memory for the data types of the program.\n", stderr);
  std::abort();
}

namespace {

Result<DataTypeDescription> NameParametric(DataTypeDescription description, const Id& parametricType, DataType inner,
                                           Int elementCount) {
  if (!inner.IsPopulated()) return OSTRA_ILLEGAL_ARGUMENT("A type cannot be made with \"@\".", inner);
  const std::string_view shortName = parametricType.GetView().substr(parametricType.GetView().rfind('.') + 1);
  const std::string_view count = elementCount == 4 ? "4" : elementCount == 3 ? "3" : elementCount == 2 ? "2" : "";
  OSTRA_ASSIGN_OR_RETURN(String id, Format("@@<@>", parametricType, count, inner.GetId()));
  OSTRA_ASSIGN_OR_RETURN(description.name, Format("@@<@>", shortName, count, inner.GetName()));
  description.id = Id(id);
  description.parametricType = parametricType;
  description.elementCount = elementCount;
  return description;
}

}  // namespace

DataType FindOrRegisterParametric(DataTypeDescription description, const Id& parametricType, DataType inner,
                                  Int elementCount) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (auto named = NameParametric(description, parametricType, inner, elementCount))
      return DataType::FindOrRegister(*named, inner);
  }
  std::fputs("There is no memory for the data types of the program.\n", stderr);
  std::abort();
}

Result<DataType> MakeParametricType(const DataTypeDescription& description, const Id& parametricType, DataType inner) {
  OSTRA_ASSIGN_OR_RETURN(DataTypeDescription named, NameParametric(description, parametricType, inner, 1));
  return DataTypeTable::Get().Add(named, inner, false);
}

namespace {

// What all pointers, and all blocks, are like.
DataTypeDescription DescribePointer() { return DescribeType<void*>(Id(), String()); }
DataTypeDescription DescribeBlock() { return DescribeType<Block<const Byte>>(Id(), String()); }

}  // namespace

DataType FindOrRegisterPointerType(DataType inner) {
  return FindOrRegisterParametric(DescribePointer(), kPointerParametricType, inner, 1);
}

DataType FindOrRegisterBlockType(DataType inner) {
  return FindOrRegisterParametric(DescribeBlock(), kBlockParametricType, inner, 1);
}

Result<DataType> DataType::MakePointer(DataType inner) {
  return MakeParametricType(DescribePointer(), kPointerParametricType, inner);
}

Result<DataType> DataType::MakeBlock(DataType inner) {
  return MakeParametricType(DescribeBlock(), kBlockParametricType, inner);
}

DataType DataTypeOf<Generic>::Make() {
  DataTypeDescription description;
  description.id = "net.ostra.datatype.generic"_id;
  description.name = "generic"_s;
  return DataType::FindOrRegister(description);
}

void UniqueHashStream::Write(UInt64 word) {
  _low = MixHash(_low ^ word);
  _high = MixHash(_high + word * 0x9E3779B97F4A7C15ULL + _low);
}

void UniqueHashStream::Write(const void* bytes, Int count) {
  Write(HashText(std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(count))));
  Write(static_cast<UInt64>(count));
}

namespace {

// The types that every module shares are described by the host, so that they outlive all modules.
template <class... Types>
void RegisterPlainTypes() {
  (static_cast<void>(GetDataType<Types>()), ...);
  (static_cast<void>(GetDataType<Types*>()), ...);
  (static_cast<void>(GetDataType<Block<Types>>()), ...);
  (static_cast<void>(GetDataType<BaseArray<Types>>()), ...);
}

[[maybe_unused]] const Bool g_registered = [] {
  RegisterPlainTypes<Bool, UInt8, Char, Int8, UInt16, Int16, UInt32, Int32, UInt64, Int64, Float32, Float64>();
  GetDataType<Generic>();
  GetDataType<AtomicUInt32>();
  GetDataType<AtomicUInt32*>();
  GetDataType<AtomicInt32>();
  GetDataType<String>();
  GetDataType<CString>();
  GetDataType<Id>();
  GetDataType<InternedId>();
  return true;
}();

}  // namespace
}  // namespace ostra
