#include <gtest/gtest.h>

#include <random>

#include "TableTestSupport.h"

// Mostly columns 30 wide, name 40 x 15, titles 12 high, lines 10 high: a page 77 high holds name, titles, lines 0..4.

TEST(TableArrayLayout, PageRectsAndEmptyInputs) {
  TestArray a;
  Rects got;
  const auto page = [&](int i) {
    tagRECT r{1, 2, 3, 4};
    a.GetPageRect(i, &r);
    got.push_back({r.left, r.top, r.right, r.bottom});
  };
  page(0);
  tagRECT rects[2] = {{0, 0, 100, 200}, {5, 6, 300, 400}};
  a.SetPageRects(rects, 2);
  page(-3);
  page(9);  // beyond the list: the last one again
  a.SetPageRects(rects, 0);
  page(1);
  EXPECT_EQ(got, (Rects{{0, 0, 0, 0}, {0, 0, 100, 200}, {5, 6, 300, 400}, {0, 0, 0, 0}}));

  a.SetPage(200, 77);
  int right = 99, noneRight = 99;
  const int none = a.Layout(&noneRight);  // no tables
  FixedTable t(3, {30, 30});
  TestArray noRects;
  noRects.m_Tables = {&t};
  const int pages = noRects.Layout(&right);  // no page rectangles: one empty page
  EXPECT_EQ(std::make_tuple(none, noneRight, pages, right, t.scaleCalls), std::make_tuple(0, 0, 1, 0, 1));
  EXPECT_TRUE(noRects.m_Pages[0].empty());
}

TEST(TableArrayLayout, PagesThatTakeNothing) {
  FixedTable t(3, {30, 30});
  TestArray a;
  a.m_Tables = {&t};
  tagRECT rects[2] = {{0, 0, 200, 36}, {0, 0, 200, 77}};  // 36: titles fit, line 0 does not
  a.SetPageRects(rects, 2);
  EXPECT_EQ(a.Layout(), 2);
  EXPECT_TRUE(a.m_Pages[0].empty());
  EXPECT_EQ(a.DataLines(1).size(), 3u);

  a.SetPageRects(rects, 1);  // no further rectangle: the layout ends
  EXPECT_EQ(a.Layout(), 1);
  EXPECT_TRUE(a.m_Pages[0].empty());

  // Too wide for its page: same course. A table behind it gets no place.
  FixedTable wide(2, {30, 31}), after(2, {30});
  TestArray b;
  b.m_Tables = {&t, &wide, &after};
  b.SetPage(60, 200);
  EXPECT_EQ(b.Layout(), 2);
  EXPECT_EQ(b.DataLines(0).size(), 3u);
  EXPECT_TRUE(b.m_Pages[1].empty());
  tagRECT narrow[2] = {{0, 0, 60, 200}, {0, 0, 61, 200}};
  b.SetPageRects(narrow, 2);  // the second page is wide enough for the rest
  EXPECT_EQ(b.Layout(), 2);
  EXPECT_EQ(b.DataLines(0).size(), 3u);
  EXPECT_EQ(b.DataLines(1).size(), 4u);
}

