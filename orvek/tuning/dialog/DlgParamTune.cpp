#include <orvek/tuning/dialog/DlgParamTune.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include <orvek/frame/OrvekGlobals.h>
#include <orvek/persistence/IniFile.h>
#include <orvek/platform/core/File.h>
#include <orvek/platform/core/Kernel.h>
#include <orvek/platform/core/Module.h>
#include <orvek/tuning/dialog/DialogText_p.h>
#include <orvek/tuning/model/ParamRules.h>
#include <orvek/tuning/placement/ToolWindows_p.h>

using namespace ParamRules;

namespace {

const wchar_t kTitle[] = L"Настройка параметров";
const wchar_t kNoGroupTab[] = L"????";
const wchar_t kNoGroupSection[] = L"Ungrouped";
const char kFileHead[] = "CDlgParamTune configuration file\r\nEdit at your own risk.\r\n\r\n";
constexpr UINT kFileHeadSize = sizeof kFileHead - 1;
static_assert(kFileHeadSize == 60, "the head of a value file is 60 bytes");

constexpr DWORD kWindowStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;
constexpr UINT kClassStyle = CS_DROPSHADOW | CS_GLOBALCLASS | CS_SAVEBITS | CS_CLASSDC;
constexpr UINT kRefreshMs = 100;
constexpr UINT kDefaultElapseMs = 20;

float* floatOf(const tagParamInfoV2& p) { return static_cast<float*>(p.pValue); }
int* intOf(const tagParamInfoV2& p) { return static_cast<int*>(p.pValue); }

// The host's variables are shared with its threads without a lock: each
// access is one relaxed 32-bit atomic, as plain a load or store as the
// hardware has.
template <typename T>
T load(const T* v) {
  T out;
  __atomic_load(v, &out, __ATOMIC_RELAXED);
  return out;
}
template <typename T>
void store(T* v, T value) {
  __atomic_store(v, &value, __ATOMIC_RELAXED);
}

// A count that the list can take: the pointer must be there for a non-zero
// count, and pacing timers (index + 1) must stay below the refresh timer.
bool validCount(const void* pParams, int nCount) {
  return nCount >= 0 && nCount < PARAM_LIMIT && (pParams || nCount == 0);
}

// Beyond this the platform makes no window, and margins added to a side
// this long still fit in an int.
constexpr long long kMaxWindowSide = 1 << 24;

// A slider whose value text had to grow keeps at least this width.
constexpr int kMinSliderWidth = 40;

bool isSliderKind(eParamTypeV2 t) { return t == ePT_Float || t == ePT_Int || t == ePT_LogFloat; }
bool isFloatKind(eParamTypeV2 t) { return t == ePT_Float || t == ePT_LogFloat; }

int floatPos(const tagParamInfoV2& p, float value) {
  return p.eType == ePT_LogFloat ? LogFloatToPos(value, p.dMin, p.dMax) : FloatToPos(value, p.dMin, p.dMax);
}
float posFloat(const tagParamInfoV2& p, int pos) {
  return p.eType == ePT_LogFloat ? LogPosToFloat(pos, p.dMin, p.dMax) : PosToFloat(pos, p.dMin, p.dMax);
}

// The host's title (or the default), followed by the name of a single group.
CStringW captionOf(const CStringW& title, const std::vector<tagParamInfoV2>& params, int nGroups) {
  CStringW caption(title.GetLength() ? title.GetString() : kTitle);
  if (nGroups == 1 && !params.empty() && params.front().eType == ePT_Group) {
    caption += L" - ";
    caption += params.front().pszName;
  }
  return caption;
}

CRect clientRectOf(CWnd& dialog, CWnd& child) {
  CRect r;
  child.GetWindowRect(&r);
  dialog.ScreenToClient(&r);
  return r;
}

}  // namespace

CDlgParamTune::CDlgParamTune()
    : m_updateTimer(0),
      m_pStrings(nullptr),
      m_pfnNotify(nullptr),
      m_pNotifyContext(nullptr),
      m_pfnElapse(nullptr),
      m_pElapseContext(nullptr),
      m_bDirty(FALSE),
      m_pNotify(nullptr),
      m_editor(new tuning_text::ValueEditor([this](int i) { EditParamValue(i); })) {
  tuning_text::PreferMetricFace();
  m_font.CreateFontW(8, 0, 0, 0, FW_NORMAL, 0, 0, 0, ANSI_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                     PROOF_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"MS Sans Serif");
}

CDlgParamTune::~CDlgParamTune() {
  CSingleLock lock(&m_lock, TRUE);
  m_editor->Close();
  // While this class is whole, so that its own OnDestroy unlists the window.
  if (m_hWnd) DestroyWindow();
  for (tagParamControls* c : m_controls) delete c;
  m_controls.clear();
  delete m_pStrings;
  m_pStrings = nullptr;
  for (tagParamChoice* b : m_choiceBlocks) delete[] b;
  m_choiceBlocks.clear();
}

