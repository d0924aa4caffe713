#include <gtest/gtest.h>

#include <random>

#include "TableTestSupport.h"

TEST(TableArrayDraw, OffsetsClipAndPageLines) {
  FixedTable t(3, {30, 30});
  TestArray a;
  a.m_Tables = {&t};
  a.SetPage(200, 100, 50, 70);
  ASSERT_EQ(a.Layout(), 1);

  a.DrawTableArray(0, nullptr);
  ASSERT_EQ(t.drawn.size(), 9u);  // name, 2 titles, 3 lines of 2 cells
  EXPECT_EQ(t.drawn[0].line, CTableDrawer::LINE_NAME);
  EXPECT_TRUE(SameRect(t.drawn[0].rect, 50, 70, 110, 85));
  EXPECT_TRUE(SameRect(t.drawn[8].rect, 80, 117, 110, 127));
  EXPECT_EQ(t.drawn[8].pageLines, 3);
  EXPECT_EQ(t.pageBreaks, 1);

  // The clip is a view: only cells it meets, relative to its corner.
  t.drawn.clear();
  tagRECT clip{85, 100, 200, 112};
  a.DrawTableArray(0, &clip);
  ASSERT_EQ(t.drawn.size(), 2u);
  EXPECT_EQ(t.drawn[0].line, 0);
  EXPECT_EQ(t.drawn[0].column, 1);
  EXPECT_TRUE(SameRect(t.drawn[0].rect, -5, -3, 25, 7));
  EXPECT_TRUE(SameRect(t.drawn[1].rect, -5, 7, 25, 17));
  EXPECT_EQ(t.pageBreaks, 2);

  t.drawn.clear();
  tagRECT away{500, 500, 600, 600};
  a.DrawTableArray(0, &away);
  EXPECT_TRUE(t.drawn.empty());
  EXPECT_EQ(t.pageBreaks, 3);  // still once for the page

  a.DrawTableArray(1, nullptr);  // unknown pages draw nothing
  a.DrawTableArray(-1, nullptr);
  EXPECT_TRUE(t.drawn.empty());
  EXPECT_EQ(t.pageBreaks, 3);
}

TEST(TableArrayDraw, PageLinesAndPageBreaksOverSeveralPages) {
  FixedTable longer(20, {30, 30}), shorter(2, {30});
  TestArray a;
  a.m_Tables = {&longer, &shorter};
  a.SetPage(199, 77);
  // Page 0: lines 0..4 and 5..10 of longer; page 1: 11..15 and 16..19;
  // shorter does not fit under them and goes to page 2.
  ASSERT_EQ(a.Layout(), 3);
  std::vector<int> perPage;
  for (int p = 0; p < 3; ++p) {
    longer.drawn.clear();
    a.DrawTableArray(p, nullptr);
    if (!longer.drawn.empty()) perPage.push_back(longer.drawn.back().pageLines);
  }
  EXPECT_EQ(perPage, (std::vector<int>{11, 9}));
  EXPECT_EQ(longer.pageBreaks, 2);
  EXPECT_EQ(shorter.pageBreaks, 1);
  EXPECT_EQ(shorter.drawn.back().pageLines, 2);
}

namespace {

struct Outcome {
  std::vector<CTableDrawer*> order;
  int pages;
  std::vector<std::vector<CTableArrayDrawer::tagItemInfo>> layout;
};

// The best order found the slow way: every order listed up front, each laid
// out, fewest pages first, then the smallest last right edge, earliest wins.
Outcome BruteForce(const std::vector<CTableDrawer*>& tables, tagRECT page, bool* rightsDiffer, bool* tied,
                   bool* startLoses) {
  std::vector<std::vector<int>> orders;
  COrvekGlobals::GetPlaceVariants(static_cast<int>(tables.size()), &orders);
  std::vector<std::pair<int, int>> results;
  TestArray a;
  a.SetPageRects(&page, 1);
  for (auto& order : orders) {
    a.m_Tables.clear();
    for (int i : order) a.m_Tables.push_back(tables[static_cast<std::size_t>(i)]);
    int pages = 0, right = 0;
    a.CalcLayout(1.0f, &pages, &right, 1);
    results.emplace_back(pages, right);
  }
  const std::size_t best = static_cast<std::size_t>(std::min_element(results.begin(), results.end()) - results.begin());
  for (auto& r : results) {
    *rightsDiffer |= r.first == results[best].first && r.second != results[best].second;
    *tied |= &r != &results[best] && r == results[best];
  }
  *startLoses |= results[0].first > results[best].first;
  Outcome out;
  for (int i : orders[best]) out.order.push_back(tables[static_cast<std::size_t>(i)]);
  a.m_Tables = out.order;
  a.CalcLayout(1.0f, &out.pages, nullptr, 1);
  out.layout = a.m_Pages;
  return out;
}

}  // namespace

