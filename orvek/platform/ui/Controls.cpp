// The built-in control classes on Qt widgets: how each is made, what it
// answers, and what it tells its parent.
#include <orvek/platform/ui/Controls.h>

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSlider>
#include <QStyleOptionTabWidgetFrame>
#include <QStylePainter>
#include <QTabBar>

#include <algorithm>
#include <climits>
#include <cwchar>

#include <orvek/platform/ui/Wnd_p.h>

namespace {

using orvek_ui::guarded;
using orvek_ui::HandlerScope;

// A slider that also tells the end of every mouse or key action.
class TrackbarWidget : public QSlider {
 public:
  TrackbarWidget(Qt::Orientation o, QWidget* parent) : QSlider(o, parent) {}
  CWndImpl* impl = nullptr;

 protected:
  void mouseReleaseEvent(QMouseEvent* e) override {
    QSlider::mouseReleaseEvent(e);
    if (e->button() == Qt::LeftButton && impl) impl->notifyScroll(TB_ENDTRACK, 0);
  }
  void keyReleaseEvent(QKeyEvent* e) override {
    QSlider::keyReleaseEvent(e);
    switch (e->key()) {
      case Qt::Key_Left:
      case Qt::Key_Right:
      case Qt::Key_Up:
      case Qt::Key_Down:
      case Qt::Key_PageUp:
      case Qt::Key_PageDown:
      case Qt::Key_Home:
      case Qt::Key_End:
        if (!e->isAutoRepeat() && impl) impl->notifyScroll(TB_ENDTRACK, 0);
        break;
      default: break;
    }
  }
};

// A check box that is clicked anywhere in its rectangle; a manual one
// leaves its mark to BM_SETCHECK.
class CheckWidget : public QCheckBox {
 public:
  CheckWidget(bool automatic, QWidget* parent) : QCheckBox(parent), m_automatic(automatic) {}

 protected:
  void nextCheckState() override {
    if (m_automatic) QCheckBox::nextCheckState();
  }
  bool hitButton(const QPoint& p) const override { return rect().contains(p); }

 private:
  const bool m_automatic;
};

// A tab row over a framed display area, laid out and drawn by the style's
// own tab widget measures, so the margins it reports are the ones it draws.
class TabControlWidget : public QWidget {
 public:
  explicit TabControlWidget(QWidget* parent) : QWidget(parent), bar(new QTabBar(this)) {
    bar->setDrawBase(false);
    bar->setExpanding(false);
    bar->setUsesScrollButtons(true);
  }

  // Between the control's rectangle and its display area.
  QMargins displayMargins() const {
    const QRect r = width() > 100 && height() > 100 ? rect() : QRect(0, 0, 400, 300);
    QStyleOptionTabWidgetFrame opt;
    frameOption(&opt, r);
    const QRect c = style()->subElementRect(QStyle::SE_TabWidgetTabContents, &opt, this);
    return QMargins(c.left() - r.left(), c.top() - r.top(), r.right() - c.right(), r.bottom() - c.bottom());
  }

  void layoutBar() {
    QStyleOptionTabWidgetFrame opt;
    frameOption(&opt, rect());
    bar->setGeometry(style()->subElementRect(QStyle::SE_TabWidgetTabBar, &opt, this));
    update();
  }

  QTabBar* const bar;
  // Set while the owner changes the selection: no notification then.
  bool quiet = false;

 protected:
  void paintEvent(QPaintEvent*) override {
    QStylePainter p(this);
    QStyleOptionTabWidgetFrame opt;
    frameOption(&opt, rect());
    opt.rect = style()->subElementRect(QStyle::SE_TabWidgetTabPane, &opt, this);
    p.drawPrimitive(QStyle::PE_FrameTabWidget, opt);
  }
  void resizeEvent(QResizeEvent*) override { layoutBar(); }

 private:
  QSize barSize(int width) const {
    int h;
    if (bar->count() > 0) {
      h = bar->sizeHint().height();
    } else {
      // An empty row is as high as a row with one tab.
      QTabBar probe;
      probe.setFont(bar->font());
      probe.addTab(QStringLiteral("X"));
      h = probe.sizeHint().height();
    }
    return QSize(std::min(bar->count() > 0 ? bar->sizeHint().width() : 0, width), h);
  }