// ---- the parameter list ------------------------------------------------------------

void CDlgParamTune::Create(const tagParamInfoV2* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext) {
  if (!validCount(pParams, nCount)) return;
  CSingleLock lock(&m_lock, TRUE);
  if (nCount != 0) {
    m_params.resize(static_cast<std::size_t>(nCount));
    std::copy(pParams, pParams + nCount, m_params.begin());
  }
  SaveParamInfo();
  Create(pfnNotify, pContext);
}

void CDlgParamTune::Create(const tagParamInfo* pParams, int nCount, PFN_PARAM_NOTIFY pfnNotify, void* pContext) {
  if (!validCount(pParams, nCount)) return;
  CSingleLock lock(&m_lock, TRUE);
  m_params.resize(static_cast<std::size_t>(nCount));
  for (int i = 0; i < nCount; ++i) {
    const tagParamInfo& o = pParams[i];
    m_params[static_cast<std::size_t>(i)] =
        tagParamInfoV2{o.pszName, o.eType, o.pValue, o.dMin, o.dMax, o.pfnNotify, o.pNotifyContext, nullptr, 0};
  }
  SaveParamInfo();
  Create(pfnNotify, pContext);
}

void CDlgParamTune::CreateEmpty(CDlgParamTuneNotify* pNotify) {
  CSingleLock lock(&m_lock, TRUE);
  m_params.clear();
  m_pNotify = pNotify;
  Create(&CDlgParamTuneNotify::OnParamChanged, pNotify);
}

void CDlgParamTune::AddParam(tagParamInfoV2* pInfo) {
  if (!pInfo) return;
  CSingleLock lock(&m_lock, TRUE);
  if (m_params.size() >= static_cast<std::size_t>(PARAM_LIMIT - 1)) return;
  m_params.push_back(*pInfo);
  SaveParamInfo();
  PostRebuild();
}

void CDlgParamTune::AddParam(int* pValue, const wchar_t* pszName, CDlgParamTuneNotify* pNotify) {
  CSingleLock lock(&m_lock, TRUE);
  tagParamInfoV2 info{pszName, ePT_Bool, pValue, 0.0, 0.0, &CDlgParamTuneNotify::OnParamChanged, pNotify, nullptr, 0};
  m_pNotify = pNotify;
  AddParam(&info);
}

void CDlgParamTune::AddParam(float* pValue, const wchar_t* pszName, float fMin, float fMax,
                             CDlgParamTuneNotify* pNotify) {
  CSingleLock lock(&m_lock, TRUE);
  tagParamInfoV2 info{pszName, ePT_Float, pValue, fMin, fMax, &CDlgParamTuneNotify::OnParamChanged,
                      pNotify, nullptr,   0};
  m_pNotify = pNotify;
  AddParam(&info);
}

void CDlgParamTune::AddParam(int* pValue, const wchar_t* pszName, PFN_PARAM_NOTIFY pfnNotify, void* pContext) {
  tagParamInfoV2 info{pszName, ePT_Bool, pValue, 0.0, 0.0, pfnNotify, pContext, nullptr, 0};
  AddParam(&info);
}

void CDlgParamTune::RemoveParam(void* pValue) {
  CSingleLock lock(&m_lock, TRUE);
  auto it = FindParam(pValue);
  if (it != m_params.end()) m_params.erase(it);
  PostRebuild();
}

void CDlgParamTune::SetParamRange(void* pValue, double dMin, double dMax) {
  CSingleLock lock(&m_lock, TRUE);
  auto it = FindParam(pValue);
  if (it == m_params.end()) return;
  it->dMin = dMin;
  it->dMax = dMax;
}

void CDlgParamTune::SetNotifyElapseFunc(PFN_PARAM_ELAPSE pfnElapse, void* pContext) {
  // Under the lock, so that a host thread may set it while the window's
  // thread paces a change.
  CSingleLock lock(&m_lock, TRUE);
  m_pfnElapse = pfnElapse;
  m_pElapseContext = pContext;
}

const wchar_t* CDlgParamTune::GetTypeFormatString(eParamTypeV2 eType) {
  CSingleLock lock(&m_lock, TRUE);
  return TypeFormat(eType);
}

void CDlgParamTune::SetTitle(const wchar_t* pszTitle) {
  CSingleLock lock(&m_lock, TRUE);
  m_title = pszTitle ? pszTitle : L"";
  if (!::IsWindow(m_hWnd)) return;
  int nGroups = 0, nItems = 0;
  CountGroups(m_params, &nGroups, &nItems);
  SetWindowTextW(captionOf(m_title, m_params, nGroups));
}

void CDlgParamTune::SaveParamInfo() {
  SavePool(&m_params, &m_choiceBlocks, &m_pStrings);
  m_bDirty = FALSE;
}

void CDlgParamTune::OnParamChanged(void*) {}

