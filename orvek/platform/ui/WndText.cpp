// Window text and fonts (SetWindowTextW, GetWindowTextW, WM_SETFONT): a wide
// string kept with the window, shown as the widget's QString and QFont.
#include <orvek/platform/ui/WndInternal_p.h>

QString orvek_ui::toQString(const wchar_t* text) { return text ? QString::fromWCharArray(text) : QString(); }

std::wstring orvek_ui::toWide(const QString& text) { return text.toStdWString(); }

void CWnd::SetWindowTextW(const wchar_t* lpszString) {
  SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpszString));
}

int CWnd::GetWindowTextW(wchar_t* lpszStringBuf, int nMaxCount) const {
  if (nMaxCount <= 0) return 0;
  return static_cast<int>(
      ::SendMessageW(m_hWnd, WM_GETTEXT, static_cast<WPARAM>(nMaxCount), reinterpret_cast<LPARAM>(lpszStringBuf)));
}

void CWnd::GetWindowTextW(CStringW& rString) const {
  CWndImpl* impl = orvek_ui::ownImpl(m_hWnd);
  rString = impl ? impl->text.c_str() : L"";
}

int CWnd::GetWindowTextLengthW() const { return static_cast<int>(::SendMessageW(m_hWnd, WM_GETTEXTLENGTH, 0, 0)); }

void CWnd::SetFont(CFont* pFont, BOOL bRedraw) {
  SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(pFont ? static_cast<HFONT>(*pFont) : nullptr), bRedraw);
}

BOOL SetWindowTextW(HWND hWnd, const wchar_t* lpString) {
  CWndImpl* impl = orvek_ui::ownImpl(hWnd);
  if (!impl || !impl->wnd) return FALSE;
  impl->wnd->SetWindowTextW(lpString);
  return TRUE;
}