TEST(TableArrayLayout, ColumnsPagesAndNames) {
  FixedTable t(20, {30, 30});
  TestArray a;
  a.m_Tables = {&t};
  a.SetPage(200, 77);  // two columns of 60 fit (0..60, 80..140), a third not
  int right = 0;
  EXPECT_EQ(a.Layout(&right), 2);
  EXPECT_EQ(right, 140);
  // Column 1: name, titles, lines 0..4 (the last ending at 77); column 2: titles at the top, no name, lines 5..10.
  // New page: the continued name, then lines 11..15; 16..19 beside them.
  EXPECT_EQ(a.Rects({{0, 0, kName, 0},
                     {0, 0, 4, 1},
                     {0, 0, kHeader, 0},
                     {0, 0, 5, 1},
                     {0, 0, kContinued, 0},
                     {1, 0, kContinued, 0},
                     {1, 0, 16, 0},
                     {1, 0, kName, 0}}),
            (Rects{{0, 0, 60, 15},
                   {30, 67, 60, 77},
                   {0, 15, 30, 27},
                   {110, 12, 140, 22},
                   {-1, -1, -1, -1},
                   {0, 0, 60, 15},
                   {80, 12, 110, 22},
                   {-1, -1, -1, -1}}));
  int headers = 0;
  for (auto& i : a.m_Pages[0]) headers += i.nLine == kHeader && i.rcItem.top == 0;
  EXPECT_EQ(std::make_tuple(headers, a.DataLines(0).size(), a.DataLines(1).front().second),
            std::make_tuple(2, 11u, 11));

  // Without repeated names the new page starts with titles and one line more.
  EXPECT_EQ(a.Layout(nullptr, 0), 2);
  EXPECT_EQ(a.Rects({{1, 0, kContinued, 0}, {1, 0, 16, 0}}), (Rects{{-1, -1, -1, -1}, {0, 62, 30, 72}}));
  EXPECT_EQ(a.m_Pages[1].front().nLine, kHeader);

  // One line a pixel taller no longer fits and moves to the second column.
  t.lineHeights[4] = 11;
  EXPECT_EQ(a.Layout(), 2);
  EXPECT_EQ(a.Rects({{0, 0, 4, 0}}), (Rects{{80, 12, 110, 23}}));
}

TEST(TableArrayLayout, NextTableStartsWhereItsFirstLineFits) {
  FixedTable first(2, {30, 30}), next(3, {30});
  next.headerExtra = 25;  // its titles are wider than its lines
  TestArray a;
  a.m_Tables = {&first, &next};
  // first ends at 47; next: name 67..82, titles 82..94, line 0 94..104.
  a.SetPage(200, 104);
  a.Layout();
  EXPECT_EQ(a.Rects({{0, 1, kName, 0}, {0, 1, 0, 0}}), (Rects{{2, 67, 57, 82}, {2, 94, 57, 104}}));
  EXPECT_EQ(a.Find(0, 1, 1)->rcItem.left, 80);  // the rest in the next column

  a.SetPage(200, 103);
  a.Layout();
  EXPECT_EQ(a.Rects({{0, 1, kName, 0}}), (Rects{{80, 0, 135, 15}}));
  EXPECT_EQ(a.DataLines(0).size(), 5u);
}

TEST(TableArrayLayout, CentringInTheColumn) {
  FixedTable a2(2, {30, 30}), b1(2, {31});
  b1.nameW = 100;
  TestArray a;
  a.m_Tables = {&a2, &b1};
  a.SetPage(300, 300);
  int right = 0;
  a.Layout(&right);
  EXPECT_EQ(right, 100);
  // Column width 100 from b1's name; a2 (60) sits 20 in, b1's column 34 in.
  EXPECT_EQ(a.Rects({{0, 0, kName, 0}, {0, 1, kName, 0}, {0, 1, 0, 0}}),
            (Rects{{20, 0, 80, 15}, {0, 67, 100, 82}, {34, 94, 65, 104}}));
  EXPECT_EQ(std::make_pair(a.Find(0, 0, 1, 0)->rcItem.left, a.Find(0, 0, 1, 1)->rcItem.left), std::make_pair(20, 50));

  // A data cell wider than the rest widens its column only where it stands.
  TestArray w;
  w.SetPage(400, 77);
  WideCellTable wide(12, 7);
  w.m_Tables = {&wide};
  w.Layout(&right);
  EXPECT_EQ(w.Find(0, 0, 4, 1)->rcItem.right, 60);
  EXPECT_EQ(w.Rects({{0, 0, 7, 1}}), (Rects{{110, 32, 160, 42}}));
  EXPECT_EQ(right, 240);  // 0..60, 80..160, 180..240
}

