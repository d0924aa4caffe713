#include <orvek/tuning/placement/ToolWindows_p.h>

#include <algorithm>

#include <orvek/frame/OrvekGlobals.h>

std::vector<tagToolWindowEntry> ms_toolWindows;
CCriticalSection ms_toolWindowsLock;

namespace {

CWnd* mainWindow() {
  CWinThread* thread = AfxGetThread();
  return thread ? thread->GetMainWnd() : nullptr;
}

// The window's parent (a popup's owner), else the main window.
HWND parentOf(HWND hWnd) {
  if (HWND parent = GetParent(hWnd)) return parent;
  CWnd* main = mainWindow();
  return main ? main->m_hWnd : nullptr;
}

void removeFirst(HWND hWnd) {
  auto it = std::find_if(ms_toolWindows.begin(), ms_toolWindows.end(),
                         [hWnd](const tagToolWindowEntry& e) { return e.hWnd == hWnd; });
  if (it != ms_toolWindows.end()) ms_toolWindows.erase(it);
}

}  // namespace

void RegisterToolWindow(HWND hWnd) {
  CSingleLock lock(&ms_toolWindowsLock, TRUE);
  // Out first, so that a window is no obstacle to its own registration.
  removeFirst(hWnd);
  // A handle of no live window (null, stale, foreign) is not listed.
  if (!IsWindow(hWnd)) return;
  PlaceToolWindow(hWnd);
  ms_toolWindows.push_back(tagToolWindowEntry{hWnd, parentOf(hWnd)});
}

void UnregisterToolWindow(HWND hWnd) {
  CSingleLock lock(&ms_toolWindowsLock, TRUE);
  removeFirst(hWnd);
}

void PlaceToolWindow(HWND hWnd) {
  CSingleLock lock(&ms_toolWindowsLock, TRUE);
  const HWND parent = parentOf(hWnd);
  // Entries of windows that died without leaving are skipped like hidden ones.
  std::vector<CRect> used;
  for (const auto& e : ms_toolWindows) {
    if (e.hParent != parent || !IsWindow(e.hWnd) || !IsWindowVisible(e.hWnd)) continue;
    CRect r;
    GetWindowRect(e.hWnd, &r);
    r.InflateRect(PLACEMENT_GAP, PLACEMENT_GAP);
    used.push_back(r);
  }
  CRect bounds(0, 0, 1024, 768);
  if (CWnd* main = mainWindow()) {
    if (!IsWindow(main->m_hWnd)) return;
    main->GetWindowRect(&bounds);
  }
  CRect rect;
  if (!GetWindowRect(hWnd, &rect)) return;
  // Without a free place the rectangle comes back as it was.
  COrvekGlobals::CalculateClosestNonIntersectRect(&rect, bounds, &used);
  MoveWindow(hWnd, rect.left, rect.top, rect.Width(), rect.Height(), TRUE);
}
