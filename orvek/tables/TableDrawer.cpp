#include <orvek/tables/TableDrawer.h>

// m_nCurPageLines starts at 0 rather than undefined, so that a table read
// before its first page is drawn gives a stable answer.
CTableDrawer::CTableDrawer() : m_nCurPageLines(0), m_nColumnCount(0), m_nLineCount(0), m_fScaleFactor(0.0f) {}

void CTableDrawer::OnPageBreak(void) {}

void CTableDrawer::MeasureItem(int, int, tagSIZE* size) {
  if (!size) return;
  size->cx = 0;
  size->cy = 0;
}

void CTableDrawer::DrawItem(int, int, tagRECT*) {}

int CTableDrawer::GetLineCount(void) { return m_nLineCount; }

int CTableDrawer::GetColumnCount(void) { return m_nColumnCount; }

void CTableDrawer::OnSetScaleFactor(void) {}

void CTableDrawer::SetCurPageLines(int lines) { m_nCurPageLines = lines; }

void CTableDrawer::SetScaleFactor(float factor) {
  m_fScaleFactor = factor;
  OnSetScaleFactor();
}