TEST(TableArrayLayout, ColumnsAndTheirMeasures) {
  WideCellTable t(12, 7);
  FixedTable other(3, {30});
  TestArray a;
  a.m_Tables = {&t, &other};
  std::vector<CTableArrayDrawer::tagItemInfo> column;
  int table = 0, line = 0;
  // {size, table, line, widest column 1, name width, table width, widest column 0 of table 1 (not in it)}
  const auto measures = [&] {
    return std::vector<int>{static_cast<int>(column.size()),
                            table,
                            line,
                            a.GetMaxTableColumnWidth(&column, 0, 1),
                            a.GetTableNameWidth(&column, 0),
                            a.GetTableWidth(&column, 0),
                            a.GetMaxTableColumnWidth(&column, 1, 0)};
  };
  a.FormColumn(&column, &table, &line, 77, 1, 1);  // name, 2 titles, lines 0..4
  EXPECT_EQ(measures(), (std::vector<int>{13, 0, 5, 30, 40, 60, 0}));
  a.FormColumn(&column, &table, &line, 77, 0, 1);  // lines 5..10, no name
  EXPECT_EQ(column.front().nLine, kHeader);
  EXPECT_EQ(measures(), (std::vector<int>{14, 0, 11, 50, 0, 80, 0}));

  a.PushLineToInfo(&column, 0, 3, 100, 110);
  ASSERT_EQ(column.size(), 16u);
  EXPECT_EQ(column[15], (CTableArrayDrawer::tagItemInfo{0, 1, 3, {0, 100, 0, 110}}));

  table = 2;  // beyond the tables: the column is left alone
  a.FormColumn(&column, &table, &line, 77, 0, 1);
  EXPECT_EQ(column.size(), 16u);
}

TEST(TableArrayLayout, TablesWithoutLinesNeverHang) {
  FixedTable empty(0, {30, 30}), full(2, {30});
  TestArray a;
  a.SetPage(200, 300);
  a.m_Tables = {&empty};
  EXPECT_EQ(a.Layout(), 1);  // name and titles only, shown once
  EXPECT_EQ(a.m_Pages[0].size(), 3u);

  a.m_Tables = {&empty, &full, &empty};
  EXPECT_EQ(a.Layout(), 1);
  // The table behind an empty one gets its own name and titles.
  EXPECT_EQ(a.Rects({{0, 1, kName, 0}}), (Rects{{10, 47, 50, 62}}));
  EXPECT_EQ(std::make_pair(a.Find(0, 1, 0)->rcItem.top, a.Find(0, 2, kName)->rcItem.top), std::make_pair(74, 114));
  a.DrawTableArray(0, nullptr);
  EXPECT_EQ(std::make_tuple(empty.drawn.front().pageLines, full.drawn.front().pageLines, empty.pageBreaks),
            std::make_tuple(0, 2, 1));
  a.m_Tables = {&empty};
  a.SetPage(200, 26);  // its titles need 27
  EXPECT_EQ(a.Layout(), 1);
  EXPECT_TRUE(a.m_Pages[0].empty());

  // Lines of height 0 from a table that measures nothing all fit.
  struct Blank : CTableDrawer {
    Blank() {
      m_nLineCount = 50;
      m_nColumnCount = 2;
    }
  } blank;
  a.m_Tables = {&blank};
  a.SetPage(10, 1);
  EXPECT_EQ(a.GetMaxItemHeight(0, 3), 0);
  EXPECT_EQ(a.Layout(), 1);
  EXPECT_EQ(a.DataLines(0).size(), 50u);
}

