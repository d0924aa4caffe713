#include <orvek/tables/TableArrayDrawer.h>

#include <algorithm>
#include <numeric>

#include <orvek/platform/core/Rect.h>

namespace {

constexpr int LINE_HEADER = CTableDrawer::LINE_HEADER;
constexpr int LINE_NAME = CTableDrawer::LINE_NAME;
constexpr int LINE_NAME_CONTINUED = CTableDrawer::LINE_NAME_CONTINUED;

using ItemInfo = CTableArrayDrawer::tagItemInfo;
using ItemList = std::vector<ItemInfo>;
using TableList = std::vector<CTableDrawer*>;

bool IsNameLine(int line) { return line == LINE_NAME || line == LINE_NAME_CONTINUED; }

// End of the run of items that belong to the table of items[first]; the
// items of one table always follow each other in a column and on a page.
std::size_t TableRunEnd(const ItemList& items, std::size_t first) {
  std::size_t end = first;
  while (end < items.size() && items[end].nTable == items[first].nTable) ++end;
  return end;
}

// The tallest cell of one line over the given columns; with cellWidths
// given, it receives the width of each cell.
int CellsHeight(CTableDrawer* t, int columns, int line, int* cellWidths) {
  tagSIZE size;
  int h = 0;
  for (int c = 0; c < columns; ++c) {
    t->MeasureItem(line, c, &size);
    h = std::max(h, static_cast<int>(size.cy));
    if (cellWidths) cellWidths[c] = size.cx;
  }
  return h;
}

// A negative count of lines is a table without lines.
int LineCount(CTableDrawer* t) { return t ? std::max(0, t->GetLineCount()) : 0; }

// The height of a line as GetMaxItemHeight gives it. A name line is measured
// in column 0 for its width (nameWidth) and in every column for its height;
// the cells of other lines give their widths to cellWidths.
int MeasureLine(CTableDrawer* t, int line, int columns, int* cellWidths, int* nameWidth) {
  if (!t) return 0;
  int h = 0;
  if (IsNameLine(line)) {
    tagSIZE size;
    t->MeasureItem(line, 0, &size);
    h = size.cy;
    if (nameWidth) *nameWidth = size.cx;
    cellWidths = nullptr;
  }
  if (line >= LineCount(t)) {
    if (cellWidths) std::fill(cellWidths, cellWidths + columns, 0);  // never a width left from another table
    return 0;
  }
  return std::max(h, CellsHeight(t, columns, line, cellWidths));
}

int ColumnCount(CTableDrawer* t) { return t ? std::max(0, t->GetColumnCount()) : 0; }

// One column of a page as the layout forms it: for each table in it, its
// name and title lines, the range of data lines and the widest cell of each
// table column. The cells themselves become items only for a layout that is
// kept; the search over orders needs no more than this.
struct ColumnPlan {
  struct Run {
    int table;
    int columns;
    int nameLine;  // 0: none
    int nameTop, nameBottom, nameWidth;
    int headerTop, headerBottom;
    int firstLine, lines;  // data lines firstLine .. firstLine + lines - 1
    std::size_t widths;    // where its column widths start in ColumnPlan::widths
    std::size_t bottoms;   // where its line bottoms start in ColumnPlan::bottoms
    int sum, width;        // sum of the column widths; the greater of that and the name
    // The items it stands for: a name, and titles and lines in each column.
    bool HasItems() const { return nameLine != 0 || columns > 0; }
    bool HasData() const { return lines > 0 && columns > 0; }
  };

  std::vector<Run> runs;
  std::vector<int> widths;        // per run and table column, the widest cell
  std::vector<int> bottoms;       // per run and data line, its bottom (kept only when asked)
  std::vector<int> cells, lefts;  // scratch: one line's cell widths, one run's column edges