void CDlgParamTune::PostRebuild() {
  if (::IsWindow(m_hWnd))
    ::PostMessageW(m_hWnd, WM_REBUILD_PARAMS, reinterpret_cast<WPARAM>(m_pfnNotify),
                   reinterpret_cast<LPARAM>(m_pNotifyContext));
}

std::vector<tagParamInfoV2>::iterator CDlgParamTune::FindParam(void* pValue) {
  return std::find_if(m_params.begin(), m_params.end(),
                      [pValue](const tagParamInfoV2& p) { return p.pValue == pValue; });
}

tagParamControls* CDlgParamTune::CurrentControls(std::size_t nIndex) {
  if (nIndex >= m_params.size() || nIndex >= m_controls.size()) return nullptr;
  tagParamControls* c = m_controls[nIndex];
  return c && c->pValue == m_params[nIndex].pValue ? c : nullptr;
}

// ---- construction and layout -----------------------------------------------------------

void CDlgParamTune::Create(PFN_PARAM_NOTIFY pfnNotify, void* pContext) {
  CSingleLock lock(&m_lock, TRUE);
  m_pfnNotify = pfnNotify;
  m_pNotifyContext = pContext;

  int nGroups = 0, nItems = 0;
  CountGroups(m_params, &nGroups, &nItems);

  BOOL wasVisible = FALSE;
  if (::IsWindow(m_hWnd)) {
    wasVisible = CWnd::IsWindowVisible();
    if (m_updateTimer) {
      KillTimer(m_updateTimer);
      m_updateTimer = 0;
    }
    DestroyWindow();
  }

  const wchar_t* cls = AfxRegisterWndClass(kClassStyle, nullptr, GetSysColorBrush(COLOR_BTNFACE), nullptr);
  CreateEx(GetWindowStyleEx(), cls, m_title.GetLength() ? m_title.GetString() : kTitle, kWindowStyle, CRect(0, 0, 0, 0),
           GetWindowParent(), 0);
  if (::IsWindow(m_tab.m_hWnd)) m_tab.DestroyWindow();

  const bool firstIsGroup = !m_params.empty() && m_params.front().eType == ePT_Group;
  if (nGroups > 1) {
    m_tab.Create(WS_CHILD | WS_VISIBLE, CRect(0, 0, 0, 0), this, 0);
    int item = 0;
    if (!firstIsGroup) (void)m_tab.InsertItem(item++, kNoGroupTab);  // a tab at the end cannot be refused
    for (const tagParamInfoV2& p : m_params)
      if (p.eType == ePT_Group) (void)m_tab.InsertItem(item++, p.pszName);  // at the end: never refused
  }

  int nColumns = 0, nRows = 0, offsetX = 0, offsetY = 0;
  GetColumnsRawsAmount(nItems, nGroups, &nColumns, &nRows);
  UpdateWindowRectCaption(nColumns, nRows, nGroups, &offsetX, &offsetY);

  // The windows of the old controls died with the old window.
  for (tagParamControls* c : m_controls) delete c;
  m_controls.assign(m_params.size(), nullptr);

  int p = 0;
  for (std::size_t i = 0; i < m_params.size(); ++i) {
    const tagParamInfoV2& info = m_params[i];
    auto* c = new tagParamControls;
    c->notifyTimer = 0;
    c->pValue = info.pValue;
    m_controls[i] = c;
    const POINT at = CellCorner(p, nRows, offsetX, offsetY);
    auto cell = [&at](int l, int t, int r, int b) {
      const long long x = at.x, y = at.y;
      return CRect(SaturateToInt(x + l), SaturateToInt(y + t), SaturateToInt(x + r), SaturateToInt(y + b));
    };
    const UINT id = static_cast<UINT>(i + 1);
    switch (info.eType) {
      case ePT_Float:
      case ePT_LogFloat:
      case ePT_Int:
        c->label.Create(info.pszName, WS_CHILD, cell(0, 0, LABEL_WIDTH, ITEM_HEIGHT), this, id);
        c->label.SetFont(&m_font, TRUE);
        tuning_text::FitOneLine(c->label, info.pszName);
        c->slider.Create(WS_CHILD, cell(LABEL_WIDTH, 0, ITEM_WIDTH - VALUE_WIDTH, ITEM_HEIGHT), this, id);
        if (info.eType == ePT_Int)
          c->slider.SetRange(TruncToInt(info.dMin), TruncToInt(info.dMax), FALSE);
        else
          c->slider.SetRange(0, FLOAT_SCALE_MAX, FALSE);
        c->valueText.Create(L"11", WS_CHILD | SS_CENTER, cell(ITEM_WIDTH - VALUE_WIDTH, 0, ITEM_WIDTH, ITEM_HEIGHT),
                            this, id);
        c->valueText.SetFont(&m_font, TRUE);
        tuning_text::SetSingleLine(c->valueText);
        m_editor->Watch(c->slider, c->valueText, static_cast<int>(i));
        break;
      case ePT_Bool:
        c->check.Create(info.pszName, WS_CHILD | BS_CHECKBOX | BS_CENTER, cell(0, 0, ITEM_WIDTH, ITEM_HEIGHT), this,
                        id);
        c->check.SetFont(&m_font, TRUE);
        tuning_text::FitOneLine(c->check, info.pszName);
        break;
      case ePT_List:
        c->label.Create(info.pszName, WS_CHILD, cell(0, 0, LABEL_WIDTH, ITEM_HEIGHT), this, id);
        c->label.SetFont(&m_font, TRUE);
        tuning_text::FitOneLine(c->label, info.pszName);
        c->list.Create(WS_CHILD | CBS_DROPDOWNLIST, cell(LABEL_WIDTH, 0, ITEM_WIDTH, LIST_HEIGHT), this, id);
        for (int k = 0; k < info.nChoices; ++k) c->list.AddString(info.pChoices[k].pszText);
        break;
      default:  // a group header has no control; an unknown kind keeps its cell empty
        break;
    }
    p = info.eType == ePT_Group ? 0 : p + 1;
  }

  if (nGroups > 1) m_tab.SetCurSel(0);
  ShowGroup(0);
  UpdateInterface();
  CenterWindow();
  if (m_hWnd) RegisterToolWindow(m_hWnd);
  if (wasVisible) CWnd::ShowWindow(SW_SHOW);
  if (!m_updateTimer) m_updateTimer = SetTimer(ID_UPDATE_TIMER, kRefreshMs);
}

