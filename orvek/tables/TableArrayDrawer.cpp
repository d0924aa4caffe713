#include <orvek/tables/TableArrayDrawer.h>

#include <algorithm>
#include <numeric>

#include <orvek/platform/core/Rect.h>

namespace {

constexpr int LINE_HEADER = CTableDrawer::LINE_HEADER;
constexpr int LINE_NAME = CTableDrawer::LINE_NAME;
constexpr int LINE_NAME_CONTINUED = CTableDrawer::LINE_NAME_CONTINUED;

using ItemList = std::vector<CTableArrayDrawer::tagItemInfo>;

bool IsNameLine(int line) { return line == LINE_NAME || line == LINE_NAME_CONTINUED; }

// End of the run of items that belong to the table of items[first]; the
// items of one table always follow each other in a column and on a page.
std::size_t TableRunEnd(const ItemList& items, std::size_t first) {
  std::size_t end = first;
  while (end < items.size() && items[end].nTable == items[first].nTable) ++end;
  return end;
}

// The tallest cell of one line over the given columns; with widths given,
// the width of each cell is appended to it.
int CellsHeight(CTableDrawer* t, int columns, int line, std::vector<int>* widths) {
  tagSIZE size;
  int h = 0;
  for (int c = 0; c < columns; ++c) {
    t->MeasureItem(line, c, &size);
    h = std::max(h, static_cast<int>(size.cy));
    if (widths) widths->push_back(size.cx);
  }
  return h;
}

// The height of a line as GetMaxItemHeight gives it. With widths given, the
// widths of the items the line places are appended: for a name line its
// column 0 cell, for other lines one per column.
int MeasureLine(CTableDrawer* t, int line, std::vector<int>* widths) {
  if (!t) return 0;
  int h = 0;
  if (IsNameLine(line)) {
    tagSIZE size;
    t->MeasureItem(line, 0, &size);
    h = size.cy;
    if (widths) widths->push_back(size.cx);
    widths = nullptr;  // the other cells of a name line only give height
  }
  if (line >= t->GetLineCount()) return 0;
  return std::max(h, CellsHeight(t, t->GetColumnCount(), line, widths));
}

// Appends one item per table column for one line, filled in place: this
// runs for every cell of every layout tried.
void AppendLine(ItemList* column, int table, int columns, int line, int top, int bottom) {
  for (int c = 0; c < columns; ++c) {
    CTableArrayDrawer::tagItemInfo& item = column->emplace_back();
    item.nTable = table;
    item.nColumn = c;
    item.nLine = line;
    item.rcItem.top = top;
    item.rcItem.bottom = bottom;
  }
}

// The items of one table in a column being placed, with their widths.
struct Run {
  std::size_t first, end;  // the items
  std::size_t offset;      // where the widths of its table columns start
  int columns;             // table columns
  int sum;                 // sum of the column widths
  int width;               // the greater of sum and name width
};

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
  return MeasureLine(m_Tables[static_cast<std::size_t>(table)], line, nullptr);
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
  AppendLine(column, table, m_Tables[table]->GetColumnCount(), line, top, bottom);
}

void CTableArrayDrawer::FormColumn(std::vector<tagItemInfo>* column, int* pTable, int* pLine, int height,
                                   int bFirstOnPage, int bRepeatNames) {
  formColumn(column, nullptr, pTable, pLine, height, bFirstOnPage, bRepeatNames);
}