TEST(TableArrayOrder, OptimalMatchesEveryOrderTriedUpFront) {
  std::mt19937 rng(777);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  bool rightsDiffer = false, tied = false, startLoses = false;
  for (int round = 0; round < 40; ++round) {
    std::vector<FixedTable> tables;
    const int n = pick(1, 5);
    for (int i = 0; i < n; ++i) {
      // Some tables repeat an earlier one's sizes so that orders tie.
      if (i > 0 && pick(0, 3) == 0) {
        tables.push_back(tables[static_cast<std::size_t>(pick(0, i - 1))]);
        continue;
      }
      std::vector<int> widths(static_cast<std::size_t>(pick(1, 3)));
      for (int& w : widths) w = pick(10, 50);
      tables.emplace_back(pick(1, 25), widths);
    }
    std::vector<CTableDrawer*> start;
    for (auto& t : tables) start.push_back(&t);
    const tagRECT page{0, 0, pick(150, 400), pick(80, 250)};
    const Outcome expected = BruteForce(start, page, &rightsDiffer, &tied, &startLoses);

    TestArray a;
    a.SetPageRects(const_cast<tagRECT*>(&page), 1);
    a.m_Tables = start;
    int pages = -1;
    a.CalcLayoutOptimal(2.0f, &pages);
    EXPECT_EQ(pages, expected.pages) << "round " << round;
    EXPECT_EQ(a.m_Tables, expected.order) << "round " << round;
    EXPECT_TRUE(a.m_Pages == expected.layout) << "round " << round;
    EXPECT_FLOAT_EQ(tables[0].ScaleFactor(), 2.0f);
  }
  // The rounds must have exercised each rule, or the comparison proves little.
  EXPECT_TRUE(startLoses);
  EXPECT_TRUE(rightsDiffer);
  EXPECT_TRUE(tied);
}

TEST(TableArrayOrder, FewerPagesThenNarrowerThenEarlier) {
  // One column per page, 100 high: a 6-line table (87) leaves no room, so
  // the two 1-line tables (37 each, 94 together) must share a page.
  FixedTable big(6, {30}), small1(1, {30}), small2(1, {30});
  TestArray a;
  a.SetPage(70, 100);
  a.m_Tables = {&small1, &big, &small2};
  EXPECT_EQ(a.Layout(), 3);
  int pages = 0;
  a.CalcLayoutOptimal(1.0f, &pages);
  EXPECT_EQ(pages, 2);
  EXPECT_EQ(a.m_Tables, (std::vector<CTableDrawer*>{&small1, &small2, &big}));

  // One page in every order: the smallest last right edge wins, and of the
  // orders that reach it the earliest. b and c share a column unless the
  // tall a comes between them.
  FixedTable b(1, {20}), tall(6, {60}), c(1, {20});
  b.nameW = c.nameW = 20;
  a.SetPage(500, 100);
  a.m_Tables = {&b, &tall, &c};
  int right = 0;
  EXPECT_EQ(a.Layout(&right), 1);
  EXPECT_EQ(right, 180);
  a.CalcLayoutOptimal(1.0f, &pages);
  EXPECT_EQ(pages, 1);
  EXPECT_EQ(a.m_Tables, (std::vector<CTableDrawer*>{&b, &c, &tall}));
  a.Layout(&right);
  EXPECT_EQ(right, 100);

  // All orders alike: the starting order stays.
  FixedTable s1(4, {30}), s2(4, {30}), s3(4, {30});
  a.m_Tables = {&s3, &s1, &s2};
  a.CalcLayoutOptimal(1.0f, &pages);
  EXPECT_EQ(a.m_Tables, (std::vector<CTableDrawer*>{&s3, &s1, &s2}));

  a.m_Tables.clear();
  pages = -1;
  a.CalcLayoutOptimal(1.0f, &pages);
  EXPECT_EQ(pages, 0);
}