void CDlgParamTune::GetColumnsRawsAmount(int nItems, int nGroups, int* pnColumns, int* pnRows) {
  // The tab control grows any display rectangle by the same margins.
  CRect probe(0, 0, 0, 0);
  if (nGroups > 1) m_tab.AdjustRect(TRUE, &probe);
  const TabGrowth growth{-probe.left, -probe.top, probe.right, probe.bottom};
  ColumnsRows(nItems, nGroups, growth, pnColumns, pnRows);
}

void CDlgParamTune::UpdateWindowRectCaption(int nColumns, int nRows, int nGroups, int* pnOffsetX, int* pnOffsetY) {
  const SIZE block = BlockSize(nColumns, nRows);
  CRect r(0, 0, static_cast<int>(std::min<long long>(block.cx, kMaxWindowSide)),
          static_cast<int>(std::min<long long>(block.cy, kMaxWindowSide)));
  int offsetX = 0, offsetY = 0;
  if (nGroups > 1) {
    m_tab.AdjustRect(TRUE, &r);
    CRect t(0, 0, r.Width(), r.Height());
    m_tab.MoveWindow(TAB_MARGIN_X, TAB_MARGIN_Y, t.Width(), t.Height(), FALSE);
    m_tab.AdjustRect(FALSE, &t);
    offsetX = TAB_MARGIN_X + t.left;
    offsetY = TAB_MARGIN_Y + t.top;
    r.right += 2 * TAB_MARGIN_X;
    r.bottom += 2 * TAB_MARGIN_Y;
  }
  CalcWindowRect(&r, adjustBorder);
  MoveWindow(&r, FALSE);

  SetWindowTextW(captionOf(m_title, m_params, nGroups));
  if (pnOffsetX) *pnOffsetX = offsetX;
  if (pnOffsetY) *pnOffsetY = offsetY;
}

DWORD CDlgParamTune::GetWindowStyleEx() { return WS_EX_TOOLWINDOW; }

CWnd* CDlgParamTune::GetWindowParent() {
  CWinThread* thread = AfxGetThread();
  return thread ? thread->GetMainWnd() : nullptr;
}

void CDlgParamTune::ShowGroup(int nGroup) {
  bool shown = nGroup == 0;
  int page = 0;
  const std::size_t n = std::min(m_controls.size(), m_params.size());
  for (std::size_t i = 0; i < n; ++i) {
    tagParamControls* c = CurrentControls(i);
    const int cmd = shown ? SW_SHOWNORMAL : SW_HIDE;
    if (!c && m_params[i].eType != ePT_Group) continue;
    switch (m_params[i].eType) {
      case ePT_Float:
      case ePT_LogFloat:
      case ePT_Int:
        c->slider.ShowWindow(cmd);
        c->valueText.ShowWindow(cmd);
        c->label.ShowWindow(cmd);
        break;
      case ePT_Bool: c->check.ShowWindow(cmd); break;
      case ePT_List:
        c->label.ShowWindow(cmd);
        c->list.ShowWindow(cmd);
        break;
      case ePT_Group:
        // A header in first place opens page 0 and changes nothing.
        if (i != 0) shown = ++page == nGroup;
        break;
      default: break;
    }
  }
}