void CTableArrayDrawer::formColumn(std::vector<tagItemInfo>* column, std::vector<int>* cellWidths, int* pTable,
                                   int* pLine, int height, int bFirstOnPage, int bRepeatNames) {
  const int count = static_cast<int>(m_Tables.size());
  if (!column || !pTable || !pLine || *pTable < 0 || *pTable >= count) return;
  column->clear();
  if (cellWidths) cellWidths->clear();
  // One width per item, whatever a table reports about its columns.
  auto keepInStep = [&] {
    if (cellWidths) cellWidths->resize(column->size());
  };
  auto forget = [&](std::size_t mark) {
    if (cellWidths) cellWidths->resize(mark);
  };
  const int firstTable = *pTable;

  // A table that goes on in a further column of the same page shows no name;
  // on a new page it shows the continued name if names repeat.
  int nameLine = 0;
  if (*pLine == 0)
    nameLine = LINE_NAME;
  else if (bFirstOnPage && bRepeatNames)
    nameLine = LINE_NAME_CONTINUED;
  int y = 0;
  if (nameLine != 0) {
    const int h = MeasureLine(m_Tables[static_cast<std::size_t>(*pTable)], nameLine, cellWidths);
    column->push_back(tagItemInfo{*pTable, 0, nameLine, tagRECT{0, 0, 0, h}});
    keepInStep();
    y = h;
  }
  // Every column starts with the column titles.
  const int headerHeight = MeasureLine(m_Tables[static_cast<std::size_t>(*pTable)], LINE_HEADER, cellWidths);
  PushLineToInfo(column, *pTable, LINE_HEADER, y, y + headerHeight);
  keepInStep();
  y += headerHeight;

  for (;;) {
    // The counts of the current table, asked once per table and not per line.
    CTableDrawer* t = m_Tables[static_cast<std::size_t>(*pTable)];
    const int lines = t ? t->GetLineCount() : 0;
    const int columns = t ? t->GetColumnCount() : 0;
    // The test for the end of a table comes first, so that a table without
    // lines is finished at once instead of adding lines of height 0 forever.
    while (*pLine < lines && y < height) {
      const std::size_t mark = cellWidths ? cellWidths->size() : 0;
      const int h = CellsHeight(t, columns, *pLine, cellWidths);
      if (y + h > height) {  // a line that ends exactly at the height fits
        forget(mark);
        break;
      }
      AppendLine(column, *pTable, columns, *pLine, y, y + h);
      keepInStep();
      y += h;
      ++*pLine;
    }
    if (*pLine < lines) break;  // the column is full

    // The table is finished: the next one starts here if its name, its titles
    // and its first data line fit below a gap. A table without lines shows
    // its name and titles and is passed over; the one behind it gets the same
    // test, so that no table goes on under the titles of another.
    if (y > height) break;  // titles of a table without lines that do not fit
    if (++*pTable >= count) break;
    CTableDrawer* next = m_Tables[static_cast<std::size_t>(*pTable)];
    const std::size_t mark = cellWidths ? cellWidths->size() : 0;
    const int nameTop = y + TABLE_GAP;
    const int nameBottom = nameTop + MeasureLine(next, LINE_NAME, cellWidths);
    const int headerBottom = nameBottom + MeasureLine(next, LINE_HEADER, cellWidths);
    const int firstLineBottom = headerBottom + MeasureLine(next, 0, nullptr);
    *pLine = 0;
    if (firstLineBottom > height) {
      forget(mark);
      break;
    }
    column->push_back(tagItemInfo{*pTable, 0, LINE_NAME, tagRECT{0, nameTop, 0, nameBottom}});
    PushLineToInfo(column, *pTable, LINE_HEADER, nameBottom, headerBottom);
    keepInStep();
    y = headerBottom;
  }

  // A column of titles only is no column, unless it finished a table without
  // lines. The caller may then try the same place again.
  const bool hasData =
      std::any_of(column->begin(), column->end(), [](const tagItemInfo& item) { return item.nLine >= 0; });
  if (!hasData && *pTable == firstTable) {
    column->clear();
    forget(0);
  }
}