  void Clear() {
    runs.clear();
    widths.clear();
    bottoms.clear();
  }
  Run& Open(int table, int columns) {
    runs.push_back(Run{table, columns, 0, 0, 0, 0, 0, 0, 0, 0, widths.size(), bottoms.size(), 0, 0});
    widths.resize(widths.size() + static_cast<std::size_t>(columns), 0);
    return runs.back();
  }
  void CutBefore(std::size_t run) {
    if (run >= runs.size()) return;
    widths.resize(runs[run].widths);
    bottoms.resize(runs[run].bottoms);
    runs.resize(run);
  }
  bool HasItems() const {
    return std::any_of(runs.begin(), runs.end(), [](const Run& r) { return r.HasItems(); });
  }
  bool HasData() const {
    return std::any_of(runs.begin(), runs.end(), [](const Run& r) { return r.HasData(); });
  }
};

// The column-forming steps of FormColumn on a plan. The caller has checked
// that *pTable names a table.
void PlanColumn(const TableList& tables, ColumnPlan* plan, int* pTable, int* pLine, int height, int bFirstOnPage,
                int bRepeatNames, bool keepBottoms) {
  using Run = ColumnPlan::Run;
  const int count = static_cast<int>(tables.size());
  plan->Clear();
  const int firstTable = *pTable;

  // A table that goes on in a further column of the same page shows no name;
  // on a new page it shows the continued name if names repeat.
  int nameLine = 0;
  if (*pLine == 0)
    nameLine = LINE_NAME;
  else if (bFirstOnPage && bRepeatNames)
    nameLine = LINE_NAME_CONTINUED;
  CTableDrawer* t = tables[static_cast<std::size_t>(*pTable)];
  {
    Run& run = plan->Open(*pTable, ColumnCount(t));
    int y = 0;
    if (nameLine != 0) {
      run.nameLine = nameLine;
      run.nameBottom = y = MeasureLine(t, nameLine, run.columns, nullptr, &run.nameWidth);
    }
    // Every column starts with the column titles.
    run.headerTop = y;
    run.headerBottom = y + MeasureLine(t, LINE_HEADER, run.columns, plan->widths.data() + run.widths, nullptr);
    run.firstLine = *pLine;
  }
  int y = plan->runs.back().headerBottom;

  for (;;) {
    Run& run = plan->runs.back();
    t = tables[static_cast<std::size_t>(*pTable)];
    const int lines = LineCount(t);
    plan->cells.resize(static_cast<std::size_t>(run.columns));
    int* widths = plan->widths.data() + run.widths;
    // The test for the end of a table comes first, so that a table without
    // lines is finished at once instead of adding lines of height 0 forever.
    while (*pLine < lines && y < height) {
      const int h = CellsHeight(t, run.columns, *pLine, plan->cells.data());
      if (y + h > height) break;  // a line that ends exactly at the height fits
      for (int c = 0; c < run.columns; ++c) widths[c] = std::max(widths[c], plan->cells[static_cast<std::size_t>(c)]);
      y += h;
      if (keepBottoms) plan->bottoms.push_back(y);
      ++run.lines;
      ++*pLine;
    }
    if (*pLine < lines) break;  // the column is full

    // The table is finished: the next one starts here if its name, its titles
    // and its first data line fit below a gap. A table without lines shows
    // its name and titles and is passed over; the one behind it gets the same
    // test, so that no table goes on under the titles of another.
    if (y > height) break;  // titles of a table without lines that do not fit
    if (++*pTable >= count) break;
    CTableDrawer* next = tables[static_cast<std::size_t>(*pTable)];
    const int columns = ColumnCount(next);
    plan->cells.resize(static_cast<std::size_t>(columns));
    int nameWidth = 0;
    const int nameTop = y + CTableArrayDrawer::TABLE_GAP;
    const int nameBottom = nameTop + MeasureLine(next, LINE_NAME, columns, nullptr, &nameWidth);
    const int headerBottom = nameBottom + MeasureLine(next, LINE_HEADER, columns, plan->cells.data(), nullptr);
    const int firstLineBottom = headerBottom + MeasureLine(next, 0, columns, nullptr, nullptr);
    *pLine = 0;
    if (firstLineBottom > height) break;
    Run& started = plan->Open(*pTable, columns);
    started.nameLine = LINE_NAME;
    started.nameTop = nameTop;
    started.nameBottom = nameBottom;
    started.nameWidth = nameWidth;
    started.headerTop = nameBottom;
    started.headerBottom = headerBottom;
    std::copy(plan->cells.begin(), plan->cells.end(),
              plan->widths.begin() + static_cast<std::ptrdiff_t>(started.widths));
    y = headerBottom;
  }

  // A column of titles only is no column, unless it finished a table without
  // lines. The caller may then try the same place again.
  if (!plan->HasData() && *pTable == firstTable) plan->Clear();
}

// Appends the items of a plan in layout order: per table its name, its
// titles, then its lines, each line one item per column. With place set the
// items get their horizontal positions in the strip x .. x + colWidth
// (sum and width of the runs filled in), otherwise left and right stay 0.
void EmitItems(ColumnPlan* plan, ItemList* out, bool place, int x, int colWidth) {
  for (const ColumnPlan::Run& run : plan->runs) {
    const int* widths = plan->widths.data() + run.widths;
    plan->lefts.assign(static_cast<std::size_t>(run.columns), 0);
    int nameLeft = 0, nameRight = 0;
    if (place) {
      // Centred in the strip: the name on the wider of name and columns,
      // the columns on their own sum.
      nameLeft = x + (colWidth - run.width) / 2;
      nameRight = nameLeft + run.width;
      int cx = x + (colWidth - run.sum) / 2;
      for (int c = 0; c < run.columns; ++c) {
        plan->lefts[static_cast<std::size_t>(c)] = cx;
        cx += widths[c];
      }
    }
    if (run.nameLine != 0)
      out->push_back(ItemInfo{run.table, 0, run.nameLine, tagRECT{nameLeft, run.nameTop, nameRight, run.nameBottom}});
    auto line = [&](int nLine, int top, int bottom) {
      for (int c = 0; c < run.columns; ++c) {
        ItemInfo& item = out->emplace_back();
        item.nTable = run.table;
        item.nColumn = c;
        item.nLine = nLine;
        item.rcItem.left = plan->lefts[static_cast<std::size_t>(c)];
        item.rcItem.right = place ? item.rcItem.left + widths[c] : 0;
        item.rcItem.top = top;
        item.rcItem.bottom = bottom;
      }
    };
    line(LINE_HEADER, run.headerTop, run.headerBottom);
    int top = run.headerBottom;
    for (int i = 0; i < run.lines; ++i) {
      const int bottom = plan->bottoms[run.bottoms + static_cast<std::size_t>(i)];
      line(run.firstLine + i, top, bottom);
      top = bottom;
    }
  }
}

}  // namespace

