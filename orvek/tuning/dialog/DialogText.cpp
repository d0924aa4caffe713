#include <orvek/tuning/dialog/DialogText_p.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QEvent>
#include <QFont>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QStyle>
#include <QWidget>

#include <algorithm>
#include <cmath>

#include <orvek/platform/ui/Wnd.h>

namespace tuning_text {

namespace {

QString toQ(const wchar_t* text) { return text ? QString::fromWCharArray(text) : QString(); }

// The room a control leaves for its text.
int textRoom(QWidget* w) {
  if (auto* box = qobject_cast<QCheckBox*>(w)) {
    QStyle* s = box->style();
    return box->contentsRect().width() - s->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, box) -
           s->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, box) - 2;
  }
  if (auto* label = qobject_cast<QLabel*>(w)) return label->contentsRect().width() - 2 * label->margin();
  return w->width();
}

const char kIndexProperty[] = "orvekParamIndex";

int widest(const QFont& font, const QStringList& texts) {
  const QFontMetricsF fm(font);
  qreal w = 0;
  for (const QString& t : texts) w = std::max(w, fm.horizontalAdvance(t));
  return static_cast<int>(std::ceil(w - 0.01));
}

// Texts a little too wide for their room are set a quarter or half a pixel
// tighter per character first: this keeps the cells at their sizes for
// common texts such as "-1.000" or "Frequency". Otherwise the plain font.
QFont condensedToFit(QFont font, const QStringList& texts, int room) {
  for (const qreal spacing : {0.0, -0.25, -0.5}) {
    font.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
    if (widest(font, texts) <= room) return font;
  }
  font.setLetterSpacing(QFont::AbsoluteSpacing, 0.0);
  return font;
}

}  // namespace

void PreferMetricFace() {
  // "MS Sans Serif" is no face on this system; fonts with Arial's widths
  // keep texts within the cells that were measured for it.
  static const bool once = [] {
    QFont::insertSubstitutions(QStringLiteral("MS Sans Serif"),
                               {QStringLiteral("Liberation Sans"), QStringLiteral("Arimo"), QStringLiteral("Arial")});
    return true;
  }();
  (void)once;
}

int TextWidth(const CWnd& control, const wchar_t* text) {
  QWidget* w = control.GetQWidget();
  if (!w) return 0;
  return static_cast<int>(std::ceil(QFontMetricsF(w->font()).horizontalAdvance(toQ(text))));
}

void FitOneLine(CWnd& control, const wchar_t* text) {
  QWidget* w = control.GetQWidget();
  if (!w) return;
  const QString whole = toQ(text);
  const int room = textRoom(w);
  QFont font = condensedToFit(w->font(), {whole}, room);
  w->setFont(font);
  const QString shown = QFontMetricsF(font).elidedText(whole, Qt::ElideRight, room);
  if (auto* label = qobject_cast<QLabel*>(w)) {
    label->setWordWrap(false);
    label->setText(shown);
  } else if (auto* button = qobject_cast<QAbstractButton*>(w)) {
    button->setText(shown);
  }
  w->setToolTip(shown == whole ? QString() : whole);
}

int FitTexts(CWnd& control, const std::vector<std::wstring>& texts, int room) {
  QWidget* w = control.GetQWidget();
  if (!w) return 0;
  QStringList list;
  for (const std::wstring& t : texts) list << QString::fromStdWString(t);
  const QFont font = condensedToFit(w->font(), list, room);
  // Asked on every refresh: an unchanged font is not set again.
  if (!(font == w->font())) w->setFont(font);
  return widest(font, list);
}

void SetSingleLine(CWnd& control) {
  if (auto* label = qobject_cast<QLabel*>(control.GetQWidget())) label->setWordWrap(false);
}

bool ParseNumber(const std::wstring& text, double* value) {
  QString q = QString::fromStdWString(text).trimmed();
  q.replace(QLatin1Char(','), QLatin1Char('.'));
  bool ok = false;
  const double v = QLocale::c().toDouble(q, &ok);
  if (!ok || !std::isfinite(v)) return false;
  *value = v;
  return true;
}

struct ValueEditor::Impl : QObject {
  std::function<void(int)> request;
  std::function<bool(const std::wstring&)> commit;
  QPointer<QLineEdit> editor;
  QPointer<QWidget> before;  // had the focus when the editor opened
  int index = -1;

  void close(bool giveFocusBack) {
    QLineEdit* e = editor;
    editor = nullptr;
    index = -1;
    commit = nullptr;
    if (!e) return;
    e->removeEventFilter(this);
    e->hide();
    e->deleteLater();  // it may be in the middle of its own event
    if (giveFocusBack && before && before->isVisible()) before->setFocus(Qt::OtherFocusReason);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == editor) {
      if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
          // A text that is no number leaves the editor open for a fix.
          if (commit && commit(editor->text().toStdWString())) close(true);
          return true;
        }
        if (key == Qt::Key_Escape) {
          close(true);
          return true;
        }
      } else if (event->type() == QEvent::FocusOut) {
        close(false);
      }
      return false;
    }
    const QVariant i = watched->property(kIndexProperty);
    if (!i.isValid()) return false;
    if (event->type() == QEvent::MouseButtonDblClick && qobject_cast<QLabel*>(watched)) {
      if (request) request(i.toInt());
      return true;
    }
    if (event->type() == QEvent::KeyPress && !qobject_cast<QLabel*>(watched)) {
      const int key = static_cast<QKeyEvent*>(event)->key();
      if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        if (request) request(i.toInt());
        return true;
      }
    }
    return false;
  }
};

ValueEditor::ValueEditor(std::function<void(int)> request) : m_request(std::move(request)) {}

ValueEditor::~ValueEditor() {
  // The editor is a child of the dialog's window and dies with it; one that
  // is still open is closed here so that it never calls back.
  if (m_impl) m_impl->close(false);
}

ValueEditor::Impl* ValueEditor::impl() {
  // Made on first use, on the thread of the dialog's window: a filter must
  // live on the thread of the widgets it watches.
  if (!m_impl) {
    m_impl.reset(new Impl);
    m_impl->request = m_request;
  }
  return m_impl.get();
}

void ValueEditor::Watch(CWnd& slider, CWnd& valueText, int index) {
  Impl* filter = impl();
  for (QWidget* w : {slider.GetQWidget(), valueText.GetQWidget()}) {
    if (!w) continue;
    w->setProperty(kIndexProperty, index);
    w->installEventFilter(filter);
  }
}

void ValueEditor::Open(CWnd& dialog, const RECT& rect, const wchar_t* text, int index,
                       std::function<bool(const std::wstring&)> commit) {
  QWidget* parent = dialog.GetQWidget();
  if (!parent) return;
  impl()->close(false);
  m_impl->before = QApplication::focusWidget();
  auto* e = new QLineEdit(parent);
  e->setObjectName(QStringLiteral("orvekValueEditor"));
  e->setGeometry(QRect(QPoint(rect.left, rect.top), QPoint(rect.right - 1, rect.bottom - 1)));
  e->setText(toQ(text));
  e->selectAll();
  m_impl->editor = e;
  m_impl->index = index;
  m_impl->commit = std::move(commit);
  e->installEventFilter(m_impl.get());
  e->show();
  e->raise();
  e->setFocus(Qt::OtherFocusReason);
}

void ValueEditor::Close() {
  if (m_impl) m_impl->close(false);
}

int ValueEditor::EditingIndex() const { return m_impl && m_impl->editor ? m_impl->index : -1; }

}  // namespace tuning_text
