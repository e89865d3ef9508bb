// Random sequences of buffer operations, compared with a model made of plain vectors.
#include <map>
#include <memory>
#include <optional>
#include <random>

#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

constexpr Int kNames = 5;

// What a buffer is: a slot with bytes that views share until a resize.
struct ModelBuffer {
  DataType type;
  std::shared_ptr<std::vector<Byte>> bytes;
  Int GetSize() const { return type.GetSize(); }
  Int GetByteCount() const { return static_cast<Int>(bytes->size()); }
  Int GetCount() const { return GetByteCount() / GetSize(); }
};
using ModelSlot = std::shared_ptr<ModelBuffer>;
using ModelTable = std::map<Int, ModelSlot>;

// The error message that is expected; none for success.
using Expectation = std::optional<std::string>;

class BufferModelTest : public ProgramTest, public testing::WithParamInterface<unsigned> {
 public:
  void SetUp() override {
    ProgramTest::SetUp();
    AddKernel("k"_iid, kScale);
    _random.seed(GetParam());
    for (Int i = 0; i < kNames; ++i) {
      const auto name = InternedId::Create("buffer@", i);
      ASSERT_THAT(name, IsOk());
      _names.push_back(*name);
    }
  }

  Int Pick(Int from, Int to) { return std::uniform_int_distribution<Int>(from, to)(_random); }
  InternedId Name(Int index) const { return _names[static_cast<std::size_t>(index)]; }
  DataType PickType() {
    const DataType types[] = {GetDataType<Byte>(), GetDataType<Int32>(), GetDataType<Float64>()};
    return types[Pick(0, 2)];
  }
  std::vector<Byte> PickBytes(Int count) {
    std::vector<Byte> bytes(static_cast<std::size_t>(count));
    for (Byte& byte : bytes) byte = static_cast<Byte>(Pick(0, 255));
    return bytes;
  }
  static ModelSlot Find(const ModelTable& table, Int index) {
    const auto position = table.find(index);
    return position == table.end() ? nullptr : position->second;
  }
  static ModelSlot MakeSlot(DataType type, std::vector<Byte> bytes) {
    return std::make_shared<ModelBuffer>(ModelBuffer{type, std::make_shared<std::vector<Byte>>(std::move(bytes))});
  }