CTableArrayDrawer::CTableArrayDrawer() : m_bRepeatNames(0) {}

void CTableArrayDrawer::SetPageRects(tagRECT* rects, int count) {
  m_PageRects.clear();
  if (!rects || count < 1) return;
  m_PageRects.assign(rects, rects + count);
}

void CTableArrayDrawer::GetPageRect(int page, tagRECT* rect) {
  if (!rect) return;
  if (m_PageRects.empty()) {
    SetRectEmpty(rect);
    return;
  }
  const int last = static_cast<int>(m_PageRects.size()) - 1;
  *rect = m_PageRects[static_cast<std::size_t>(std::max(0, std::min(page, last)))];
}

int CTableArrayDrawer::GetMaxItemHeight(int table, int line) {
  if (table < 0 || table >= static_cast<int>(m_Tables.size())) return 0;
  CTableDrawer* t = m_Tables[static_cast<std::size_t>(table)];
  return t ? MeasureLine(t, line, t->GetColumnCount(), nullptr, nullptr) : 0;
}

int CTableArrayDrawer::GetMaxTableColumnWidth(std::vector<tagItemInfo>* column, int table, int tableColumn) {
  if (!column || table < 0 || table >= static_cast<int>(m_Tables.size()) || !m_Tables[table]) return 0;
  CTableDrawer* t = m_Tables[table];
  tagSIZE size;
  int w = 0;
  for (const tagItemInfo& item : *column) {
    if (item.nTable != table || item.nColumn != tableColumn || IsNameLine(item.nLine)) continue;
    t->MeasureItem(item.nLine, tableColumn, &size);
    w = std::max(w, static_cast<int>(size.cx));
  }
  return w;
}