void CDlgParamTune::UpdateInterface() {
  const CWnd* focus = CWnd::GetFocus();
  const std::size_t n = std::min(m_controls.size(), m_params.size());
  for (std::size_t i = 0; i < n; ++i) {
    const tagParamInfoV2& p = m_params[i];
    // Controls left from before a change of the list wait for the rebuild.
    tagParamControls* c = CurrentControls(i);
    if (!c || !p.pValue) continue;
    // An open editor keeps what the user is typing.
    if (m_editor->EditingIndex() == static_cast<int>(i)) continue;
    switch (p.eType) {
      case ePT_Float:
      case ePT_LogFloat: {
        if (focus == &c->slider) break;
        // Read once and written back only when the clamp moved it: a value
        // that the host stored meanwhile is never replaced by an older one.
        const float value = load(floatOf(p));
        const float clamped = ClampFloat(value, p.dMin, p.dMax);
        if (!(clamped == value)) store(floatOf(p), clamped);
        c->slider.SendMessage(TBM_SETPOS, TRUE, floatPos(p, clamped));
        UpdateFloatParamVal(static_cast<int>(i));
        break;
      }
      case ePT_Int: {
        if (focus == &c->slider) break;
        const int value = load(intOf(p));
        const int clamped = ClampInt(value, p.dMin, p.dMax);
        if (clamped != value) store(intOf(p), clamped);
        c->slider.SendMessage(TBM_SETPOS, TRUE, clamped);
        UpdateIntParamVal(static_cast<int>(i));
        break;
      }
      case ePT_Bool: c->check.SendMessage(BM_SETCHECK, static_cast<WPARAM>(load(intOf(p)))); break;
      case ePT_List: {
        // An open list keeps its selection; the entries behind it wait for
        // a later tick.
        if (c->list.SendMessage(CB_GETDROPPEDSTATE)) return;
        const int value = load(intOf(p));
        int sel = -1;
        for (int k = 0; k < p.nChoices; ++k) {
          if (TruncToInt(p.pChoices[k].dValue) == value) {
            sel = k;
            break;
          }
        }
        c->list.SendMessage(CB_SETCURSEL, static_cast<WPARAM>(sel));
        break;
      }
      default: break;
    }
  }
}

void CDlgParamTune::UpdateFloatParamVal(int nIndex) {
  tagParamControls* c = nIndex < 0 ? nullptr : CurrentControls(static_cast<std::size_t>(nIndex));
  if (!c || !c->pValue) return;
  const tagParamInfoV2& p = m_params[static_cast<std::size_t>(nIndex)];
  c->valueText.SetWindowTextW(ValueText(p.eType, load(floatOf(p)), p.dMin, p.dMax));
  FitValueCell(c, p);
}

void CDlgParamTune::UpdateIntParamVal(int nIndex) {
  tagParamControls* c = nIndex < 0 ? nullptr : CurrentControls(static_cast<std::size_t>(nIndex));
  if (!c || !c->pValue) return;
  const tagParamInfoV2& p = m_params[static_cast<std::size_t>(nIndex)];
  c->valueText.SetWindowTextW(IntText(load(intOf(p))));
  FitValueCell(c, p);
}

void CDlgParamTune::FitValueCell(tagParamControls* c, const tagParamInfoV2& p) {
  if (!::IsWindow(c->valueText.m_hWnd) || !::IsWindow(c->slider.m_hWnd)) return;
  // The widest text lies at a bound: digits are equally wide, and the
  // clamp keeps every value between the two.
  CStringW lo, hi, now;
  if (p.eType == ePT_Int) {
    lo = IntText(TruncToInt(p.dMin));
    hi = IntText(TruncToInt(p.dMax));
  } else {
    lo = ValueText(p.eType, static_cast<float>(p.dMin), p.dMin, p.dMax);
    hi = ValueText(p.eType, static_cast<float>(p.dMax), p.dMin, p.dMax);
  }
  c->valueText.GetWindowTextW(now);
  const int need = tuning_text::FitTexts(c->valueText, {lo.GetString(), hi.GetString(), now.GetString()}, VALUE_WIDTH);
  const int width = std::min(std::max(need, VALUE_WIDTH), ITEM_WIDTH - LABEL_WIDTH - kMinSliderWidth);
  const CRect v = clientRectOf(*this, c->valueText), s = clientRectOf(*this, c->slider);
  if (v.Width() != width) {
    c->slider.MoveWindow(s.left, s.top, v.right - width - s.left, s.Height(), FALSE);
    c->valueText.MoveWindow(v.right - width, v.top, width, v.Height(), FALSE);
  }
  // Bounds so far apart that even the widest cell cannot hold their digits
  // show the value cut with an ellipsis, whole in the tooltip and the window text.
  if (need > width) tuning_text::FitOneLine(c->valueText, now.GetString());
}