void CTableArrayDrawer::CalcLayout(float scale, int* pPages, int* pLastRight, int bRepeatNames) {
  m_bRepeatNames = bRepeatNames;
  m_Pages.clear();
  std::vector<tagItemInfo> pageItems, column;
  std::vector<int> cellWidths;        // width of each item of the column
  std::vector<Run> runs;              // the tables of the column
  std::vector<int> colWidths, lefts;  // their table columns, one run after the other
  int table = 0, line = 0, page = 0, x = 0;
  tagRECT rect;
  GetPageRect(0, &rect);
  if (pLastRight) *pLastRight = 0;

  for (CTableDrawer* t : m_Tables)
    if (t) t->SetScaleFactor(scale);

  const int count = static_cast<int>(m_Tables.size());
  while (table < count) {
    formColumn(&column, &cellWidths, &table, &line, rect.bottom - rect.top, pageItems.empty(), bRepeatNames);

    // Fit the column into the width that is left. A table is as wide as the
    // cells this column holds of it. Only a table that widens the column
    // needs the test; a table that does not fit cuts the column before it and
    // starts the next column. The first table is always tested, so that
    // columns of zero width do not march off the page.
    const int pageWidth = rect.right - rect.left;
    int colWidth = 0;
    runs.clear();
    colWidths.clear();
    for (std::size_t first = 0; first < column.size();) {
      const int t = column[first].nTable;
      Run run{first, first, colWidths.size(), 0, 0, 0};
      run.columns = m_Tables[static_cast<std::size_t>(t)] ? std::max(0, m_Tables[t]->GetColumnCount()) : 0;
      colWidths.resize(run.offset + static_cast<std::size_t>(run.columns), 0);
      int nameWidth = 0;
      for (; run.end < column.size() && column[run.end].nTable == t; ++run.end) {
        const tagItemInfo& item = column[run.end];
        const int w = cellWidths[run.end];
        if (IsNameLine(item.nLine))
          nameWidth = std::max(nameWidth, w);
        else if (item.nColumn >= 0 && item.nColumn < run.columns)
          colWidths[run.offset + static_cast<std::size_t>(item.nColumn)] =
              std::max(colWidths[run.offset + static_cast<std::size_t>(item.nColumn)], w);
      }
      run.sum = std::accumulate(colWidths.begin() + static_cast<std::ptrdiff_t>(run.offset), colWidths.end(), 0);
      run.width = std::max(run.sum, nameWidth);
      if (run.width > colWidth || first == 0) {
        if (x + run.width > pageWidth) {
          table = t;
          line = 0;
          for (std::size_t k = first; k < column.size(); ++k)
            if (column[k].nLine >= 0) {
              line = column[k].nLine;
              break;
            }
          column.erase(column.begin() + static_cast<std::ptrdiff_t>(first), column.end());
          break;
        }
        colWidth = run.width;
      }
      runs.push_back(run);
      first = run.end;
    }

    if (column.empty()) {
      // Nothing fits beside what the page holds: the page is finished. A
      // fresh page that takes nothing, with no further rectangle to try,
      // ends the layout; that is where a table that fits nowhere stops it.
      const bool pageWasEmpty = pageItems.empty();
      m_Pages.push_back(std::move(pageItems));
      pageItems.clear();
      ++page;
      if (page >= static_cast<int>(m_PageRects.size()) && pageWasEmpty) break;
      GetPageRect(page, &rect);
      x = 0;
      continue;
    }

    // Centre each table in the strip: the names on the wider of name and
    // columns, the columns on their own sum.
    for (const Run& run : runs) {
      const int nameLeft = x + (colWidth - run.width) / 2;
      lefts.resize(static_cast<std::size_t>(run.columns));
      int cx = x + (colWidth - run.sum) / 2;
      for (int c = 0; c < run.columns; ++c) {
        lefts[static_cast<std::size_t>(c)] = cx;
        cx += colWidths[run.offset + static_cast<std::size_t>(c)];
      }
      for (std::size_t k = run.first; k < run.end; ++k) {
        tagItemInfo& item = column[k];
        if (IsNameLine(item.nLine)) {
          item.rcItem.left = nameLeft;
          item.rcItem.right = nameLeft + run.width;
        } else if (item.nColumn >= 0 && item.nColumn < run.columns) {
          item.rcItem.left = lefts[static_cast<std::size_t>(item.nColumn)];
          item.rcItem.right = item.rcItem.left + colWidths[run.offset + static_cast<std::size_t>(item.nColumn)];
        }
      }
    }

    const int right = x + colWidth;
    if (pLastRight) *pLastRight = right;
    x = right + TABLE_GAP;
    pageItems.insert(pageItems.end(), column.begin(), column.end());
    column.clear();
  }

  if (!pageItems.empty()) m_Pages.push_back(std::move(pageItems));
  if (pPages) *pPages = static_cast<int>(m_Pages.size());
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
    CalcLayout(scale, &pages, &lastRight, 1);
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