  void frameOption(QStyleOptionTabWidgetFrame* opt, const QRect& r) const {
    opt->initFrom(this);
    opt->rect = r;
    opt->lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, this);
    opt->shape = QTabBar::RoundedNorth;
    opt->tabBarSize = barSize(r.width());
    opt->tabBarRect = bar->geometry();
    if (bar->currentIndex() >= 0) opt->selectedTabRect = bar->tabRect(bar->currentIndex()).translated(bar->pos());
  }
};

// The quiet flag for the span of an owner's change.
struct Quiet {
  explicit Quiet(TabControlWidget* t) : tab(t), before(t->quiet) { t->quiet = true; }
  ~Quiet() { tab->quiet = before; }
  TabControlWidget* tab;
  bool before;
};

bool isCheckStyle(DWORD style) {
  switch (style & BS_TYPEMASK) {
    case BS_CHECKBOX:
    case BS_AUTOCHECKBOX:
    case BS_3STATE:
    case BS_AUTO3STATE: return true;
    default: return false;
  }
}

int toCheck(Qt::CheckState s) {
  return s == Qt::Checked ? BST_CHECKED : (s == Qt::PartiallyChecked ? BST_INDETERMINATE : BST_UNCHECKED);
}

LRESULT copyText(const QString& text, wchar_t* buffer) {
  const std::wstring w = text.toStdWString();
  if (buffer) {
    std::wmemcpy(buffer, w.data(), w.size());
    buffer[w.size()] = L'\0';
  }
  return static_cast<LRESULT>(w.size());
}

// The open list takes what the owner's height leaves below the closed box.
void fitComboList(CWndImpl* impl) {
  auto* c = static_cast<QComboBox*>(impl->widget);
  const int box = c->height();
  const int row = c->count() > 0 ? std::max(1, c->view()->sizeHintForRow(0)) : c->fontMetrics().height() + 2;
  c->setMaxVisibleItems(std::max(1, (impl->requestedHeight - box) / row));
}

bool sliderProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  auto* s = static_cast<TrackbarWidget*>(impl->widget);
  const int value = static_cast<int>(lParam);
  auto setRange = [s](int lo, int hi) {
    s->setRange(lo, std::max(lo, hi));
    // A fifth of the range, in 64 bits: bounds near the 32-bit limits span
    // more than an int holds.
    const long long span = static_cast<long long>(s->maximum()) - s->minimum();
    s->setPageStep(static_cast<int>(std::clamp<long long>(span / 5, 1, INT_MAX)));
  };
  switch (message) {
    case TBM_GETPOS: *result = s->sliderPosition(); return true;
    case TBM_GETRANGEMIN: *result = s->minimum(); return true;
    case TBM_GETRANGEMAX: *result = s->maximum(); return true;
    case TBM_SETPOS:
      s->setValue(value);  // clamps; tells nobody
      return true;
    case TBM_SETRANGE:
      setRange(static_cast<short>(LOWORD(static_cast<std::uintptr_t>(lParam))),
               static_cast<short>(HIWORD(static_cast<std::uintptr_t>(lParam))));
      return true;
    case TBM_SETRANGEMIN: setRange(value, s->maximum()); return true;
    case TBM_SETRANGEMAX: setRange(s->minimum(), value); return true;
    default: (void)wParam; return false;
  }
}

bool buttonProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM, LRESULT* result) {
  auto* b = static_cast<QAbstractButton*>(impl->widget);
  auto* check = qobject_cast<QCheckBox*>(b);
  switch (message) {
    case BM_GETCHECK: *result = check ? toCheck(check->checkState()) : BST_UNCHECKED; return true;
    case BM_SETCHECK:
      if (check) {
        const int state = static_cast<int>(wParam);
        if (state == BST_INDETERMINATE && check->isTristate())
          check->setCheckState(Qt::PartiallyChecked);
        else
          check->setCheckState(state == BST_UNCHECKED ? Qt::Unchecked : Qt::Checked);
      }
      *result = 0;
      return true;
    case BM_CLICK:
      b->click();
      *result = 0;
      return true;
    default: return false;
  }
}