BOOL CDlgParamTune::EditParamValue(int nIndex) {
  CSingleLock lock(&m_lock, TRUE);
  tagParamControls* c = nIndex < 0 ? nullptr : CurrentControls(static_cast<std::size_t>(nIndex));
  if (!c || !::IsWindow(m_hWnd) || !::IsWindow(c->slider.m_hWnd)) return FALSE;
  const tagParamInfoV2& p = m_params[static_cast<std::size_t>(nIndex)];
  if (!p.pValue || !isSliderKind(p.eType)) return FALSE;
  const CRect s = clientRectOf(*this, c->slider), v = clientRectOf(*this, c->valueText);
  CStringW text;
  c->valueText.GetWindowTextW(text);
  m_editor->Open(*this, RECT{s.left, s.top, v.right, v.bottom}, text, nIndex,
                 [this, nIndex](const std::wstring& typed) { return CommitTypedValue(nIndex, typed); });
  return TRUE;
}

int CDlgParamTune::GetEditedParam() const { return m_editor->EditingIndex(); }

bool CDlgParamTune::CommitTypedValue(int nIndex, const std::wstring& text) {
  CSingleLock lock(&m_lock, TRUE);
  double typed = 0.0;
  if (!tuning_text::ParseNumber(text, &typed)) return false;
  // The list changed under the editor: it closes and writes nothing.
  tagParamControls* c = nIndex < 0 ? nullptr : CurrentControls(static_cast<std::size_t>(nIndex));
  if (!c) return true;
  const tagParamInfoV2& p = m_params[static_cast<std::size_t>(nIndex)];
  if (!p.pValue || !isSliderKind(p.eType)) return true;
  bool changed;
  if (isFloatKind(p.eType)) {
    // Kept exact, also between two slider positions; the slider shows the
    // position below it.
    const float before = load(floatOf(p)), after = ClampFloat(static_cast<float>(typed), p.dMin, p.dMax);
    store(floatOf(p), after);
    c->slider.SendMessage(TBM_SETPOS, TRUE, floatPos(p, after));
    UpdateFloatParamVal(nIndex);
    changed = !(after == before);
  } else {
    // A typed fraction goes to the nearest integer.
    const int before = load(intOf(p)), after = ClampInt(TruncToInt(std::floor(typed + 0.5)), p.dMin, p.dMax);
    store(intOf(p), after);
    c->slider.SendMessage(TBM_SETPOS, TRUE, after);
    UpdateIntParamVal(nIndex);
    changed = after != before;
  }
  m_bDirty = TRUE;
  if (changed) OnParamChangeNotify(nIndex);
  return true;
}

// ---- interaction ---------------------------------------------------------------------

void CDlgParamTune::OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar) {
  CSingleLock lock(&m_lock, TRUE);
  const int index = pScrollBar ? pScrollBar->GetDlgCtrlID() - 1 : -1;
  if (index < 0 || static_cast<std::size_t>(index) >= m_params.size()) return;
  // A slider left from before a change of the list may stand at an index
  // that names another variable now: it is as stale as an unknown id.
  if (!CurrentControls(static_cast<std::size_t>(index))) return;
  const tagParamInfoV2& p = m_params[static_cast<std::size_t>(index)];
  bool changed = false;
  if (p.pValue && isSliderKind(p.eType)) {
    const int pos = static_cast<int>(pScrollBar->SendMessage(TBM_GETPOS));
    if (isFloatKind(p.eType)) {
      const float before = load(floatOf(p)), after = posFloat(p, pos);
      store(floatOf(p), after);
      UpdateFloatParamVal(index);
      changed = !(after == before);
    } else {
      const int before = load(intOf(p));
      store(intOf(p), pos);
      UpdateIntParamVal(index);
      changed = pos != before;
    }
  }
  m_bDirty = TRUE;
  if (changed) OnParamChangeNotify(index);
  CWnd::OnHScroll(nSBCode, nPos, pScrollBar);
}

BOOL CDlgParamTune::OnCommand(WPARAM wParam, LPARAM lParam) {
  CSingleLock lock(&m_lock, TRUE);
  const int index = static_cast<int>(LOWORD(wParam)) - 1;
  const WORD code = HIWORD(wParam);
  if (index < 0 || static_cast<std::size_t>(index) >= m_params.size()) return TRUE;
  const std::size_t i = static_cast<std::size_t>(index);
  const tagParamInfoV2& p = m_params[i];
  // Only the entry's own control, built for its variable, counts: after a
  // change of the list the index may name another entry until the rebuild.
  tagParamControls* c = CurrentControls(i);
  const HWND from = reinterpret_cast<HWND>(lParam);
  bool acted = false;
  if (code == BN_CLICKED && p.eType == ePT_Bool && c && p.pValue && from == c->check.m_hWnd) {
    // A manual check box: the click only asks, the variable decides.
    const int value = c->check.SendMessage(BM_GETCHECK) == 0 ? 1 : 0;
    store(intOf(p), value);
    c->check.SendMessage(BM_SETCHECK, static_cast<WPARAM>(value));
    acted = true;
  } else if (code == CBN_SELCHANGE && p.eType == ePT_List && c && p.pValue && from == c->list.m_hWnd) {
    const int sel = static_cast<int>(c->list.SendMessage(CB_GETCURSEL));
    if (sel < 0 || sel >= p.nChoices) return FALSE;
    store(intOf(p), TruncToInt(p.pChoices[sel].dValue));
    acted = true;
  }
  if (acted) {
    m_bDirty = TRUE;
    OnParamChangeNotify(index);
  }
  return CWnd::OnCommand(wParam, lParam);
}