// Random tables and pages: the layout ends, places every line once, in order, inside its page, and stops only at a
// table that fits nowhere.
TEST(TableArrayLayout, RandomLayoutsKeepTheirPromises) {
  std::mt19937 rng(12345);
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    std::vector<FixedTable> tables;
    for (int i = pick(0, 6); i > 0; --i) {
      std::vector<int> widths(static_cast<std::size_t>(pick(0, 3)));
      for (int& w : widths) w = pick(0, 60);
      tables.emplace_back(pick(0, 40), widths, pick(0, 20));
      tables.back().nameW = pick(0, 120);
      tables.back().nameH = pick(0, 20);
      tables.back().headerExtra = pick(0, 2) * pick(0, 30);
    }
    TestArray a;
    for (auto& t : tables) a.m_Tables.push_back(&t);
    std::vector<tagRECT> rects(static_cast<std::size_t>(pick(0, 3)));
    for (auto& r : rects) r = tagRECT{0, 0, pick(0, 250), pick(0, 250)};
    a.SetPageRects(rects.data(), static_cast<int>(rects.size()));
    const int pages = a.Layout(nullptr, pick(0, 1));
    ASSERT_EQ(pages, static_cast<int>(a.m_Pages.size()));
    // Whether each table fits a fresh page of the last rectangle on its own.
    tagRECT last;
    a.GetPageRect(1000, &last);
    bool allFit = true;
    for (auto& t : tables) {
      int sum = 0;
      for (int w : t.colW) sum += w + t.headerExtra;
      const int titles = t.nameH + (t.colW.empty() ? 0 : t.headerH);
      const int lineH = t.colW.empty() ? 0 : t.lineH;
      allFit = allFit && std::max(sum, t.nameW) <= last.right - last.left &&
               (t.GetLineCount() == 0 ? titles <= last.bottom - last.top
                                      : titles < last.bottom - last.top && titles + lineH <= last.bottom - last.top);
    }

    int table = 0, line = 0;  // the next line the layout must place
    auto skipDone = [&] {
      while (table < static_cast<int>(tables.size()) &&
             (line >= tables[static_cast<std::size_t>(table)].GetLineCount() ||
              tables[static_cast<std::size_t>(table)].colW.empty()))
        ++table, line = 0;
    };
    skipDone();
    for (int p = 0; p < pages; ++p) {
      tagRECT page;
      a.GetPageRect(p, &page);
      for (auto& item : a.m_Pages[static_cast<std::size_t>(p)]) {
        tagSIZE need;  // no cell is narrower than what it holds
        tables[static_cast<std::size_t>(item.nTable)].MeasureItem(item.nLine, item.nColumn, &need);
        EXPECT_GE(item.rcItem.right - item.rcItem.left, need.cx);
        EXPECT_GE(item.rcItem.left, 0);
        EXPECT_LE(item.rcItem.right, page.right - page.left);
        EXPECT_LE(item.rcItem.bottom, page.bottom - page.top);
      }
      for (auto& tl : a.DataLines(p)) {
        ASSERT_EQ(tl, std::make_pair(table, line));
        ++line;
        skipDone();
      }
    }
    if (table < static_cast<int>(tables.size())) {  // stopped: the last page took nothing
      EXPECT_FALSE(allFit);
      ASSERT_GT(pages, 0);
      EXPECT_TRUE(a.m_Pages.back().empty());
      EXPECT_GE(pages, static_cast<int>(rects.size()));
    }
  }
}

// A negative count of lines or columns is none, and no table ever takes the widths of another.
TEST(TableArrayLayout, HostileCountsGetADefinedLayout) {
  FixedTable full(2, {30}), negative(-3, {50, 70});
  struct NegativeColumns : FixedTable {
    NegativeColumns() : FixedTable(4, {20}) { m_nColumnCount = -2; }
  } noColumns;
  TestArray a;
  a.SetPage(300, 300);
  a.m_Tables = {&full, &negative, &noColumns, nullptr, &full};
  EXPECT_EQ(a.Layout(), 1);
  const auto* header = a.Find(0, 1, CTableDrawer::LINE_HEADER, 1);
  ASSERT_NE(header, nullptr);
  // Its own title width, its titles' height; none for no columns and no table.
  EXPECT_EQ(std::make_tuple(header->rcItem.right - header->rcItem.left, a.GetMaxItemHeight(1, kHeader),
                            a.GetMaxItemHeight(2, 0), a.GetMaxItemHeight(-1, 0)),
            std::make_tuple(70, 12, 0, 0));
}

