// Null pointers, negative and huge counts, NaN and infinite values at every
// entry point of the signal classes: a defined result, never a crash, an
// overflow or a hang (the sanitizer builds check the "never").
#include <gtest/gtest.h>
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/signal/CircleBuffer.h>
#include <orvek/signal/Filters.h>
#include <orvek/signal/LinInterp.h>
#include <orvek/signal/ScatteredArray.h>
#include <orvek/signal/SoftValueChanger.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
const int kCounts[] = {-1, INT_MIN, INT_MAX, INT_MAX - 1, 0};

TEST(HostileArguments, CircleBuffer) {
  CCircleBuffer<double> ring;
  double buf[4] = {1, 2, 3, 4}, *p1, *p2;
  int n1, n2;
  for (int c : kCounts) {  // before Create nothing moves
    ring.Push(buf, c);
    ring.Pop(nullptr, c);
    ring.Drop(c);
  }
  EXPECT_EQ(ring.GetElementsAmount(), 0);
  ring.Create(INT_MIN);
  ring.Create(4);
  for (int c : kCounts) {
    ring.Push(nullptr, c);
    ring.Pop(nullptr, c);
    ring.Drop(c);
    EXPECT_TRUE(ring.GetRdPtr() >= 0 && ring.GetRdPtr() < 4 && ring.GetWrPtr() >= 0 && ring.GetWrPtr() < 4) << c;
  }
  ring.Push(buf, INT_MAX);  // INT_MAX modulo 4: the first 3 elements
  const struct {
    int count;
    LONG history, region;
  } cases[] = {{-1, E_INVALIDARG, E_INVALIDARG},
               {INT_MIN, E_INVALIDARG, E_INVALIDARG},
               {5, E_OUTOFMEMORY, E_INVALIDARG},
               {INT_MAX, E_OUTOFMEMORY, E_INVALIDARG},
               {4, S_OK, S_OK},
               {0, S_OK, S_OK}};
  for (const auto& k : cases) {
    EXPECT_EQ(ring.GetHistory(buf, k.count), k.history) << k.count;
    EXPECT_EQ(ring.GetWrBuffer(k.count, &p1, &n1, &p2, &n2), k.region) << k.count;
    EXPECT_EQ(ring.GetRdBuffer(k.count, &p1, &n1, &p2, &n2), k.region) << k.count;
  }
  EXPECT_EQ(ring.GetHistory(nullptr, 2), E_POINTER);
  EXPECT_EQ(ring.GetWrBuffer(2, nullptr, &n1, &p2, &n2), E_POINTER);
  EXPECT_EQ(ring.GetRdBuffer(2, &p1, &n1, &p2, nullptr), E_POINTER);
}

TEST(HostileArguments, ScatteredArray) {
  using Array = CScatteredArray<ULONG>;
  ULONG a[3] = {1, 2, 3}, out[8] = {};
  const struct {
    std::vector<Array::tagPartInfo> parts;
    LONG result;
  } inits[] = {
      {{{a, 3}}, S_OK},
      {{{nullptr, 0}, {a, -5}, {a, 3}}, S_OK},  // empty blocks need no memory
      {{{a, 3}, {nullptr, 2}}, E_POINTER},      // a block without memory
      {{{a, INT_MAX}, {a, 1}}, E_INVALIDARG},   // beyond the range of a position
      {{{a, INT_MAX / 2 + 1}, {a, INT_MAX / 2 + 1}}, E_INVALIDARG},
  };
  Array arr;
  for (const auto& k : inits) {
    auto parts = k.parts;
    EXPECT_EQ(arr.Init(&parts), k.result);
    int size = -1;
    EXPECT_EQ(arr.GetArraySize(&size), S_OK);
    EXPECT_EQ(size, 3);  // a refused list leaves the last one
  }
  EXPECT_EQ(arr.Init(nullptr), E_POINTER);
  EXPECT_EQ(arr.GetArraySize(nullptr), E_POINTER);
  const struct {
    int part, offset, count;
    LONG result;
  } runs[] = {{0, -1, 1, E_FAIL},      {-1, 0, 1, E_FAIL},      {INT_MIN, 0, 1, E_FAIL}, {INT_MAX, 0, 1, E_FAIL},
              {0, INT_MAX, 1, E_FAIL}, {0, 2, INT_MAX, E_FAIL}, {0, 0, INT_MIN, S_OK},   {0, 0, -1, S_OK}};
  for (const auto& k : runs) {
    EXPECT_EQ(arr.ReadPartFrom(k.part, k.offset, k.count, out), k.result) << k.part << " " << k.offset;
    EXPECT_EQ(arr.WritePartFrom(k.part, k.offset, k.count, out), k.result) << k.part << " " << k.offset;
  }
  EXPECT_EQ(arr.Read(INT_MIN, 1, out), E_FAIL);
  EXPECT_EQ(arr.Write(0, 1, nullptr), E_POINTER);
  int part = 7, offset = 7;
  for (int pos : {-1, INT_MIN, INT_MAX}) EXPECT_EQ(arr.FindPart(pos, &part, &offset), E_FAIL);
  EXPECT_EQ(part * 10 + offset, 77);
  EXPECT_EQ(arr.FindPart(0, &part, nullptr), E_POINTER);
}