BOOL CDlgParamTune::OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  CSingleLock lock(&m_lock, TRUE);
  const auto* header = reinterpret_cast<const NMHDR*>(lParam);
  if (header && header->code == TCN_SELCHANGE) ShowGroup(m_tab.GetCurSel());
  return CWnd::OnNotify(wParam, lParam, pResult);
}

void CDlgParamTune::OnParamChangeNotify(int nIndex) {
  CSingleLock lock(&m_lock, TRUE);
  const std::size_t i = static_cast<std::size_t>(nIndex);
  tagParamControls* c = nIndex < 0 ? nullptr : CurrentControls(i);
  if (!c) return;
  const tagParamInfoV2& p = m_params[i];
  // No timer for a change that nobody wants to hear of.
  if (!p.pfnNotify && !m_pfnNotify) return;
  UINT elapse = kDefaultElapseMs;
  if (m_pfnElapse)
    elapse = m_pfnElapse(m_pElapseContext, p.pValue);
  else if (m_pNotify)
    elapse = m_pNotify->GetParamNotifyElapse(p.pValue);
  if (c->notifyTimer) KillTimer(c->notifyTimer);
  c->notifyTimer = SetTimer(i + 1, elapse);
}

void CDlgParamTune::OnTimer(UINT nIDEvent) {
  CSingleLock lock(&m_lock, TRUE);
  if (nIDEvent == m_updateTimer) {
    UpdateInterface();
  } else {
    const std::size_t i = static_cast<std::size_t>(nIDEvent) - 1;
    if (nIDEvent > 0 && i < m_controls.size() && m_controls[i]) {
      KillTimer(m_controls[i]->notifyTimer);
      m_controls[i]->notifyTimer = 0;
      // The change was of the variable the controls were built for; if the
      // index names another one now, the rebuild on its way drops it.
      if (CurrentControls(i)) OnParamChanged(static_cast<int>(i));
    }
  }
  Default();
}

void CDlgParamTune::OnParamChanged(int nIndex) {
  const std::size_t i = static_cast<std::size_t>(nIndex);
  if (nIndex < 0 || i >= m_params.size()) return;
  // Copied first: a callback may change the list.
  const PFN_PARAM_NOTIFY own = m_params[i].pfnNotify;
  void* const context = m_params[i].pNotifyContext;
  void* const value = m_params[i].pValue;
  if (own) own(context, value);
  if (m_pfnNotify) m_pfnNotify(m_pNotifyContext, value);
}

LRESULT CDlgParamTune::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_REBUILD_PARAMS) {
    Create(reinterpret_cast<PFN_PARAM_NOTIFY>(wParam), reinterpret_cast<void*>(lParam));
    return 1;
  }
  return CWnd::WindowProc(message, wParam, lParam);
}

BOOL CDlgParamTune::PreTranslateMessage(MSG* pMsg) {
  // Messages of the controls pass here too, and WM_USER + 1 means something
  // else to a slider: only the dialog's own counts.
  if (pMsg && pMsg->message == WM_REBUILD_PARAMS && pMsg->hwnd == m_hWnd) {
    Create(reinterpret_cast<PFN_PARAM_NOTIFY>(pMsg->wParam), reinterpret_cast<void*>(pMsg->lParam));
    return TRUE;
  }
  return CWnd::PreTranslateMessage(pMsg);
}

void CDlgParamTune::OnClose() {
  CSingleLock lock(&m_lock, TRUE);
  Default();
}

void CDlgParamTune::OnDestroy() {
  CSingleLock lock(&m_lock, TRUE);
  if (m_updateTimer) {
    KillTimer(m_updateTimer);
    m_updateTimer = 0;
  }
  UnregisterToolWindow(m_hWnd);
  CWnd::OnDestroy();
}

void CDlgParamTune::Destroy() {
  CSingleLock lock(&m_lock, TRUE);
  DestroyWindow();
}

int CDlgParamTune::IsDirty() {
  // Under the lock: a save or a new list on a host thread clears the flag.
  CSingleLock lock(&m_lock, TRUE);
  return m_bDirty;
}

void CDlgParamTune::ShowWindow() {
  if (!::IsWindow(m_hWnd)) {
    // Taken here already, as the build takes it, to read what it is built with.
    CSingleLock lock(&m_lock, TRUE);
    Create(m_pfnNotify, m_pNotifyContext);
  }
  CWnd::ShowWindow(SW_SHOWNORMAL);
}

int CDlgParamTune::ShowWindow(int nCmdShow) { return CWnd::ShowWindow(nCmdShow); }

void CDlgParamTune::HideWindow() {
  if (::IsWindow(m_hWnd)) CWnd::ShowWindow(SW_HIDE);
}