bool comboProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  auto* c = static_cast<QComboBox*>(impl->widget);
  const int index = static_cast<int>(static_cast<std::intptr_t>(wParam));
  switch (message) {
    case CB_ADDSTRING: {
      // Adding keeps the selection as it was, also when there was none.
      const int before = c->currentIndex();
      c->addItem(orvek_ui::toQString(reinterpret_cast<const wchar_t*>(lParam)));
      c->setCurrentIndex(before);
      fitComboList(impl);
      *result = c->count() - 1;
      return true;
    }
    case CB_GETCOUNT: *result = c->count(); return true;
    case CB_GETCURSEL: *result = c->currentIndex(); return true;
    case CB_SETCURSEL:
      if (index >= 0 && index < c->count()) {
        c->setCurrentIndex(index);
        *result = index;
      } else {
        c->setCurrentIndex(-1);
        *result = CB_ERR;
      }
      return true;
    case CB_GETDROPPEDSTATE: *result = c->view()->isVisible() ? TRUE : FALSE; return true;
    case CB_SHOWDROPDOWN:
      if (wParam)
        c->showPopup();
      else
        c->hidePopup();
      *result = TRUE;
      return true;
    case CB_RESETCONTENT:
      c->clear();
      *result = 0;
      return true;
    case CB_GETLBTEXTLEN:
    case CB_GETLBTEXT:
      if (index < 0 || index >= c->count()) {
        *result = CB_ERR;
      } else {
        *result = copyText(c->itemText(index), message == CB_GETLBTEXT ? reinterpret_cast<wchar_t*>(lParam) : nullptr);
      }
      return true;
    default: return false;
  }
}

bool tabProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  auto* t = static_cast<TabControlWidget*>(impl->widget);
  QTabBar* bar = t->bar;
  const int index = static_cast<int>(static_cast<std::intptr_t>(wParam));
  switch (message) {
    case TCM_INSERTITEMW: {
      const auto* item = reinterpret_cast<const TCITEMW*>(lParam);
      if (!item || index < 0) {
        *result = -1;
        return true;
      }
      Quiet quiet(t);
      const QString text = (item->mask & TCIF_TEXT) ? orvek_ui::toQString(item->pszText) : QString();
      *result = bar->insertTab(std::min(index, bar->count()), text);
      t->layoutBar();
      return true;
    }
    case TCM_GETITEMCOUNT: *result = bar->count(); return true;
    case TCM_DELETEALLITEMS: {
      Quiet quiet(t);
      while (bar->count() > 0) bar->removeTab(bar->count() - 1);
      t->layoutBar();
      *result = TRUE;
      return true;
    }
    case TCM_GETCURSEL: *result = bar->currentIndex(); return true;
    case TCM_SETCURSEL:
      if (index < 0 || index >= bar->count()) {
        *result = -1;
      } else {
        Quiet quiet(t);
        *result = bar->currentIndex();
        bar->setCurrentIndex(index);
        t->update();
      }
      return true;
    case TCM_ADJUSTRECT: {
      auto* r = reinterpret_cast<RECT*>(lParam);
      if (r) {
        const QMargins m = t->displayMargins();
        const int sign = wParam ? 1 : -1;
        r->left -= sign * m.left();
        r->top -= sign * m.top();
        r->right += sign * m.right();
        r->bottom += sign * m.bottom();
      }
      *result = 0;
      return true;
    }
    default: return false;
  }
}

}  // namespace

// ---- the parts the window layer calls ---------------------------------------------------

