// Zoom, pan, box zoom, readout, pause, legend and context menu of a graph, on
// the Qt events of its window. Everything here changes what is drawn, never
// the host's samples, ranges or modes; the drawer keeps the view.
#include <orvek/plotting/windows/GraphInteraction_p.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFile>
#include <QFileDialog>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <vector>

#include <orvek/platform/gfx/QtInterop.h>
#include <orvek/plotting/drawer/GraphDrawer.h>
#include <orvek/plotting/windows/GraphWnd.h>

namespace orvek_plot {

namespace {
constexpr double kWheelStep = 0.8;  // span factor of one wheel notch
constexpr int kDragThreshold = 4;   // pixels before a press becomes a drag
constexpr int kLegendPad = 4;

QString FromWide(const CStringW& s) { return QString::fromWCharArray(s.GetString(), s.GetLength()); }
QColor FromArgb(DWORD argb) { return QColor::fromRgba(argb); }

// The 8-point text of every mark over the plot, set on the painter.
QFontMetrics UseMarkFont(QPainter* p, bool bBold = false) {
  QFont font = p->font();
  font.setPointSizeF(8.0);
  font.setBold(bBold);
  p->setFont(font);
  return QFontMetrics(font);
}
}  // namespace

class Interaction : public QObject {
 public:
  Interaction(CGraphWnd* wnd, QWidget* widget) : m_wnd(wnd), m_widget(widget) {
    widget->setMouseTracking(true);
    widget->setFocusPolicy(Qt::WheelFocus);
    widget->installEventFilter(this);
  }
  ~Interaction() override {
    if (m_widget) m_widget->removeEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* e) override;
  void Paint(QPainter* p, CGraphDrawer* d) ORVEK_REQUIRES(d->m_csData);
  QImage Composed();

  bool m_enabled = true;

 private:
  enum class Drag { None, Pan, Box };

  CGraphDrawer* Drawer() const { return m_wnd->m_pDrawer; }
  QRect Plot() const;
  double FractionX(double px) const;
  double FractionY(double py) const;
  void Changed() {
    if (m_widget) m_widget->update();
  }
  void SetView(const tagPlotView& v);
  void Press(QMouseEvent* e);
  void Move(QMouseEvent* e);
  void Release(QMouseEvent* e);
  void Wheel(QWheelEvent* e);
  bool Key(QKeyEvent* e);
  void Menu(const QPoint& at);
  void PaintReadout(QPainter* p, CGraphDrawer* d) ORVEK_REQUIRES(d->m_csData);
  void PaintLegend(QPainter* p, CGraphDrawer* d, bool bRecord) ORVEK_REQUIRES(d->m_csData);
  void PaintPauseMark(QPainter* p);
  int LegendHit(const QPoint& at) const;

