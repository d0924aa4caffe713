// CWinThread, AfxGetThread and AfxGetMainWnd: a record for the GUI thread only,
// made on first use and kept in a thread_local.
#include <orvek/platform/ui/WndInternal_p.h>

using orvek_ui::isGuiThread;

namespace {

// The record of the GUI thread.
thread_local std::unique_ptr<CWinThread> t_threadRecord;

}  // namespace

void orvek_ui::forgetMainWindow(const CWnd* wnd) {
  if (t_threadRecord && t_threadRecord->m_pMainWnd == wnd) t_threadRecord->m_pMainWnd = nullptr;
}

CWinThread::CWinThread() : m_pMainWnd(nullptr), m_nThreadID(GetCurrentThreadId()) {}
CWinThread::~CWinThread() = default;
CWnd* CWinThread::GetMainWnd() { return m_pMainWnd; }

CWinThread* AfxGetThread() {
  if (!isGuiThread()) return nullptr;
  if (!t_threadRecord) t_threadRecord.reset(new CWinThread);
  return t_threadRecord.get();
}

CWnd* AfxGetMainWnd() {
  CWinThread* t = AfxGetThread();
  return t ? t->GetMainWnd() : nullptr;
}