QWidget* orvek_ui::makeControlWidget(WndKind kind, DWORD style, QWidget* parent) {
  switch (kind) {
    case WndKind::Static: {
      auto* l = new QLabel(parent);
      l->setTextFormat(Qt::PlainText);
      l->setWordWrap(true);
      const DWORD type = style & SS_TYPEMASK;
      const Qt::Alignment h =
          type == SS_CENTER ? Qt::AlignHCenter : (type == SS_RIGHT ? Qt::AlignRight : Qt::AlignLeft);
      l->setAlignment(h | Qt::AlignTop);
      return l;
    }
    case WndKind::Button: {
      if (!isCheckStyle(style)) return new QPushButton(parent);
      const DWORD type = style & BS_TYPEMASK;
      auto* c = new CheckWidget(type == BS_AUTOCHECKBOX || type == BS_AUTO3STATE, parent);
      c->setTristate(type == BS_3STATE || type == BS_AUTO3STATE);
      return c;
    }
    case WndKind::Combo: {
      auto* c = new QComboBox(parent);
      c->setEditable((style & 0x3) == CBS_DROPDOWN);
      return c;
    }
    case WndKind::Slider: {
      auto* s = new TrackbarWidget((style & TBS_VERT) ? Qt::Vertical : Qt::Horizontal, parent);
      // The host platform's slider runs from 0 to 100, its minimum at the
      // top when upright.
      s->setRange(0, 100);
      s->setPageStep(20);
      s->setInvertedAppearance((style & TBS_VERT) != 0);
      return s;
    }
    case WndKind::Tab: return new TabControlWidget(parent);
    case WndKind::Generic: break;
  }
  return new QWidget(parent);
}

void orvek_ui::wireControl(CWndImpl* impl) {
  // Without WS_TABSTOP a control takes the focus only from a click, as on
  // the host platform: activating its window or pressing Tab never puts it
  // there.
  if (impl->kind != WndKind::Generic && (impl->style & WS_CHILD) && !(impl->style & WS_TABSTOP)) {
    QList<QWidget*> parts = impl->widget->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    parts << impl->widget;
    for (QWidget* w : parts)
      if (w->focusPolicy() & Qt::TabFocus) w->setFocusPolicy(Qt::ClickFocus);
  }
  switch (impl->kind) {
    case WndKind::Slider: {
      auto* s = static_cast<TrackbarWidget*>(impl->widget);
      s->impl = impl;
      QObject::connect(s, &QAbstractSlider::actionTriggered, impl, [impl, s](int action) {
        UINT code;
        switch (action) {
          case QAbstractSlider::SliderSingleStepAdd: code = TB_LINEDOWN; break;
          case QAbstractSlider::SliderSingleStepSub: code = TB_LINEUP; break;
          case QAbstractSlider::SliderPageStepAdd: code = TB_PAGEDOWN; break;
          case QAbstractSlider::SliderPageStepSub: code = TB_PAGEUP; break;
          case QAbstractSlider::SliderToMinimum: code = TB_TOP; break;
          case QAbstractSlider::SliderToMaximum: code = TB_BOTTOM; break;
          case QAbstractSlider::SliderMove: code = TB_THUMBTRACK; break;
          default: return;
        }
        // The new position stands in sliderPosition already; TBM_GETPOS
        // reads it there.
        impl->notifyScroll(code, s->sliderPosition());
      });
      QObject::connect(s, &QAbstractSlider::sliderReleased, impl,
                       [impl, s] { impl->notifyScroll(TB_THUMBPOSITION, s->sliderPosition()); });
      break;
    }
    case WndKind::Button:
      QObject::connect(static_cast<QAbstractButton*>(impl->widget), &QAbstractButton::clicked, impl,
                       [impl] { impl->notifyCommand(BN_CLICKED); });
      break;
    case WndKind::Combo:
      QObject::connect(static_cast<QComboBox*>(impl->widget), QOverload<int>::of(&QComboBox::activated), impl,
                       [impl](int) { impl->notifyCommand(CBN_SELCHANGE); });
      break;
    case WndKind::Tab: {
      auto* t = static_cast<TabControlWidget*>(impl->widget);
      QObject::connect(t->bar, &QTabBar::currentChanged, impl, [impl, t](int) {
        t->update();
        if (!t->quiet) impl->notifyTabChange();
      });
      break;
    }
    default: break;
  }
}

bool orvek_ui::controlProc(CWndImpl* impl, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  switch (impl->kind) {
    case WndKind::Slider: return sliderProc(impl, message, wParam, lParam, result);
    case WndKind::Button: return buttonProc(impl, message, wParam, lParam, result);
    case WndKind::Combo: return comboProc(impl, message, wParam, lParam, result);
    case WndKind::Tab: return tabProc(impl, message, wParam, lParam, result);
    default: return false;
  }
}

