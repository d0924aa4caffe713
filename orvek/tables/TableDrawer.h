#pragma once

/// \file
/// One table as the table array layout sees it.

#include <orvek/platform/core/Types.h>

/// One table as the table array layout sees it. A host derives a class for
/// each kind of table and answers through the virtual operations: how many
/// lines and columns there are, how large a cell is and how it is drawn. The
/// layout never sees the content, only these measures, in the pixels of the
/// surface the host draws on. The surface itself is the derived class's
/// affair: it keeps whatever it draws with (a QPainter, an image, a printer
/// context) and uses it in DrawItem.
class ORVEK_API CTableDrawer {
 public:
  /// Negative line numbers of MeasureItem and DrawItem.
  enum {
    LINE_HEADER = -1,          ///< column titles, one cell in each column
    LINE_NAME = -2,            ///< the table's name where the table starts
    LINE_NAME_CONTINUED = -3,  ///< the name on a new page that continues the table
  };

  CTableDrawer();
  /// Copies the measures; a table holds no content of its own here.
  ///@{
  CTableDrawer(const CTableDrawer&) = default;
  CTableDrawer& operator=(const CTableDrawer&) = default;
  ///@}
  /// Not virtual: whoever creates a table destroys it through its own type.
  ~CTableDrawer() = default;

  /// Runs once at the end of a drawn page, on the last table of that page.
  virtual void OnPageBreak(void);
  /// The size the cell needs under the present scale factor. The two name
  /// lines are one cell wide and are measured in column 0 for their width.
  virtual void MeasureItem(int line, int column, tagSIZE* size);
  /// Draws the cell into rect; the rectangle is a copy the override may change.
  virtual void DrawItem(int line, int column, tagRECT* rect);
  /// Number of data lines; m_nLineCount here.
  virtual int GetLineCount(void);
  /// Number of columns; m_nColumnCount here.
  virtual int GetColumnCount(void);

  /// Sets the number of data lines of this table on the page being drawn.
  void SetCurPageLines(int lines);
  /// Stores the factor and always calls OnSetScaleFactor, also when unchanged.
  void SetScaleFactor(float factor);

 protected:
  /// Runs after m_fScaleFactor has changed and before any measuring.
  virtual void OnSetScaleFactor(void);

  int m_nCurPageLines;   ///< data lines of this table on the page being drawn
  int m_nColumnCount;    ///< what GetColumnCount reports unless overridden
  int m_nLineCount;      ///< what GetLineCount reports unless overridden
  float m_fScaleFactor;  ///< factor of the last layout
};