int CTableArrayDrawer::GetTableNameWidth(std::vector<tagItemInfo>* column, int table) {
  if (!column || table < 0 || table >= static_cast<int>(m_Tables.size()) || !m_Tables[table]) return 0;
  CTableDrawer* t = m_Tables[table];
  tagSIZE size;
  int w = 0;
  for (const tagItemInfo& item : *column) {
    if (item.nTable != table || !IsNameLine(item.nLine)) continue;
    t->MeasureItem(item.nLine, 0, &size);
    w = std::max(w, static_cast<int>(size.cx));
  }
  return w;
}

int CTableArrayDrawer::GetTableWidth(std::vector<tagItemInfo>* column, int table) {
  if (table < 0 || table >= static_cast<int>(m_Tables.size()) || !m_Tables[table]) return 0;
  const int columns = m_Tables[table]->GetColumnCount();
  int sum = 0;
  for (int c = 0; c < columns; ++c) sum += GetMaxTableColumnWidth(column, table, c);
  return sum;
}

void CTableArrayDrawer::PushLineToInfo(std::vector<tagItemInfo>* column, int table, int line, int top, int bottom) {
  if (!column || table < 0 || table >= static_cast<int>(m_Tables.size()) || !m_Tables[table]) return;
  const int columns = m_Tables[table]->GetColumnCount();
  for (int c = 0; c < columns; ++c) column->push_back(tagItemInfo{table, c, line, tagRECT{0, top, 0, bottom}});
}

void CTableArrayDrawer::FormColumn(std::vector<tagItemInfo>* column, int* pTable, int* pLine, int height,
                                   int bFirstOnPage, int bRepeatNames) {
  if (!column || !pTable || !pLine || *pTable < 0 || *pTable >= static_cast<int>(m_Tables.size())) return;
  ColumnPlan plan;
  PlanColumn(m_Tables, &plan, pTable, pLine, height, bFirstOnPage, bRepeatNames, true);
  column->clear();
  EmitItems(&plan, column, false, 0, 0);
}

void CTableArrayDrawer::CalcLayout(float scale, int* pPages, int* pLastRight, int bRepeatNames) {
  layout(scale, pPages, pLastRight, bRepeatNames, true);
}

void CTableArrayDrawer::layout(float scale, int* pPages, int* pLastRight, int bRepeatNames, bool keepPages) {
  m_bRepeatNames = bRepeatNames;
  if (keepPages) m_Pages.clear();
  ColumnPlan plan;
  std::vector<tagItemInfo> pageItems;
  bool pageUsed = false;  // a column stands on the page
  int pages = 0, table = 0, line = 0, page = 0, x = 0;
  tagRECT rect;
  GetPageRect(0, &rect);
  if (pLastRight) *pLastRight = 0;

  for (CTableDrawer* t : m_Tables)
    if (t) t->SetScaleFactor(scale);

  const int count = static_cast<int>(m_Tables.size());
  while (table < count) {
    PlanColumn(m_Tables, &plan, &table, &line, rect.bottom - rect.top, !pageUsed, bRepeatNames, keepPages);

    // Fit the column into the width that is left. A table is as wide as the
    // cells this column holds of it. Only a table that widens the column
    // needs the test; a table that does not fit cuts the column before it and
    // starts the next column. The first table is always tested, so that
    // columns of zero width do not march off the page.
    const int pageWidth = rect.right - rect.left;
    int colWidth = 0;
    bool first = true;
    for (std::size_t r = 0; r < plan.runs.size(); ++r) {
      ColumnPlan::Run& run = plan.runs[r];
      if (!run.HasItems()) continue;
      const auto begin = plan.widths.begin() + static_cast<std::ptrdiff_t>(run.widths);
      run.sum = std::accumulate(begin, begin + run.columns, 0);
      run.width = std::max(run.sum, run.nameWidth);
      if (run.width > colWidth || first) {
        if (x + run.width > pageWidth) {
          // The next column starts at this table, with the first data line
          // that was planned here or behind it.
          table = run.table;
          line = 0;
          for (std::size_t k = r; k < plan.runs.size(); ++k)
            if (plan.runs[k].HasData()) {
              line = plan.runs[k].firstLine;
              break;
            }
          plan.CutBefore(r);
          break;
        }
        colWidth = run.width;
      }
      first = false;
    }

    if (!plan.HasItems()) {
      // Nothing fits beside what the page holds: the page is finished. A
      // fresh page that takes nothing, with no further rectangle to try,
      // ends the layout; that is where a table that fits nowhere stops it.
      if (keepPages) {
        m_Pages.push_back(std::move(pageItems));
        pageItems.clear();
      }
      ++pages;
      ++page;
      if (page >= static_cast<int>(m_PageRects.size()) && !pageUsed) break;
      pageUsed = false;
      GetPageRect(page, &rect);
      x = 0;
      continue;
    }

    if (keepPages) EmitItems(&plan, &pageItems, true, x, colWidth);
    const int right = x + colWidth;
    if (pLastRight) *pLastRight = right;
    x = right + TABLE_GAP;
    pageUsed = true;
  }

  if (pageUsed) {
    if (keepPages) m_Pages.push_back(std::move(pageItems));
    ++pages;
  }
  if (pPages) *pPages = pages;
}