  template <class R>
  void Expect(const R& result, const Expectation& message) {
    if (message) {
      EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, *message));
    } else {
      EXPECT_THAT(result, IsOk());
    }
  }

  // The operations. Each does the same to the program and to the model.
  void Create() {
    const Int name = Pick(0, kNames - 1);
    const DataType type = PickType();
    const Int count = Pick(0, 6);
    Expect(program->CreateUniformBuffer(Name(name), type, count), {});
    _buffers[name] = MakeSlot(type, std::vector<Byte>(static_cast<std::size_t>(count * type.GetSize())));
  }

  void Store() {
    const Int name = Pick(0, kNames - 1);
    const DataType type = PickType();
    const Int count = Pick(0, 6);
    std::vector<Byte> bytes = PickBytes(count * type.GetSize());
    const auto result = StoreBytes(name, type, bytes, count);
    Expect(result, count < 1 ? Expectation(kEmpty) : std::nullopt);
    if (count > 0) _buffers[name] = MakeSlot(type, std::move(bytes));
  }
  Result<void> StoreBytes(Int name, DataType type, std::vector<Byte>& bytes, Int count) {
    if (type == GetDataType<Byte>()) return program->StoreUniformBufferData(Name(name), AsBlock<Byte>(bytes, count));
    if (type == GetDataType<Int32>()) return program->StoreUniformBufferData(Name(name), AsBlock<Int32>(bytes, count));
    return program->StoreUniformBufferData(Name(name), AsBlock<Float64>(bytes, count));
  }
  Result<void> UpdateBytes(Int name, DataType type, std::vector<Byte>& bytes, Int offset, Int count) {
    if (type == GetDataType<Byte>())
      return program->UpdateUniformBufferData(Name(name), offset, AsBlock<Byte>(bytes, count));
    if (type == GetDataType<Int32>())
      return program->UpdateUniformBufferData(Name(name), offset, AsBlock<Int32>(bytes, count));
    return program->UpdateUniformBufferData(Name(name), offset, AsBlock<Float64>(bytes, count));
  }
  template <class T>
  static Block<T> AsBlock(std::vector<Byte>& bytes, Int count) {
    return Block<T>(reinterpret_cast<T*>(bytes.data()), count);
  }

  void Resize() {
    const Int name = Pick(0, kNames - 1);
    const Int count = Pick(-1, 8);
    const ModelSlot slot = Find(_buffers, name);
    const Expectation message = !slot       ? Expectation("buffer for resize could not be found")
                                : count < 1 ? Expectation("Buffer cannot be resized to 0 size.")
                                            : std::nullopt;
    Expect(program->ResizeUniformBuffer(Name(name), count, Pick(0, 1) == 1), message);
    if (message) return;
    auto resized = std::make_shared<std::vector<Byte>>(*slot->bytes);
    resized->resize(static_cast<std::size_t>(count * slot->GetSize()));
    slot->bytes = resized;
  }

  void Update() {
    const Int name = Pick(0, kNames - 1);
    const DataType type = PickType();
    const Int count = Pick(0, 4);
    const Int offset = Pick(-1, 6);
    std::vector<Byte> bytes = PickBytes(count * type.GetSize());
    const ModelSlot slot = Find(_buffers, name);
    const Int size = type.GetSize();
    Expectation message;
    if (!slot)
      message = "buffer for update could not be found";
    else if (count < 1)
      message = kEmpty;
    else if (offset < 0 || offset + count > slot->GetCount() || (offset + count) * size > slot->GetByteCount())
      message = "Data update does not fit into existing buffer";
    Expect(UpdateBytes(name, type, bytes, offset, count), message);
    if (!message) std::copy(bytes.begin(), bytes.end(), slot->bytes->begin() + offset * size);
  }

  // The message of a copy whose unit is elements or bytes.
  static Expectation CheckCopy(const ModelSlot& source, const ModelSlot& target, Int sourceTotal, Int targetTotal,
                               Int count, Int sourceOffset, Int targetOffset) {
    if (!source) return "source buffer could not be found";
    if (!target) return "target buffer could not be found";
    if (sourceOffset < 0 || sourceOffset + count > sourceTotal)
      return "count and offset out of range for source buffer";
    if (targetOffset < 0 || targetOffset + count > targetTotal)
      return "count and offset out of range for target buffer";
    return {};
  }
  // Copies onto itself must not overlap; the model leaves them out.
  void Copy() {
    const Int from = Pick(0, kNames - 1);
    const Int to = Pick(0, kNames - 1);
    const ModelSlot source = Find(_buffers, from);
    const ModelSlot target = Find(_buffers, to);
    if (source && source == target) return;
    const Int count = Pick(1, 4);
    const Int sourceOffset = Pick(-1, 4);
    const Int targetOffset = Pick(-1, 4);
    Expectation message = CheckCopy(source, target, source ? source->GetCount() : 0, target ? target->GetCount() : 0,
                                    count, sourceOffset, targetOffset);
    if (!message && source->type != target->type) message = "Buffers have mismatching data types";
    Expect(program->CopyBufferData(Name(from), Name(to), count, sourceOffset, targetOffset), message);
    if (message) return;
    const Int size = source->GetSize();
    std::copy_n(source->bytes->begin() + sourceOffset * size, count * size,
                target->bytes->begin() + targetOffset * size);
  }
  void CopyBytes() {
    const Int from = Pick(0, kNames - 1);
    const Int to = Pick(0, kNames - 1);
    const ModelSlot source = Find(_buffers, from);
    const ModelSlot target = Find(_buffers, to);
    if (source && source == target) return;
    const Int count = Pick(1, 20);
    const Int sourceOffset = Pick(-1, 12);
    const Int targetOffset = Pick(-1, 12);
    const Expectation message = CheckCopy(source, target, source ? source->GetByteCount() : 0,
                                          target ? target->GetByteCount() : 0, count, sourceOffset, targetOffset);
    Expect(program->CopyBufferDataBytes(Name(from), Name(to), count, sourceOffset, targetOffset), message);
    if (message) return;
    std::copy_n(source->bytes->begin() + sourceOffset, count, target->bytes->begin() + targetOffset);
  }

  void Delete() {
    const Int name = Pick(0, kNames - 1);
    Expect(program->DeleteUniformBuffer(Name(name)), {});
    _buffers.erase(name);
  }

  void Alias() {
    const Int from = Pick(0, kNames - 1);
    const Int to = Pick(0, kNames - 1);
    const auto link = program->GetGlobalBufferLink(Name(from));
    const ModelSlot slot = Find(_buffers, from);
    ASSERT_EQ(link.IsOk(), slot != nullptr);
    if (!slot) return;
    Expect(program->SetGlobalBufferLink(Name(to), *link), {});
    _buffers[to] = slot;
  }

  void Link() {
    const Int from = Pick(0, kNames - 1);
    const Int to = Pick(0, kNames - 1);
    const ModelSlot slot = Find(_buffers, from);
    ASSERT_EQ(program->SetBufferToActiveKernel(Name(from), Name(to)).IsOk(), slot != nullptr);
    if (slot) _links[to] = slot;
  }

  void Swap() {
    const Int one = Pick(0, kNames - 1);
    const Int two = Pick(0, kNames - 1);
    const Expectation message = !Find(_links, one)   ? Expectation("buffer one could not be found")
                                : !Find(_links, two) ? Expectation("buffer two could not be found")
                                                     : std::nullopt;
    Expect(program->SwapBuffers(Name(one), Name(two)), message);
    if (!message) std::swap(_links[one], _links[two]);
  }

  // Keeps what was read, to be compared again after later operations.
  void View() {
    const Int name = Pick(0, kNames - 1);
    const ModelSlot slot = Find(_buffers, name);
    auto data = program->GetGlobalBufferData(Name(name));
    Expect(data, slot ? std::nullopt : Expectation("buffer identifier not found"));
    if (slot && data) _views.emplace_back(*data, slot->bytes);
  }

  void ReadPart() {
    const Int name = Pick(0, kNames - 1);
    const Int offset = Pick(-1, 5);
    const Int count = Pick(0, 5);
    const ModelSlot slot = Find(_buffers, name);
    const Expectation message = !slot ? Expectation("buffer identifier not found")
                                : count > 0 && (offset < 0 || offset + count > slot->GetCount())
                                    ? Expectation("Requested data range is out of bounds")
                                    : std::nullopt;
    if (count == 0 && slot && (offset < 0 || offset > slot->GetCount())) return;
    auto data = program->GetGlobalBufferData(Name(name), offset, count);
    Expect(data, message);
    if (message || !data) return;
    const auto begin = slot->bytes->begin() + offset * slot->GetSize();
    _views.emplace_back(*data, std::make_shared<std::vector<Byte>>(begin, begin + count * slot->GetSize()));
  }

  static void ExpectBytes(const Data& data, const std::vector<Byte>& expected) {
    const auto* array = data.GetIf<Array<Generic>>();
    ASSERT_TRUE(array);
    const Block<Generic> block = array->GetFirstBlock();
    const auto* first = reinterpret_cast<const Byte*>(block.GetFirst());
    const auto size = static_cast<std::size_t>(block.GetCount() * array->GetElementType().GetSize());
    const std::vector<Byte> bytes = size ? std::vector<Byte>(first, first + size) : std::vector<Byte>();
    ASSERT_EQ(bytes, expected);
  }

  void CompareAll() {
    for (Int i = 0; i < kNames; ++i) {
      const auto buffer = program->GetGlobalBufferData(Name(i));
      const ModelSlot slot = Find(_buffers, i);
      ASSERT_EQ(buffer.IsOk(), slot != nullptr);
      if (slot) ExpectBytes(*buffer, *slot->bytes);
      const auto linked = program->GetKernelBufferData(Name(i));
      const ModelSlot linkedSlot = Find(_links, i);
      ASSERT_EQ(linked.IsOk(), linkedSlot != nullptr);
      if (linkedSlot) ExpectBytes(*linked, *linkedSlot->bytes);
    }
    for (const auto& [data, bytes] : _views) ExpectBytes(data, *bytes);
  }

  static constexpr const char* kEmpty =
      "Empty buffers are not allowed to be added. Please resize to the required size before storing.";
  std::mt19937 _random;
  std::vector<InternedId> _names;
  ModelTable _buffers;
  ModelTable _links;
  std::vector<std::pair<Data, std::shared_ptr<std::vector<Byte>>>> _views;
};

TEST_P(BufferModelTest, BehavesLikeItsModel) {
  using Operation = void (BufferModelTest::*)();
  const Operation operations[] = {&BufferModelTest::Create,    &BufferModelTest::Store, &BufferModelTest::Resize,
                                  &BufferModelTest::Update,    &BufferModelTest::Copy,  &BufferModelTest::CopyBytes,
                                  &BufferModelTest::Delete,    &BufferModelTest::Alias, &BufferModelTest::Link,
                                  &BufferModelTest::Swap,      &BufferModelTest::View,  &BufferModelTest::ReadPart,
                                  &BufferModelTest::Update,    &BufferModelTest::Store, &BufferModelTest::Copy,
                                  &BufferModelTest::CopyBytes, &BufferModelTest::Update};
  for (int step = 0; step < 1500; ++step) {
    const Int choice = Pick(0, static_cast<Int>(std::size(operations)) - 1);
    SCOPED_TRACE(testing::Message() << "step " << step << ", operation " << choice);
    (this->*operations[choice])();
    if (_views.size() > 20) _views.erase(_views.begin());
    CompareAll();
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BufferModelTest, testing::Range(1u, 21u));

}  // namespace
}  // namespace ostra::test