void orvek_ui::controlSetText(CWndImpl* impl) {
  const QString text = toQString(impl->text.c_str());
  if (impl->widget->isWindow()) impl->widget->setWindowTitle(text);
  if (impl->kind == WndKind::Static)
    static_cast<QLabel*>(impl->widget)->setText(text);
  else if (impl->kind == WndKind::Button)
    static_cast<QAbstractButton*>(impl->widget)->setText(text);
}

void orvek_ui::controlSetGeometry(CWndImpl* impl, const QRect& rect) {
  if (impl->kind != WndKind::Combo) {
    impl->widget->setGeometry(rect);
    return;
  }
  // The closed box keeps the platform's height; the rest is for the list.
  impl->requestedHeight = rect.height();
  const int box = std::min(rect.height(), impl->widget->sizeHint().height());
  impl->widget->setGeometry(QRect(rect.x(), rect.y(), rect.width(), box));
  fitComboList(impl);
}

// ---- notifications -------------------------------------------------------------------------

void CWndImpl::notifyCommand(WORD code) {
  if (!wnd) return;
  HandlerScope scope;
  const HWND parent = GetParent(hwnd);
  if (!parent) return;
  const WPARAM wp = MAKEWPARAM(LOWORD(id), code);
  const HWND self = hwnd;
  guarded([&] { SendMessageW(parent, WM_COMMAND, wp, reinterpret_cast<LPARAM>(self)); });
}

void CWndImpl::notifyScroll(UINT code, int pos) {
  if (!wnd) return;
  HandlerScope scope;
  const HWND parent = GetParent(hwnd);
  if (!parent) return;
  const UINT message = (style & TBS_VERT) ? WM_VSCROLL : WM_HSCROLL;
  const bool withPos = code == TB_THUMBTRACK || code == TB_THUMBPOSITION;
  const WPARAM wp = MAKEWPARAM(static_cast<WORD>(code), withPos ? static_cast<WORD>(pos) : 0);
  const HWND self = hwnd;
  guarded([&] { SendMessageW(parent, message, wp, reinterpret_cast<LPARAM>(self)); });
}

void CWndImpl::notifyTabChange() {
  if (!wnd) return;
  HandlerScope scope;
  const HWND parent = GetParent(hwnd);
  if (!parent) return;
  NMHDR nm{hwnd, id, TCN_SELCHANGE};
  guarded([&] { SendMessageW(parent, WM_NOTIFY, id, reinterpret_cast<LPARAM>(&nm)); });
}

// ---- control classes -------------------------------------------------------------------------

BOOL CStatic::Create(const wchar_t* lpszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
  return CWnd::Create(WC_STATICW, lpszText, dwStyle, rect, pParentWnd, nID);
}

BOOL CButton::Create(const wchar_t* lpszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
  return CWnd::Create(WC_BUTTONW, lpszCaption, dwStyle, rect, pParentWnd, nID);
}
int CButton::GetCheck() const { return static_cast<int>(::SendMessageW(m_hWnd, BM_GETCHECK, 0, 0)); }
void CButton::SetCheck(int nCheck) { ::SendMessageW(m_hWnd, BM_SETCHECK, static_cast<WPARAM>(nCheck), 0); }

BOOL CSliderCtrl::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
  return CWnd::Create(TRACKBAR_CLASSW, nullptr, dwStyle, rect, pParentWnd, nID);
}
void CSliderCtrl::SetRange(int nMin, int nMax, BOOL bRedraw) {
  ::SendMessageW(m_hWnd, TBM_SETRANGEMIN, FALSE, nMin);
  ::SendMessageW(m_hWnd, TBM_SETRANGEMAX, static_cast<WPARAM>(bRedraw), nMax);
}
void CSliderCtrl::GetRange(int& nMin, int& nMax) const {
  nMin = GetRangeMin();
  nMax = GetRangeMax();
}
int CSliderCtrl::GetRangeMin() const { return static_cast<int>(::SendMessageW(m_hWnd, TBM_GETRANGEMIN, 0, 0)); }
int CSliderCtrl::GetRangeMax() const { return static_cast<int>(::SendMessageW(m_hWnd, TBM_GETRANGEMAX, 0, 0)); }
int CSliderCtrl::GetPos() const { return static_cast<int>(::SendMessageW(m_hWnd, TBM_GETPOS, 0, 0)); }
void CSliderCtrl::SetPos(int nPos) { ::SendMessageW(m_hWnd, TBM_SETPOS, TRUE, nPos); }