void CTableArrayDrawer::CalcLayoutOptimal(float scale, int* pPages) {
  // The orders come one at a time from the previous one, in the same
  // lexicographic order as COrvekGlobals::GetPlaceVariants lists them, so ten
  // tables cost 3,628,800 layouts but no list of orders.
  const std::vector<CTableDrawer*> start = m_Tables;
  std::vector<int> order(start.size()), best;
  std::iota(order.begin(), order.end(), 0);
  int bestPages = 0x7FFFFFFF, bestRight = 0x7FFFFFFF;
  do {
    for (std::size_t k = 0; k < order.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(order[k])];
    int pages = 0, lastRight = 0;
    layout(scale, &pages, &lastRight, 1, false);
    if (pages < bestPages || (pages == bestPages && lastRight < bestRight)) {
      bestPages = pages;
      bestRight = lastRight;
      best = order;
    }
  } while (std::next_permutation(order.begin(), order.end()));

  for (std::size_t k = 0; k < best.size(); ++k) m_Tables[k] = start[static_cast<std::size_t>(best[k])];
  CalcLayout(scale, pPages, nullptr, 1);
}

void CTableArrayDrawer::DrawTableArray(int page, tagRECT const* clip) {
  tagRECT rect;
  GetPageRect(page, &rect);
  if (static_cast<unsigned>(page) >= m_Pages.size()) return;
  const ItemList& items = m_Pages[static_cast<std::size_t>(page)];
  if (items.empty()) return;

  auto tableAt = [this](int index) -> CTableDrawer* {
    return index >= 0 && index < static_cast<int>(m_Tables.size()) ? m_Tables[static_cast<std::size_t>(index)]
                                                                   : nullptr;
  };
  int current = -1;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const tagItemInfo& item = items[i];
    CTableDrawer* t = tableAt(item.nTable);
    if (!t) continue;
    if (item.nTable != current) {
      // The items of one table follow each other on a page, also across two
      // columns, so one scan counts all its data lines of the page. A table
      // with none on the page (one without lines) gets 0.
      int lowest = 10000000, highest = 0;
      for (std::size_t k = i, end = TableRunEnd(items, i); k < end; ++k)
        if (items[k].nLine >= 0) {
          lowest = std::min(lowest, items[k].nLine);
          highest = std::max(highest, items[k].nLine);
        }
      t->SetCurPageLines(lowest <= highest ? highest - lowest + 1 : 0);
      current = item.nTable;
    }
    tagRECT cell = item.rcItem;
    OffsetRect(&cell, rect.left, rect.top);
    if (clip) {
      tagRECT overlap;
      if (!IntersectRect(&overlap, &cell, clip)) continue;
      OffsetRect(&cell, -clip->left, -clip->top);
    }
    t->DrawItem(item.nLine, item.nColumn, &cell);
  }
  if (CTableDrawer* last = tableAt(items.back().nTable)) last->OnPageBreak();
}
