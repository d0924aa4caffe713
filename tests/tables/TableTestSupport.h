#pragma once

#include <array>
#include <map>
#include <vector>

#include <orvek/Orvek.h>

// A table of fixed cell sizes that records what the layout asks of it.
// Names are nameW x nameH (measured in column 0; other columns report a
// width the layout must never use), titles colW[c] x headerH, data cells
// colW[c] x lineH, or lineHeights[line] where given. Titles are headerExtra
// wider than the data cells.
class FixedTable : public CTableDrawer {
 public:
  struct Drawn {
    int line, column;
    tagRECT rect;
    int pageLines;
  };

  FixedTable(int lines, std::vector<int> widths, int lineHeight = 10) : colW(std::move(widths)), lineH(lineHeight) {
    m_nLineCount = lines;
    m_nColumnCount = static_cast<int>(colW.size());
  }

  void MeasureItem(int line, int column, tagSIZE* size) override {
    ++measured;
    if (line == LINE_NAME || line == LINE_NAME_CONTINUED) {
      size->cx = column == 0 ? nameW : 100000;
      size->cy = nameH;
      return;
    }
    size->cx = colW.at(static_cast<std::size_t>(column)) + (line == LINE_HEADER ? headerExtra : 0);
    auto it = lineHeights.find(line);
    size->cy = line == LINE_HEADER ? headerH : it != lineHeights.end() ? it->second : lineH;
  }
  void DrawItem(int line, int column, tagRECT* rect) override {
    drawn.push_back({line, column, *rect, m_nCurPageLines});
  }
  void OnPageBreak() override { ++pageBreaks; }
  void OnSetScaleFactor() override { ++scaleCalls; }

  float ScaleFactor() const { return m_fScaleFactor; }

  std::vector<int> colW;
  int lineH;
  int headerH = 12, nameH = 15, nameW = 40, headerExtra = 0;
  std::map<int, int> lineHeights;
  int measured = 0, pageBreaks = 0, scaleCalls = 0;
  std::vector<Drawn> drawn;
};

// A FixedTable whose cell (wideLine, column 1) is 50 wide.
struct WideCellTable : FixedTable {
  WideCellTable(int lines, int wide) : FixedTable(lines, {30, 30}), wideLine(wide) {}
  void MeasureItem(int line, int column, tagSIZE* size) override {
    FixedTable::MeasureItem(line, column, size);
    if (line == wideLine && column == 1) size->cx = 50;
  }
  int wideLine;
};

// Opens the protected interface of the layout to the tests.
class TestArray : public CTableArrayDrawer {
 public:
  using CTableArrayDrawer::CalcLayout;
  using CTableArrayDrawer::CalcLayoutOptimal;
  using CTableArrayDrawer::DrawTableArray;
  using CTableArrayDrawer::FormColumn;
  using CTableArrayDrawer::GetMaxItemHeight;
  using CTableArrayDrawer::GetMaxTableColumnWidth;
  using CTableArrayDrawer::GetPageRect;
  using CTableArrayDrawer::GetTableNameWidth;
  using CTableArrayDrawer::GetTableWidth;
  using CTableArrayDrawer::m_Pages;
  using CTableArrayDrawer::m_Tables;
  using CTableArrayDrawer::PushLineToInfo;
  using CTableArrayDrawer::SetPageRects;

  void SetPage(int width, int height, int left = 0, int top = 0) {
    tagRECT r{left, top, left + width, top + height};
    SetPageRects(&r, 1);
  }
  int Layout(int* lastRight = nullptr, int repeat = 1) {
    int pages = -1;
    CalcLayout(1.0f, &pages, lastRight, repeat);
    return pages;
  }
  // Data lines of a page as (table, line), column 0 only, in page order.
  std::vector<std::pair<int, int>> DataLines(int page) const {
    std::vector<std::pair<int, int>> out;
    for (const tagItemInfo& i : m_Pages.at(static_cast<std::size_t>(page)))
      if (i.nLine >= 0 && i.nColumn == 0) out.emplace_back(i.nTable, i.nLine);
    return out;
  }
  const tagItemInfo* Find(int page, int table, int line, int column = 0) const {
    for (const tagItemInfo& i : m_Pages.at(static_cast<std::size_t>(page)))
      if (i.nTable == table && i.nLine == line && i.nColumn == column) return &i;
    return nullptr;
  }
  // The rectangles of the items named {page, table, line, column}; {-1, -1, -1, -1} where there is none.
  std::vector<std::array<LONG, 4>> Rects(std::vector<std::array<int, 4>> items) const {
    std::vector<std::array<LONG, 4>> out;
    for (const auto& k : items) {
      const tagItemInfo* i = Find(k[0], k[1], k[2], k[3]);
      out.push_back(i ? std::array<LONG, 4>{i->rcItem.left, i->rcItem.top, i->rcItem.right, i->rcItem.bottom}
                      : std::array<LONG, 4>{-1, -1, -1, -1});
    }
    return out;
  }
};
using Rects = std::vector<std::array<LONG, 4>>;
constexpr int kName = CTableDrawer::LINE_NAME, kHeader = CTableDrawer::LINE_HEADER,
              kContinued = CTableDrawer::LINE_NAME_CONTINUED;

inline bool SameRect(const tagRECT& a, int l, int t, int r, int b) {
  return a.left == l && a.top == t && a.right == r && a.bottom == b;
}
inline bool operator==(const CTableArrayDrawer::tagItemInfo& a, const CTableArrayDrawer::tagItemInfo& b) {
  return a.nTable == b.nTable && a.nColumn == b.nColumn && a.nLine == b.nLine &&
         SameRect(a.rcItem, b.rcItem.left, b.rcItem.top, b.rcItem.right, b.rcItem.bottom);
}