BOOL CComboBox::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
  return CWnd::Create(WC_COMBOBOXW, nullptr, dwStyle, rect, pParentWnd, nID);
}
int CComboBox::AddString(const wchar_t* lpszString) {
  return static_cast<int>(::SendMessageW(m_hWnd, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(lpszString)));
}
int CComboBox::GetCount() const { return static_cast<int>(::SendMessageW(m_hWnd, CB_GETCOUNT, 0, 0)); }
int CComboBox::GetCurSel() const { return static_cast<int>(::SendMessageW(m_hWnd, CB_GETCURSEL, 0, 0)); }
int CComboBox::SetCurSel(int nSelect) {
  return static_cast<int>(::SendMessageW(m_hWnd, CB_SETCURSEL, static_cast<WPARAM>(nSelect), 0));
}
BOOL CComboBox::GetDroppedState() const { return static_cast<BOOL>(::SendMessageW(m_hWnd, CB_GETDROPPEDSTATE, 0, 0)); }
void CComboBox::ShowDropDown(BOOL bShowIt) { ::SendMessageW(m_hWnd, CB_SHOWDROPDOWN, static_cast<WPARAM>(bShowIt), 0); }
void CComboBox::ResetContent() { ::SendMessageW(m_hWnd, CB_RESETCONTENT, 0, 0); }
void CComboBox::GetLBText(int nIndex, CStringW& rString) const {
  const int n = static_cast<int>(::SendMessageW(m_hWnd, CB_GETLBTEXTLEN, static_cast<WPARAM>(nIndex), 0));
  if (n < 0) {
    rString = L"";
    return;
  }
  ::SendMessageW(m_hWnd, CB_GETLBTEXT, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(rString.GetBuffer(n)));
  rString.ReleaseBuffer(n);
}

BOOL CTabCtrl::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
  return CWnd::Create(WC_TABCONTROLW, nullptr, dwStyle, rect, pParentWnd, nID);
}
LONG CTabCtrl::InsertItem(int nItem, const wchar_t* lpszItem) {
  TCITEMW item{};
  item.mask = TCIF_TEXT;
  item.pszText = const_cast<wchar_t*>(lpszItem);
  return InsertItem(nItem, &item);
}
LONG CTabCtrl::InsertItem(int nItem, TCITEMW* pTabCtrlItem) {
  return static_cast<LONG>(
      ::SendMessageW(m_hWnd, TCM_INSERTITEMW, static_cast<WPARAM>(nItem), reinterpret_cast<LPARAM>(pTabCtrlItem)));
}
int CTabCtrl::GetItemCount() const { return static_cast<int>(::SendMessageW(m_hWnd, TCM_GETITEMCOUNT, 0, 0)); }
int CTabCtrl::GetCurSel() const { return static_cast<int>(::SendMessageW(m_hWnd, TCM_GETCURSEL, 0, 0)); }
int CTabCtrl::SetCurSel(int nItem) {
  return static_cast<int>(::SendMessageW(m_hWnd, TCM_SETCURSEL, static_cast<WPARAM>(nItem), 0));
}
BOOL CTabCtrl::DeleteAllItems() { return static_cast<BOOL>(::SendMessageW(m_hWnd, TCM_DELETEALLITEMS, 0, 0)); }
void CTabCtrl::AdjustRect(BOOL bLarger, LPRECT lpRect) {
  ::SendMessageW(m_hWnd, TCM_ADJUSTRECT, static_cast<WPARAM>(bLarger), reinterpret_cast<LPARAM>(lpRect));
}