  CGraphWnd* m_wnd;
  QPointer<QWidget> m_widget;
  Drag m_drag = Drag::None;
  bool m_pressed = false;
  Qt::MouseButton m_button = Qt::NoButton;
  QPoint m_pressAt, m_cursor;
  tagPlotView m_pressView = {0, 0, 0, 0};
  bool m_hover = false;
  std::vector<std::pair<QRect, int>> m_legendHits;
};

QRect Interaction::Plot() const {
  CGraphDrawer* d = Drawer();
  if (!d) return QRect();
  // The window's thread holds no drawer lock here, or already this one.
  CSingleLock lock(&d->m_csData, TRUE);
  return QRect(d->m_rcPlot.X, d->m_rcPlot.Y, d->m_rcPlot.Width, d->m_rcPlot.Height);
}

// Sample columns run from the plot's first pixel to its last, rows from its
// last (the bottom value) to its first.
double Interaction::FractionX(double px) const {
  const QRect r = Plot();
  return r.width() > 1 ? (px - r.x()) / (r.width() - 1) : 0.5;
}

double Interaction::FractionY(double py) const {
  const QRect r = Plot();
  return r.height() > 1 ? (r.y() + r.height() - 1 - py) / (r.height() - 1) : 0.5;
}

void Interaction::SetView(const tagPlotView& v) {
  if (CGraphDrawer* d = Drawer()) d->SetView(v);
  Changed();
}

bool Interaction::eventFilter(QObject* watched, QEvent* e) {
  if (watched != m_widget || !m_enabled || !Drawer()) return false;
  switch (e->type()) {
    case QEvent::Wheel: Wheel(static_cast<QWheelEvent*>(e)); return true;
    case QEvent::MouseButtonPress: Press(static_cast<QMouseEvent*>(e)); return true;
    case QEvent::MouseMove: Move(static_cast<QMouseEvent*>(e)); return true;
    case QEvent::MouseButtonRelease: Release(static_cast<QMouseEvent*>(e)); return true;
    case QEvent::MouseButtonDblClick:
      if (static_cast<QMouseEvent*>(e)->button() != Qt::LeftButton) return false;
      Drawer()->ResetView();
      Changed();
      return true;
    case QEvent::KeyPress: return Key(static_cast<QKeyEvent*>(e));
    case QEvent::ContextMenu:
      // The right button opens the menu on its release, unless it drew a box.
      return static_cast<QContextMenuEvent*>(e)->reason() == QContextMenuEvent::Mouse;
    case QEvent::Leave:
      m_hover = false;
      Changed();
      return false;
    default: return false;
  }
}

void Interaction::Wheel(QWheelEvent* e) {
  const QPoint delta = e->angleDelta();
  const int notches = delta.y() != 0 ? delta.y() : delta.x();
  if (notches == 0) return;
  const double factor = std::pow(kWheelStep, notches / 120.0);
  CGraphDrawer* d = Drawer();
  const tagPlotView v = d->GetView();
  const QPointF at = e->position();
  if (e->modifiers() & Qt::ShiftModifier)
    SetView(orvek_view::ZoomY(v, FractionY(at.y()), factor));
  else
    SetView(orvek_view::ZoomX(v, FractionX(at.x()), factor));
}

void Interaction::Press(QMouseEvent* e) {
  const QPoint at = e->position().toPoint();
  if (e->button() == Qt::LeftButton && !(e->modifiers() & Qt::ControlModifier)) {
    const int hit = LegendHit(at);
    if (hit >= 0) {
      CGraphDrawer* d = Drawer();
      d->SetCurveVisible(hit, d->GetCurveStyle(hit).bHidden ? TRUE : FALSE);
      Changed();
      return;
    }
  }
  if (e->button() != Qt::LeftButton && e->button() != Qt::RightButton) return;
  m_pressed = true;
  m_button = e->button();
  m_pressAt = m_cursor = at;
  m_pressView = Drawer()->GetView();
  const bool box = e->button() == Qt::RightButton || (e->modifiers() & Qt::ControlModifier);
  m_drag = box ? Drag::Box : Drag::Pan;
}

void Interaction::Move(QMouseEvent* e) {
  m_cursor = e->position().toPoint();
  m_hover = Plot().contains(m_cursor);
  if (m_pressed && m_drag == Drag::Pan) {
    const QRect r = Plot();
    const double dx = r.width() > 1 ? double(m_cursor.x() - m_pressAt.x()) / (r.width() - 1) : 0;
    const double dy = r.height() > 1 ? double(m_pressAt.y() - m_cursor.y()) / (r.height() - 1) : 0;
    if ((m_cursor - m_pressAt).manhattanLength() >= kDragThreshold || Drawer()->HasUserView())
      SetView(orvek_view::Pan(m_pressView, dx, dy));
    return;
  }
  Changed();  // crosshair, readout or box follow the cursor
}

void Interaction::Release(QMouseEvent* e) {
  if (!m_pressed || e->button() != m_button) return;
  m_pressed = false;
  const QPoint at = e->position().toPoint();
  const bool moved =
      std::abs(at.x() - m_pressAt.x()) >= kDragThreshold && std::abs(at.y() - m_pressAt.y()) >= kDragThreshold;
  if (m_drag == Drag::Box && moved) {
    SetView(orvek_view::Box(m_pressView, FractionX(m_pressAt.x()), FractionY(m_pressAt.y()), FractionX(at.x()),
                            FractionY(at.y())));
  } else if (m_drag == Drag::Box && m_button == Qt::RightButton &&
             (at - m_pressAt).manhattanLength() < kDragThreshold) {
    m_drag = Drag::None;
    Changed();
    Menu(at);  // last: the host may end this object while the menu is open
    return;
  }
  m_drag = Drag::None;
  Changed();
}

bool Interaction::Key(QKeyEvent* e) {
  CGraphDrawer* d = Drawer();
  switch (e->key()) {
    case Qt::Key_Space: d->SetPaused(d->IsPaused() ? FALSE : TRUE); break;
    case Qt::Key_Home: d->ResetView(); break;
    case Qt::Key_Plus:
    case Qt::Key_Equal: SetView(orvek_view::ZoomX(d->GetView(), 0.5, kWheelStep)); break;
    case Qt::Key_Minus: SetView(orvek_view::ZoomX(d->GetView(), 0.5, 1.0 / kWheelStep)); break;
    case Qt::Key_Left:
    case Qt::Key_Right: SetView(orvek_view::Pan(d->GetView(), e->key() == Qt::Key_Left ? 0.1 : -0.1, 0.0)); break;
    default: return false;
  }
  Changed();
  return true;
}

void Interaction::Menu(const QPoint& at) {
  CGraphDrawer* d = Drawer();
  QMenu menu(m_widget);
  QAction* reset = menu.addAction(QStringLiteral("Reset view"));
  reset->setEnabled(d->HasUserView() != 0);
  QAction* pause = menu.addAction(d->IsPaused() ? QStringLiteral("Resume") : QStringLiteral("Pause"));
  menu.addSeparator();
  QAction* copy = menu.addAction(QStringLiteral("Copy image"));
  QAction* save = menu.addAction(QStringLiteral("Save image..."));
  QAction* data = menu.addAction(QStringLiteral("Export data..."));
  // The menu and the file dialogs run loops of their own, in which the host
  // may end the window and with it this object.
  const QPointer<Interaction> self(this);
  QPointer<QWidget> widget = m_widget;
  QAction* chosen = menu.exec(m_widget->mapToGlobal(at));
  if (!chosen || !self || !widget || !(d = Drawer())) return;
  if (chosen == reset) {
    d->ResetView();
  } else if (chosen == pause) {
    d->SetPaused(d->IsPaused() ? FALSE : TRUE);
  } else if (chosen == copy) {
    (void)CopyComposed(this);
  } else if (chosen == save) {
    const QString path = QFileDialog::getSaveFileName(widget, QStringLiteral("Save image"), QStringLiteral("graph.png"),
                                                      QStringLiteral("PNG images (*.png)"));
    if (!path.isEmpty() && self) (void)Composed().save(path, "PNG");
  } else if (chosen == data) {
    const QString path = QFileDialog::getSaveFileName(widget, QStringLiteral("Export data"),
                                                      QStringLiteral("graph.csv"), QStringLiteral("CSV files (*.csv)"));
    // A failed write has no one to report to but the user, who sees no file.
    if (!path.isEmpty() && self) (void)m_wnd->ExportData(path.toStdWString().c_str());
  }
  if (self) Changed();
}

int Interaction::LegendHit(const QPoint& at) const {
  for (const auto& hit : m_legendHits)
    if (hit.first.contains(at)) return hit.second;
  return -1;
}

void Interaction::Paint(QPainter* p, CGraphDrawer* d) {
  PaintLegend(p, d, true);
  if (d->IsPaused()) PaintPauseMark(p);
  if (m_pressed && m_drag == Drag::Box) {
    p->save();
    p->setPen(QPen(QColor(255, 255, 255, 200), 1, Qt::DashLine));
    p->setBrush(QColor(128, 160, 255, 48));
    p->drawRect(QRect(m_pressAt, m_cursor).normalized());
    p->restore();
  } else if (m_hover && m_enabled && !m_pressed) {
    PaintReadout(p, d);
  }
}

void Interaction::PaintReadout(QPainter* p, CGraphDrawer* d) {
  const QRect r = Plot();
  const int n = d->m_nCurves > 0 ? d->m_nCurves : 1;
  std::vector<double> values(static_cast<std::size_t>(n), 0.0);
  double x = 0;
  const int count = std::min(d->ReadAt(FractionX(m_cursor.x()), &x, values.data(), n), n);
  double xStep = 0, yStep = 0;
  d->GetViewSteps(&xStep, &yStep);

  p->save();
  p->setRenderHint(QPainter::Antialiasing, false);
  const bool light = d->GetColorScheme() == eSchemeLight;
  p->setPen(QPen(light ? QColor(0, 0, 0, 160) : QColor(255, 255, 255, 160), 1, Qt::DashLine));
  p->drawLine(m_cursor.x(), r.top(), m_cursor.x(), r.bottom());
  p->drawLine(r.left(), m_cursor.y(), r.right(), m_cursor.y());

  QStringList lines{QStringLiteral("X %1").arg(FromWide(d->FormatValue(x, xStep)))};
  std::vector<QColor> colours{light ? Qt::black : Qt::white};
  for (int c = 0; c < count; ++c) {
    const tagCurveStyle st = d->GetCurveStyle(c);
    if (st.bHidden) continue;
    const QString name = st.sName.GetLength() > 0 ? FromWide(st.sName) : QString::number(c + 1);
    lines << QStringLiteral("%1 %2").arg(name, FromWide(d->FormatValue(values[static_cast<std::size_t>(c)], yStep)));
    colours.push_back(FromArgb(st.argb | 0xFF000000u));
  }
  const QFontMetrics fm = UseMarkFont(p);
  int w = 0;
  for (const QString& s : lines) w = std::max(w, fm.horizontalAdvance(s));
  const int lineH = fm.height();
  QRect box(0, 0, w + 8, lineH * static_cast<int>(lines.size()) + 6);
  // Beside the cursor, on the side with room.
  box.moveTopLeft(m_cursor + QPoint(12, 12));
  if (box.right() > r.right()) box.moveRight(m_cursor.x() - 12);
  if (box.bottom() > r.bottom()) box.moveBottom(m_cursor.y() - 12);
  p->fillRect(box, light ? QColor(255, 255, 255, 220) : QColor(0, 0, 0, 200));
  for (int i = 0; i < lines.size(); ++i) {
    p->setPen(colours[static_cast<std::size_t>(i)]);
    p->drawText(box.left() + 4, box.top() + 3 + fm.ascent() + i * lineH, lines[i]);
  }
  p->restore();
}

void Interaction::PaintLegend(QPainter* p, CGraphDrawer* d, bool bRecord) {
  if (bRecord) m_legendHits.clear();
  std::vector<int> named;
  for (int c = 0; c < d->m_nCurves; ++c)
    if (d->GetCurveStyle(c).sName.GetLength() > 0) named.push_back(c);
  if (named.empty()) return;
  p->save();
  const QFontMetrics fm = UseMarkFont(p);
  const bool light = d->GetColorScheme() == eSchemeLight;
  const int swatch = 16, lineH = fm.height();
  int w = 0;
  for (int c : named) w = std::max(w, fm.horizontalAdvance(FromWide(d->GetCurveStyle(c).sName)));
  const QRect r = Plot();
  // The top right corner, inside the frame.
  QRect box(0, 0, swatch + w + 3 * kLegendPad, lineH * static_cast<int>(named.size()) + 2 * kLegendPad);
  box.moveTopRight(QPoint(r.right() - 6, r.top() + 6));
  p->fillRect(box, light ? QColor(255, 255, 255, 210) : QColor(0, 0, 0, 190));
  p->setPen(light ? QColor(64, 64, 64) : QColor(192, 192, 192));
  p->drawRect(box.adjusted(0, 0, -1, -1));
  int y = box.top() + kLegendPad;
  for (int c : named) {
    const tagCurveStyle st = d->GetCurveStyle(c);
    const QColor colour = FromArgb(st.argb | 0xFF000000u);
    const QColor text = st.bHidden ? QColor(128, 128, 128) : (light ? Qt::black : Qt::white);
    const int mid = y + lineH / 2;
    if (!st.bHidden) {
      p->setPen(QPen(colour, std::max(1.0f, st.fWidth)));
      p->drawLine(box.left() + kLegendPad, mid, box.left() + kLegendPad + swatch, mid);
    }
    p->setPen(text);
    p->drawText(box.left() + 2 * kLegendPad + swatch, y + fm.ascent(), FromWide(st.sName));
    if (bRecord) m_legendHits.emplace_back(QRect(box.left(), y, box.width(), lineH), c);
    y += lineH;
  }
  p->restore();
}

void Interaction::PaintPauseMark(QPainter* p) {
  const QRect r = Plot();
  p->save();
  const QFontMetrics fm = UseMarkFont(p, true);
  const QString text = QStringLiteral("\u2759\u2759 Paused");
  const QRect box(r.left() + 6, r.top() + 6, fm.horizontalAdvance(text) + 8, fm.height() + 4);
  p->fillRect(box, QColor(200, 40, 40, 220));
  p->setPen(Qt::white);
  p->drawText(box, Qt::AlignCenter, text);
  p->restore();
}

QImage Interaction::Composed() {
  CGraphDrawer* d = Drawer();
  if (!d) return QImage();
  CSingleLock lock(&d->m_csData, TRUE);
  const QImage* frame = Gdiplus::QtImage(d->m_pFrameBitmap);
  if (!frame || frame->isNull()) return QImage();
  QImage out = frame->convertToFormat(QImage::Format_RGB32);
  QPainter p(&out);
  PaintLegend(&p, d, false);
  if (d->IsPaused()) PaintPauseMark(&p);
  return out;
}

Interaction* AttachInteraction(CGraphWnd* pWnd, QWidget* pWidget) {
  return pWnd && pWidget ? new Interaction(pWnd, pWidget) : nullptr;
}

void DetachInteraction(Interaction* pInteraction) { delete pInteraction; }

void PaintInteraction(Interaction* pInteraction, CGraphDrawer* pDrawer, QPainter* pPainter) {
  if (pInteraction && pDrawer && pPainter) pInteraction->Paint(pPainter, pDrawer);
}

void EnableInteraction(Interaction* pInteraction, bool bEnable) {
  if (pInteraction) pInteraction->m_enabled = bEnable;
}

bool SaveComposed(Interaction* pInteraction, const wchar_t* pszPath) {
  if (!pInteraction || !pszPath) return false;
  const QImage image = pInteraction->Composed();
  return !image.isNull() && image.save(QString::fromWCharArray(pszPath), "PNG");
}

bool CopyComposed(Interaction* pInteraction) {
  if (!pInteraction) return false;
  const QImage image = pInteraction->Composed();
  QClipboard* clipboard = QGuiApplication::clipboard();
  if (image.isNull() || !clipboard) return false;
  clipboard->setImage(image);
  return true;
}

}  // namespace orvek_plot