TEST(HostileArguments, Filters) {
  CDlyLine<float> dly;
  CMaxFilter<float> mx;
  CMedFilter<float> med;
  float block[6] = {kNaN, kInf, -kInf, 1, kNaN, -0.0f};
  for (int size : {0, -1, INT_MIN}) {
    EXPECT_EQ(dly.Create(size), E_INVALIDARG);
    EXPECT_EQ(mx.Create(size), E_INVALIDARG);
    EXPECT_EQ(med.Create(size), E_INVALIDARG);
  }
  EXPECT_EQ(dly.ProcessI(block, 6), E_FAIL);  // before Create
  EXPECT_EQ(mx.ProcessI(block, 6), E_FAIL);
  EXPECT_EQ(med.ProcessI(block, 6), E_FAIL);
  ASSERT_EQ(dly.Create(1), S_OK);
  ASSERT_EQ(mx.Create(2), S_OK);
  ASSERT_EQ(med.Create(3), S_OK);
  for (int c : {-1, INT_MIN, 0}) {
    EXPECT_EQ(dly.ProcessI(nullptr, c), S_OK);
    EXPECT_EQ(mx.ProcessI(block, c), S_OK);
  }
  EXPECT_EQ(dly.ProcessI(nullptr, 1), E_POINTER);
  EXPECT_EQ(mx.ProcessI(nullptr, 1), E_POINTER);
  EXPECT_EQ(med.ProcessI(nullptr, 1), E_POINTER);
  float d[6], m[6], e[6];
  std::copy(block, block + 6, d);
  std::copy(block, block + 6, m);
  std::copy(block, block + 6, e);
  EXPECT_EQ(dly.ProcessI(d, 6), S_OK);
  EXPECT_EQ(mx.ProcessI(m, 6), S_OK);
  EXPECT_EQ(med.ProcessI(e, 6), S_OK);
  EXPECT_EQ(d[0], 0.0f);
  EXPECT_TRUE(std::isnan(d[1]));
  EXPECT_EQ(d[2], kInf);
  EXPECT_TRUE(std::isnan(m[0]));  // the first sample is taken as it is
  EXPECT_EQ(m[3], 1.0f);          // the window has moved past the infinities
  EXPECT_EQ(e[3], 1.0f);          // median of -inf, 1 and inf
}

TEST(HostileArguments, InterpolationAndFIR) {
  CLinInterp li;
  for (int f : {0, -1, INT_MIN}) EXPECT_EQ(li.Init(f), E_INVALIDARG);
  float in[2] = {kNaN, kInf}, out[4] = {};
  EXPECT_EQ(li.Process(nullptr, 1, out), E_POINTER);
  EXPECT_EQ(li.Process(in, 1, nullptr), E_POINTER);
  EXPECT_EQ(li.Process(nullptr, INT_MIN, nullptr), S_OK);
  ASSERT_EQ(li.Init(2), S_OK);
  EXPECT_EQ(li.Process(in, 2, out), S_OK);
  for (float o : out) EXPECT_TRUE(std::isnan(o));  // 0 * NaN and 0 * inf are NaN

  EXPECT_EQ(COrvekGlobals::NormalizeFIR(nullptr, 5), kInf);
  float coeffs[2] = {kNaN, 1};
  EXPECT_EQ(COrvekGlobals::NormalizeFIR(coeffs, INT_MIN), kInf);
  EXPECT_TRUE(std::isnan(COrvekGlobals::NormalizeFIR(coeffs, 2)));

  const struct {
    float in, out;
    LONG result;
  } rates[] = {{kNaN, 1, E_INVALIDARG},   {1, kNaN, E_INVALIDARG},   {kInf, 1, E_INVALIDARG},
               {1, -kInf, E_INVALIDARG},  {0, 1, E_INVALIDARG},      {-48000, 44100, E_INVALIDARG},
               {3.4e38f, 1e-38f, E_FAIL}, {1e-45f, 3.4e38f, E_FAIL}, {48000, 44100, S_OK}};
  for (const auto& k : rates) {
    int up = -1, down = -1;
    EXPECT_EQ(COrvekGlobals::GetUpDownFactor(k.in, k.out, &up, &down), k.result) << k.in << " " << k.out;
  }
  int up;
  EXPECT_EQ(COrvekGlobals::GetUpDownFactor(1, 1, &up, nullptr), E_POINTER);
}

TEST(HostileArguments, SoftValueChanger) {
  CSoftValueChangerHSin<float> v;
  // A NaN target is steady once set: it must not read as changing for ever.
  EXPECT_EQ(v.Init(kNaN), S_OK);
  EXPECT_TRUE(std::isnan(v.GetValue()));
  EXPECT_EQ(v.IsChanging(), 0);
  const struct {
    float value, time;
    bool changing;
  } changes[] = {{1, kNaN, false}, {2, -1, false},   {3, -kInf, false}, {kInf, 0, false},
                 {4, kInf, true},  {5, 3e38f, true}, {kNaN, 10, true},  {-kInf, 1e-9f, false}};
  for (const auto& k : changes) {
    EXPECT_EQ(v.ChangeValue(k.value, k.time), S_OK) << k.value << " " << k.time;
    EXPECT_EQ(v.IsChanging(), k.changing ? 1 : 0) << k.value << " " << k.time;
  }
  EXPECT_EQ(v.GetValue(), -kInf);
  EXPECT_EQ(v.ChangeValueInvDyn(-kInf, 1), E_FAIL);
}

}  // namespace
