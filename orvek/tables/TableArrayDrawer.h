#pragma once

/// \file
/// Pages of tables.

#include <vector>

#include <orvek/platform/core/Types.h>
#include <orvek/tables/TableDrawer.h>

/// Packs a list of tables into columns and pages and draws them page by page.
/// A page is filled column by column from the left; a column holds the rest of
/// one table or several short tables one above the other, and a table that is
/// too long goes on in the next column, then on the next page.
///
/// The class is a base: the derived class fills m_Tables and the page
/// rectangles, runs a layout and draws each page. The tables stay the
/// caller's; this class never deletes them.
class ORVEK_API CTableArrayDrawer {
 public:
  /// One cell placed on a page.
  struct tagItemInfo {
    int nTable;      ///< index into m_Tables
    int nColumn;     ///< column of the table; 0 for the name lines
    int nLine;       ///< data line, or LINE_HEADER, LINE_NAME, LINE_NAME_CONTINUED
    tagRECT rcItem;  ///< relative to the top left corner of the page rectangle
  };

  /// Space between two columns of a page and between two tables in a column,
  /// in pixels; it does not follow the scale factor.
  enum { TABLE_GAP = 20 };

  CTableArrayDrawer();
  /// Copies the list of table pointers and the last layout; the tables are shared.
  ///@{
  CTableArrayDrawer(const CTableArrayDrawer&) = default;
  CTableArrayDrawer& operator=(const CTableArrayDrawer&) = default;
  ///@}
  virtual ~CTableArrayDrawer() = default;

 protected:
  /// Empties the list, then adds count rectangles (none for a count below 1).
  void SetPageRects(tagRECT* rects, int count);
  /// The rectangle of a page: a page beyond the list reuses the last one, a
  /// negative page the first; with no rectangles all four fields are 0.
  virtual void GetPageRect(int page, tagRECT* rect);

  /// Lays out the tables in their present order. *pPages gets the number of
  /// pages, *pLastRight (optional) the right edge of the last column placed,
  /// relative to its page, or 0. A table that fits on no page ends the layout
  /// with the pages made so far; the tables behind it get no place.
  void CalcLayout(float scale, int* pPages, int* pLastRight, int bRepeatNames);
  /// Tries every order of the tables, one at a time in lexicographic order of
  /// their indexes, and keeps the one with the fewest pages, then the smallest
  /// right edge of the last column; a tie keeps the earlier order. Leaves
  /// m_Tables in that order and its layout in m_Pages. Costs n! layouts but
  /// holds no more than the starting, the present and the best order.
  void CalcLayoutOptimal(float scale, int* pPages);
  /// Draws one page of the last layout. A non-null clip is a view into the
  /// page: only cells it meets are drawn, relative to its top left corner.
  void DrawTableArray(int page, tagRECT const* clip);

  /// Fills column from table *pTable, line *pLine, within height, and leaves
  /// in the two the place where the next column starts.
  void FormColumn(std::vector<tagItemInfo>* column, int* pTable, int* pLine, int height, int bFirstOnPage,
                  int bRepeatNames);
  /// Appends one item per column of the table for one line, spanning top to
  /// bottom; left and right stay 0 until the layout places the column.
  void PushLineToInfo(std::vector<tagItemInfo>* column, int table, int line, int top, int bottom);

  /// Height of one line: the tallest of its cells (name lines: also their
  /// column 0 cell); 0 for a data line beyond the end or an unknown table.
  int GetMaxItemHeight(int table, int line);
  /// The width measures look only at the items of the given column, so a
  /// table is as wide as the cells this column holds of it.
  int GetTableWidth(std::vector<tagItemInfo>* column, int table);
  /// Width of the table's name lines in this column, 0 if it holds none.
  int GetTableNameWidth(std::vector<tagItemInfo>* column, int table);
  /// Width of one column of the table: its widest data or header cell in this column.
  int GetMaxTableColumnWidth(std::vector<tagItemInfo>* column, int table, int tableColumn);

  std::vector<CTableDrawer*> m_Tables;            ///< layout order; filled by the derived class
  std::vector<std::vector<tagItemInfo>> m_Pages;  ///< items of each page of the last layout
  std::vector<tagRECT> m_PageRects;               ///< set by SetPageRects
  int m_bRepeatNames;                             ///< last bRepeatNames of CalcLayout

 private:
  // CalcLayout, optionally without building m_Pages: the search of
  // CalcLayoutOptimal needs only the page count and the last right edge.
  void layout(float scale, int* pPages, int* pLastRight, int bRepeatNames, bool keepPages);
};
