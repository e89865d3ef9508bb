// Changes inside of expressions, on the CPU in lanes and one invocation at a time and on the GPU, against the same
// steps one by one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"
#include "tests/tool/word_values.h"

namespace ostra {
namespace {

constexpr std::size_t kResults = 20;

float Turn(float& x, float& y) {
  const float old = x;
  x = -y;
  y = old;
  return x + 2 * y;
}

void Split(float x, float& whole, float& rest) {
  whole = std::floor(x);
  rest = x - whole;
}

// What an invocation computes, in the order of the kernel's lines.
class Reference {
 public:
  Reference(std::size_t i, float s) : _i(i), _s(s) {}

  std::vector<float> Compute() {
    AddVectors();
    AddConditions();
    AddLoops();
    AddArguments();
    AddColumns();
    AddTruthValues();
    AddChoices();
    return _results;
  }

 private:
  void AddVectors() {
    const float s = _s;
    for (const float x : {s + 2, s + 3, s + 2, s + 3}) _v.push_back(x);
    Add(_v[0] + 10 * _v[1]);
    const float w[4] = {s + 4, s + 1 + 2, s + 2 + 1, s + 3};
    Add(w[2] + 10 * w[1] + 100 * w[0] + _v[3]);
  }

  void AddConditions() {
    const float s = _s;
    float c[3] = {1, 2, 3};
    bool isBoth = false, isOne = s > 0;
    if (s > 0) {
      c[0] = s, c[1] = 5;
      isBoth = s > 1;
    }
    if (!isOne) {
      std::swap(c[1], c[2]);
      isOne = c[2] > 1;
    }
    Add(c[0] + 10 * c[1] + 100 * c[2] + (isBoth ? 1000 : 0) + (isOne ? 2000 : 0));
    float d[2] = {1, 2};
    float e = 0;
    if (s > 0) {
      d[1] = s, d[0] = 3;
      e = s;
    } else {
      d[0] *= -2, d[1] *= -2;
      e = d[1];
    }
    Add(e + 10 * d[0] + 100 * d[1]);
    for (float& x : d) x += s > 0 ? 1 : -1;
    Add(d[0] + 10 * d[1]);
  }

  void AddLoops() {
    // x of 1, 2, 3 goes on; the second round adds nothing.
    Add(4 + 100 * 4 + 20 + 1000 * 3);
    float q[2] = {0, 0}, sum = 0;
    for (int k = 0; k < 10; q[1] += 1, q[0] += 2, k++) {
      if (k == 1) continue;
      if (k == 6) break;
      sum += q[0] + static_cast<float>(k);
    }
    Add(sum + 1000 * q[0] + 100 * q[1]);
    int n[3] = {0, 0, static_cast<int>(_s)};
    do {
      if (n[0] == 1) continue;
      n[2] += 100;
    } while (n[1] += 2, ++n[0] < 4);
    Add(static_cast<float>(n[0] + 10 * n[1] + n[2]));
    for (q[0] = 1, q[1] = 2; q[0] < 50; q[0] *= 2, q[1] *= 2) sum += q[1];
    Add(sum + q[0]);
  }

  void AddArguments() {
    float t[4] = {_v[0], _v[1], _v[2], _v[3]};
    float f = Turn(t[3], t[0]);
    f += Turn(t[1], t[2]) * _s;
    Add(f + 10 * t[0] + 100 * t[3] + 1000 * t[1] + 10000 * t[2]);
    const float first = Turn(t[0], t[1]);
    t[0] = first;
    const float second = Turn(t[1], t[2]);
    t[1] += second;
    Add(t[0] + 10 * t[1] + 100 * t[2]);
    float halves[2][2] = {};
    Split(_s * 0.75f, halves[1][1], halves[0][0]);
    for (int k = 0; k < 2 && Turn(t[2], t[3]) < 1e6f; ++k) Split(t[2] * 0.5f, halves[0][1], halves[1][0]);
    Add(halves[0][0] + 10 * halves[0][1] + 100 * halves[1][0] + 1000 * halves[1][1]);
    Add(_v[1] + 10 * _v[2]);
  }

  void AddColumns() {
    const std::size_t column = _i & 1;
    float m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (std::size_t k = 0; k < 3; ++k) m[column][k] = _v[k];
    float x = m[column][1] + 4;
    x += 10 * m[1][2];
    m[1][2] += 1, m[1][1] += 1;
    m[column][0] += 1;
    Add(x + 100 * m[column][0]);
    Add(m[0][0] + 10 * m[1][2] + 100 * 4);
    Add((column == 0 ? 1.0f : 3.0f) + _s);
  }