TEST(TableArrayDraw, OffsetsClipAndPageLines) {
  FixedTable t(3, {30, 30});
  TestArray a;
  a.m_Tables = {&t};
  a.SetPage(200, 100, 50, 70);
  ASSERT_EQ(a.Layout(), 1);

  a.DrawTableArray(0, nullptr);
  // {line, column, rect, lines on the page} of each cell drawn.
  const auto drawn = [&](std::size_t i) {
    const FixedTable::Drawn& d = t.drawn.at(i);
    return std::make_tuple(d.line, d.column, d.rect.left, d.rect.top, d.rect.right, d.rect.bottom, d.pageLines);
  };
  ASSERT_EQ(t.drawn.size(), 9u);  // name, 2 titles, 3 lines of 2 cells
  EXPECT_EQ(drawn(0), std::make_tuple(kName, 0, 50, 70, 110, 85, 3));
  EXPECT_EQ(drawn(8), std::make_tuple(2, 1, 80, 117, 110, 127, 3));
  EXPECT_EQ(t.pageBreaks, 1);

  // The clip is a view: only cells it meets, relative to its corner.
  t.drawn.clear();
  tagRECT clip{85, 100, 200, 112};
  a.DrawTableArray(0, &clip);
  ASSERT_EQ(t.drawn.size(), 2u);
  EXPECT_EQ(drawn(0), std::make_tuple(0, 1, -5, -3, 25, 7, 3));
  EXPECT_EQ(drawn(1), std::make_tuple(1, 1, -5, 7, 25, 17, 3));
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
  // Page 0: lines 0..10 of longer; page 1: 11..19; shorter does not fit under them and goes to page 2.
  ASSERT_EQ(a.Layout(), 3);
  std::vector<int> perPage;
  for (int p = 0; p < 3; ++p) {
    longer.drawn.clear();
    a.DrawTableArray(p, nullptr);
    if (!longer.drawn.empty()) perPage.push_back(longer.drawn.back().pageLines);
  }
  EXPECT_EQ(perPage, (std::vector<int>{11, 9}));
  EXPECT_EQ(std::make_tuple(longer.pageBreaks, shorter.pageBreaks, shorter.drawn.back().pageLines),
            std::make_tuple(2, 1, 2));
}

namespace {

struct Outcome {
  std::vector<CTableDrawer*> order;
  int pages;
  std::vector<std::vector<CTableArrayDrawer::tagItemInfo>> layout;
};

// The best order the slow way: every order laid out; fewest pages, then the smallest last right edge, then earliest.
Outcome BruteForce(const std::vector<CTableDrawer*>& tables, tagRECT page, bool* rightsDiffer, bool* tied,
                   bool* startLoses) {
  std::vector<std::vector<int>> orders;
  EXPECT_EQ(S_OK, COrvekGlobals::GetPlaceVariants(static_cast<int>(tables.size()), &orders));
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
    SCOPED_TRACE(round);
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
    EXPECT_EQ(pages, expected.pages);
    EXPECT_EQ(a.m_Tables, expected.order);
    EXPECT_TRUE(a.m_Pages == expected.layout);
    EXPECT_FLOAT_EQ(tables[0].ScaleFactor(), 2.0f);
  }
  // The rounds must have exercised each rule, or the comparison proves little.
  EXPECT_TRUE(startLoses && rightsDiffer && tied) << startLoses << rightsDiffer << tied;
}

TEST(TableArrayOrder, FewerPagesThenNarrowerThenEarlier) {
  // One column a page, 100 high: a 6-line table (87) leaves no room; two 1-line ones (37 each) share a page.
  FixedTable big(6, {30}), small1(1, {30}), small2(1, {30});
  TestArray a;
  a.SetPage(70, 100);
  a.m_Tables = {&small1, &big, &small2};
  EXPECT_EQ(a.Layout(), 3);
  int pages = 0;
  a.CalcLayoutOptimal(1.0f, &pages);
  EXPECT_EQ(pages, 2);
  EXPECT_EQ(a.m_Tables, (std::vector<CTableDrawer*>{&small1, &small2, &big}));

  // One page in every order: the smallest last right edge wins, then the earliest; b and c share a column.
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