int CDlgParamTune::IsWindowVisible() const { return m_hWnd ? ::IsWindowVisible(m_hWnd) : FALSE; }

// ---- value files ---------------------------------------------------------------------

LONG CDlgParamTune::SaveParamValues(const char* pszPath) {
  CSingleLock lock(&m_lock, TRUE);
  if (!pszPath) return E_FAIL;
  (void)SetCurrentDirectoryA(OrvekGetApplicationFolder().c_str());  // a missing folder leaves the current one
  // The old file is never cut: it stays locked and whole until the new one,
  // written and flushed beside it, takes its place. A path that cannot be
  // written fails here, before anything has changed.
  CFile target;
  CFileException error;
  if (!target.Open(pszPath, CFile::modeCreate | CFile::modeWrite | CFile::modeReplace, &error)) return E_FAIL;
  const std::string finalPath(pszPath);
  const std::size_t slash = finalPath.rfind('/');
  const std::string draft = finalPath.substr(0, slash == std::string::npos ? 0 : slash + 1) + "." +
                            finalPath.substr(slash == std::string::npos ? 0 : slash + 1) + ".saving-" +
                            std::to_string(getpid());
  CFile head;
  if (!head.Open(draft.c_str(), CFile::modeCreate | CFile::modeWrite, &error)) {
    // No file can be made beside the old one (a read-only folder): the old
    // file, already opened in place, takes the head and then the values.
    target.Write(kFileHead, kFileHeadSize);
    target.Close();
    WriteValueFile(pszPath);
    return S_OK;
  }
  try {
    head.Write(kFileHead, kFileHeadSize);
    head.Close();
    WriteValueFile(draft.c_str());
    if (std::rename(draft.c_str(), pszPath) != 0) {
      std::remove(draft.c_str());
      target.Abort();
      return E_FAIL;
    }
  } catch (...) {
    std::remove(draft.c_str());
    target.Abort();
    throw;
  }
  target.Abort();  // its own replacement was never written
  return S_OK;
}

void CDlgParamTune::WriteValueFile(const char* pszPath) {
  CIniFile ini;
  (void)ini.Create(pszPath, 1, 0);  // the engine's text now holds the head only
  WriteValues(&ini);
  m_bDirty = FALSE;
  (void)ini.Close();  // a write error throws instead, and the old file stays
}

void CDlgParamTune::WriteValues(CIniFile* pIni) {
  CStringW section(kNoGroupSection);
  for (const tagParamInfoV2& p : m_params) {
    if (p.eType == ePT_Group) {
      section = p.pszName;
      continue;
    }
    if (!p.pValue) continue;
    // Taken with one read each, as the refresh does.
    switch (p.eType) {
      case ePT_Float:
      case ePT_LogFloat: {
        float value = load(floatOf(p));
        (void)pIni->WriteParam(section.GetString(), p.pszName, &value);  // the engine's text cannot refuse a key
        break;
      }
      case ePT_Bool:
      case ePT_Int:
      case ePT_List: {
        int value = load(intOf(p));
        (void)pIni->WriteParam(section.GetString(), p.pszName, &value);
        break;
      }
      default: break;
    }
  }
}

LONG CDlgParamTune::SaveParamValues(const wchar_t* pszPath) {
  if (!pszPath) return E_FAIL;
  return SaveParamValues(CStringA(pszPath).GetString());
}

LONG CDlgParamTune::LoadParamValues(const char* pszPath) {
  CSingleLock lock(&m_lock, TRUE);
  if (!pszPath) return S_OK;
  CIniFile ini;
  (void)ini.Create(pszPath, 0, 0);  // a missing file reads as empty: every key keeps its value
  CStringW section(kNoGroupSection);
  // By index, with the entry copied: a callback may change the list.
  for (std::size_t i = 0; i < m_params.size(); ++i) {
    const tagParamInfoV2 p = m_params[i];
    if (p.eType == ePT_Group) {
      section = p.pszName;
      continue;
    }
    if (!p.pValue) continue;
    bool changed = false;
    if (isFloatKind(p.eType)) {
      float read = 0.0f;
      if (ini.ReadParam(section.GetString(), p.pszName, &read) == S_OK && !(read == load(floatOf(p)))) {
        store(floatOf(p), read);
        changed = true;
      }
    } else if (p.eType == ePT_Bool || p.eType == ePT_Int || p.eType == ePT_List) {
      int read = 0;
      if (ini.ReadParam(section.GetString(), p.pszName, &read) == S_OK && read != load(intOf(p))) {
        store(intOf(p), read);
        changed = true;
      }
    }
    if (changed) OnParamChanged(static_cast<int>(i));
  }
  (void)ini.Close();  // opened for reading: nothing is written
  return S_OK;
}

LONG CDlgParamTune::LoadParamValues(const wchar_t* pszPath) {
  if (!pszPath) return S_OK;
  return LoadParamValues(CStringA(pszPath).GetString());
}