  void AddTruthValues() {
    bool b[2] = {_s > 1, true}, h = _s > 1;
    if (!h) {
      std::swap(b[0], b[1]);
      h = b[0] && b[1];
    }
    b[1] = !b[1];
    bool isFlipped = b[1];
    if (_s > 2) b[1] = !b[1];
    if (isFlipped) {
      b[0] = !b[0];
      isFlipped = b[0];
    }
    Add(static_cast<float>((b[0] ? 1 : 0) + (b[1] ? 10 : 0) + (h ? 100 : 0) + (isFlipped ? 1000 : 0)));
  }

  void AddChoices() {
    float z = 4.5f;
    const int kind = static_cast<int>(_i & 3);
    z += kind == 1 ? 10.0f : kind == 2 ? 20.0f : 7.0f;
    Add(z + 400);
    std::swap(_v[0], _v[1]);
    if (_v[0] > 100) {
      z = 1;
    } else {
      std::swap(_v[2], _v[3]);
      z = _v[2] > _s + 2.5f ? 2 + _v[2] : 3;
    }
    Add(z + 2);
    const float whole = std::trunc(_s);
    Add(8 + (_s - whole + 20) + whole + 8);
  }

  void Add(float result) { _results.push_back(result); }

  const std::size_t _i;
  const float _s;
  std::vector<float> _v;
  std::vector<float> _results;
};

class RunChangesTest : public testing::Test {
 protected:
  RunChangesTest() {
    for (int i = 0; i < 203; ++i)
      _numbers.push_back(static_cast<float>(i % 29 - 9) * 0.25f + static_cast<float>(i / 29));
    _folder.Write("numbers.raw", BytesOf(_numbers));
  }

  ToolResult Run(const std::vector<std::string>& options) {
    const std::string count = std::to_string(_numbers.size());
    std::vector<std::string> arguments = {"run",    GetTestKernel("extended/net.example.changes.krn"),
                                          "--in",   "source=" + _folder / "numbers.raw",
                                          "--in",   "target=zeros:" + std::to_string(_numbers.size() * kResults),
                                          "--out",  "target=" + _folder / "results.raw",
                                          "--set",  "count=" + count,
                                          "--size", count};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }

  void CheckResults() {
    const auto results = ValuesOf<float>(_folder.Read("results.raw"));
    ASSERT_EQ(results.size(), _numbers.size() * kResults);
    for (std::size_t i = 0; i < _numbers.size(); ++i) {
      const std::vector<float> expected = Reference(i, _numbers[i]).Compute();
      ASSERT_EQ(expected.size(), kResults);
      for (std::size_t k = 0; k < kResults; ++k)
        ASSERT_EQ(results[i * kResults + k], expected[k]) << "result " << k << " of " << _numbers[i] << ", " << i;
    }
  }

  TemporaryFolder _folder;
  std::vector<float> _numbers;
};

TEST_F(RunChangesTest, LanesTakeTheStepsInOrder) {
  const ToolResult cpu = Run({"--backend", "cpu"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults();
  const ToolResult explained = RunTool({"check", "--explain", GetTestKernel("extended/net.example.changes.krn")});
  EXPECT_THAT(explained.output, testing::Not(testing::HasSubstr("no wide form")));
}

TEST_F(RunChangesTest, OneInvocationAtATimeTakesThemInOrder) {
  const ToolResult cpu = Run({"--backend", "cpu", "--debug"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults();
}

TEST_F(RunChangesTest, TheGpuTakesThemInOrder) {
  for (const char* check : {"", "--checked"}) {
    std::vector<std::string> options = {"--backend", "gpu"};
    if (*check) options.push_back(check);
    const ToolResult gpu = Run(options);
    if (gpu.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
      GTEST_SKIP() << "There is no GPU device on this machine.";
    ASSERT_EQ(gpu.exitStatus, 0) << gpu.errors;
    CheckResults();
  }
}

TEST_F(RunChangesTest, CheckedKernelsTakeThemInOrder) {
  const ToolResult cpu = Run({"--backend", "cpu", "--checked"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults();
}

TEST_F(RunChangesTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("extended/net.example.changes.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors << result.output;
  EXPECT_EQ(result.errors, "");
}

}  // namespace
}  // namespace ostra
