// A host that prints a report of a dozen tables on A4 pages. Each table is
// a class derived from CTableDrawer that measures and draws real text with
// QPainter; the layout packs the tables into columns and pages, trying every
// order of them, and each page is written as a PNG.
//
//   table_pages [output folder]      (default: out/tables)
#include <orvek/Orvek.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QString>
#include <QStringList>

#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

// A4 at 150 dots per inch.
constexpr int kPageWidth = 1240;
constexpr int kPageHeight = 1754;
constexpr double kDotsPerMeter = 150.0 / 0.0254;

// One table of text. Cell sizes are measured once per scale factor and kept,
// since the layout asks for every cell again in each order it tries.
class CTextTable : public CTableDrawer {
 public:
  CTextTable(QString name, QStringList headers, std::vector<QStringList> rows)
      : m_Name(std::move(name)), m_Headers(std::move(headers)), m_Rows(std::move(rows)) {
    m_nColumnCount = static_cast<int>(m_Headers.size());
    m_nLineCount = static_cast<int>(m_Rows.size());
    // Columns of numbers are set right, as a reader compares them; text left.
    for (int c = 0; c < m_nColumnCount; ++c) {
      bool numbers = true;
      for (const QStringList& row : m_Rows) {
        bool ok = false;
        row.value(c).toDouble(&ok);
        numbers = numbers && ok;
      }
      m_Align.push_back(numbers ? Qt::AlignRight : Qt::AlignLeft);
    }
  }

  // The surface to measure against and to draw on.
  void SetDevice(QPaintDevice* device) { m_pDevice = device; }
  void SetPainter(QPainter* painter) { m_pPainter = painter; }
  const QString& Name() const { return m_Name; }

  void MeasureItem(int line, int column, tagSIZE* size) override {
    QSizeF s;
    if (line == LINE_NAME)
      s = m_NameSize;
    else if (line == LINE_NAME_CONTINUED)
      s = m_ContinuedSize;
    else if (line == LINE_HEADER)
      s = m_HeaderSizes.value(column);
    else if (line >= 0 && line < m_nLineCount)
      s = m_CellSizes[static_cast<std::size_t>(line)].value(column);
    size->cx = static_cast<LONG>(std::ceil(s.width()));
    size->cy = static_cast<LONG>(std::ceil(s.height()));
  }

  void DrawItem(int line, int column, tagRECT* rect) override {
    if (!m_pPainter) return;
    QPainter& p = *m_pPainter;
    const QRectF box(rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top);
    if (line == LINE_NAME || line == LINE_NAME_CONTINUED) {
      p.setFont(m_NameFont);
      p.setPen(QColor(0x20, 0x30, 0x50));
      p.drawText(box.adjusted(kPadX, 0, -kPadX, -kPadY), Qt::AlignLeft | Qt::AlignBottom, NameText(line));
      // A table that does not end on this page says how much of it is here.
      if (m_nCurPageLines < m_nLineCount) {
        p.setFont(m_NoteFont);
        p.setPen(QColor(0x80, 0x80, 0x80));
        const QString note = QString("%1 of %2 lines").arg(m_nCurPageLines).arg(m_nLineCount);
        const double used = QFontMetricsF(m_NameFont, m_pDevice).horizontalAdvance(NameText(line)) +
                            QFontMetricsF(m_NoteFont, m_pDevice).horizontalAdvance(note) + 3 * kPadX;
        if (used <= box.width())
          p.drawText(box.adjusted(kPadX, 0, -kPadX, -kPadY), Qt::AlignRight | Qt::AlignBottom, note);
      }
      return;
    }
    const bool header = line == LINE_HEADER;
    p.setPen(Qt::NoPen);
    p.setBrush(header ? QColor(0xDD, 0xE4, 0xEE) : (line % 2 ? QColor(0xF4, 0xF6, 0xF9) : QColor(Qt::white)));
    p.drawRect(box);
    p.setPen(QPen(QColor(0xB0, 0xB8, 0xC4), 1));
    p.setBrush(Qt::NoBrush);
    p.drawRect(box.adjusted(0, 0, -1, -1));
    p.setFont(header ? m_HeaderFont : m_CellFont);
    p.setPen(Qt::black);
    const QString text = header ? m_Headers.value(column) : m_Rows[static_cast<std::size_t>(line)].value(column);
    const Qt::Alignment align = header ? Qt::AlignLeft : m_Align.value(column, Qt::AlignLeft);
    p.drawText(box.adjusted(kPadX, 0, -kPadX, 0), align | Qt::AlignVCenter, text);
  }

  void OnPageBreak() override { ++m_nPageBreaks; }
  int PageBreaks() const { return m_nPageBreaks; }

 protected:
  void OnSetScaleFactor() override {
    if (m_fScaleFactor == m_fMeasuredScale || !m_pDevice) return;
    m_fMeasuredScale = m_fScaleFactor;
    const double f = m_fScaleFactor > 0 ? m_fScaleFactor : 1.0;
    m_NameFont = Font(12.0 * f, true);
    m_HeaderFont = Font(9.0 * f, true);
    m_CellFont = Font(9.0 * f, false);
    m_NoteFont = Font(7.0 * f, false);
    const QFontMetricsF name(m_NameFont, m_pDevice), head(m_HeaderFont, m_pDevice), cell(m_CellFont, m_pDevice);
    m_NameSize = QSizeF(name.horizontalAdvance(NameText(LINE_NAME)) + 2 * kPadX, name.height() + 2 * kPadY);
    m_ContinuedSize =
        QSizeF(name.horizontalAdvance(NameText(LINE_NAME_CONTINUED)) + 2 * kPadX, name.height() + 2 * kPadY);
    m_HeaderSizes.clear();
    for (const QString& h : m_Headers)
      m_HeaderSizes.push_back(QSizeF(head.horizontalAdvance(h) + 2 * kPadX, head.height() + 2 * kPadY));
    m_CellSizes.clear();
    for (const QStringList& row : m_Rows) {
      QList<QSizeF> sizes;
      for (const QString& c : row)
        sizes.push_back(QSizeF(cell.horizontalAdvance(c) + 2 * kPadX, cell.height() + kPadY));
      m_CellSizes.push_back(sizes);
    }
  }

 private:
  static constexpr double kPadX = 8, kPadY = 4;

  static QFont Font(double points, bool bold) {
    QFont font("DejaVu Sans");
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
  }
  QString NameText(int line) const { return line == LINE_NAME_CONTINUED ? m_Name + " (continued)" : m_Name; }

  QString m_Name;
  QStringList m_Headers;
  std::vector<QStringList> m_Rows;
  QPaintDevice* m_pDevice = nullptr;
  QPainter* m_pPainter = nullptr;
  float m_fMeasuredScale = -1.0f;
  QList<Qt::Alignment> m_Align;
  QFont m_NameFont, m_HeaderFont, m_CellFont, m_NoteFont;
  QSizeF m_NameSize, m_ContinuedSize;
  QList<QSizeF> m_HeaderSizes;
  std::vector<QList<QSizeF>> m_CellSizes;
  int m_nPageBreaks = 0;
};

// One chapter of the report: its tables laid out on pages of one rectangle.
class CReportChapter : public CTableArrayDrawer {
 public:
  CReportChapter(std::vector<CTextTable*> tables, tagRECT page) : m_Text(std::move(tables)) {
    for (CTextTable* t : m_Text) m_Tables.push_back(t);
    SetPageRects(&page, 1);
  }
  // The pages and the right edge of the last column in the present order.
  int Layout(int* lastRight) {
    int pages = 0;
    CalcLayout(1.0f, &pages, lastRight, 1);
    return pages;
  }
  int LayoutBest() {
    int pages = 0;
    CalcLayoutOptimal(1.0f, &pages);
    return pages;
  }
  void DrawPage(int page, QPainter* painter) {
    for (CTextTable* t : m_Text) t->SetPainter(painter);
    DrawTableArray(page, nullptr);
    for (CTextTable* t : m_Text) t->SetPainter(nullptr);
  }
  QStringList Order() const {
    QStringList names;
    for (CTableDrawer* t : m_Tables) names << static_cast<CTextTable*>(t)->Name();
    return names;
  }

 private:
  std::vector<CTextTable*> m_Text;
};

// ---- the report's data: readings of a small acquisition system ----

QString Num(double v, int decimals) { return QString::number(v, 'f', decimals); }

std::unique_ptr<CTextTable> Channels() {
  std::vector<QStringList> rows;
  const char* names[] = {"Strain gauge 1",  "Strain gauge 2",  "Thermocouple",   "Accelerometer X",
                         "Accelerometer Y", "Accelerometer Z", "Supply voltage", "Reference"};
  for (int i = 0; i < 8; ++i)
    rows.push_back({names[i], QString::number(i < 3 ? 1000 : 25600), Num(1.0 + 0.25 * i, 2), Num(-0.013 * (i - 3), 3)});
  return std::make_unique<CTextTable>("Input channels", QStringList{"Channel", "Rate (Hz)", "Gain", "Offset (mV)"},
                                      rows);
}

std::unique_ptr<CTextTable> Calibration(const QString& channel, int points, double slope) {
  std::vector<QStringList> rows;
  for (int i = 0; i < points; ++i) {
    const double input = -50.0 + 100.0 * i / (points - 1);
    const double reading = input * slope + 0.02 * std::sin(i * 0.7);
    rows.push_back({QString::number(i + 1), Num(input, 2), Num(reading, 3), Num(100.0 * (reading - input) / 50.0, 3)});
  }
  return std::make_unique<CTextTable>("Calibration, " + channel,
                                      QStringList{"Point", "Input (mV)", "Reading (mV)", "Error (%FS)"}, rows);
}

std::unique_ptr<CTextTable> SampleLog(int count) {
  std::vector<QStringList> rows;
  for (int i = 0; i < count; ++i) {
    const double t = i * 0.04;
    const double v = 3.0 * std::sin(t * 2.1) + 0.4 * std::sin(t * 17.0);
    rows.push_back({QString::number(i), Num(t, 2), Num(v, 4), Num(v - 0.35, 4), Num(v + 0.35, 4)});
  }
  return std::make_unique<CTextTable>("Sample log, strain gauge 1", QStringList{"#", "Time (s)", "Value", "Min", "Max"},
                                      rows);
}

std::unique_ptr<CTextTable> Simple(const QString& name, QStringList headers, int lines, QStringList (*row)(int)) {
  std::vector<QStringList> rows;
  for (int i = 0; i < lines; ++i) rows.push_back(row(i));
  return std::make_unique<CTextTable>(name, std::move(headers), rows);
}

}  // namespace

int main(int argc, char** argv) {
  const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString("out/tables");
  if (COrvekGlobals::StartUp() != S_OK) {
    std::fprintf(stderr, "no graphics session\n");
    return 1;
  }
  if (!QDir().mkpath(folder)) {
    std::fprintf(stderr, "cannot create %s\n", qPrintable(folder));
    COrvekGlobals::ShutDown();
    return 1;
  }

  // A dozen tables of different lengths.
  std::vector<std::unique_ptr<CTextTable>> tables;
  tables.push_back(Channels());
  tables.push_back(Simple("Filter stages", {"Stage", "Type", "Length", "Delay (ms)"}, 6, [](int i) {
    const char* types[] = {"FIR low-pass", "Median", "Maximum", "Delay line", "FIR band-pass", "Decimator"};
    return QStringList{QString::number(i + 1), types[i], QString::number(8 << (i % 4)), Num(0.125 * (8 << (i % 4)), 3)};
  }));
  tables.push_back(Calibration("strain gauge 1", 41, 1.0004));
  tables.push_back(Calibration("strain gauge 2", 57, 0.9991));
  tables.push_back(Simple("Noise floor by band", {"Band", "From (Hz)", "To (Hz)", "Level (dBFS)"}, 24, [](int i) {
    return QStringList{QString::number(i + 1), QString::number(i * 500), QString::number((i + 1) * 500),
                       Num(-118.0 + 6.0 * std::cos(i * 0.5) - 0.3 * i, 1)};
  }));
  tables.push_back(Simple("Settings", {"Key", "Value"}, 12, [](int i) {
    const char* keys[] = {"Trigger level", "Pre-trigger", "Window",     "Averaging",     "Range",         "Coupling",
                          "Sample clock",  "Timestamp",   "Log folder", "Backup copies", "Redraw period", "Units"};
    const char* values[] = {"0.25 V",   "512 samples", "Hann",   "16 blocks", "±10 V", "DC",
                            "internal", "UTC",         "./logs", "3",         "40 ms", "mV"};
    return QStringList{keys[i], values[i]};
  }));
  tables.push_back(SampleLog(150));
  tables.push_back(Simple("Threshold crossings", {"#", "Time (s)", "Level (V)", "Direction"}, 15, [](int i) {
    return QStringList{QString::number(i + 1), Num(0.37 + i * 0.412, 3), Num(0.25 + 0.01 * (i % 3), 2),
                       i % 2 ? "falling" : "rising"};
  }));
  tables.push_back(Simple("Running medians", {"Window", "Median", "Spread"}, 30, [](int i) {
    return QStringList{QString::number(3 + 2 * i), Num(2.0 + std::sin(i * 0.3), 4), Num(0.05 + 0.01 * i, 3)};
  }));
  tables.push_back(Simple("Timer jitter", {"Period (ms)", "Mean (µs)", "Worst (µs)"}, 18, [](int i) {
    return QStringList{QString::number(1 << (i % 9)), Num(12.0 + 3.0 * std::sin(i), 1), Num(80.0 + 9.0 * i, 1)};
  }));
  tables.push_back(Simple("Buffer fill", {"Buffer", "Size", "Fill (%)"}, 9, [](int i) {
    return QStringList{QString("ring %1").arg(i + 1), QString::number(4096 << (i % 3)), Num(35.0 + 7.0 * i, 1)};
  }));
  tables.push_back(Simple("Soft changer ramp", {"Step", "Target", "Value", "Remaining"}, 64, [](int i) {
    const double v = 5.0 * (1.0 - std::cos(3.14159265358979 * i / 63.0)) / 2.0;
    return QStringList{QString::number(i), "5.000", Num(v, 3), Num(5.0 - v, 3)};
  }));

  // Every table measures against a page image, so sizes are page pixels.
  QImage page(kPageWidth, kPageHeight, QImage::Format_RGB32);
  page.setDotsPerMeterX(static_cast<int>(kDotsPerMeter));
  page.setDotsPerMeterY(static_cast<int>(kDotsPerMeter));
  for (auto& t : tables) t->SetDevice(&page);

  // Trying every order of twelve tables would take 479,001,600 layouts, so
  // the report has two chapters of six (720 orders each), each starting on
  // a new page.
  const tagRECT area{90, 170, kPageWidth - 90, kPageHeight - 120};
  struct Chapter {
    const char* title;
    std::unique_ptr<CReportChapter> layout;
    int pages;
  };
  std::vector<Chapter> chapters;
  const char* titles[] = {"Acquisition", "Processing"};
  for (int c = 0; c < 2; ++c) {
    std::vector<CTextTable*> part;
    for (int i = 0; i < 6; ++i) part.push_back(tables[static_cast<std::size_t>(c * 6 + i)].get());
    auto layout = std::make_unique<CReportChapter>(part, area);
    int givenRight = 0, bestRight = 0;
    const int given = layout->Layout(&givenRight);
    QElapsedTimer timer;
    timer.start();
    const int best = layout->LayoutBest();
    const qint64 ms = timer.elapsed();
    layout->Layout(&bestRight);  // the same layout again, for its right edge
    std::printf(
        "%s: given order %d pages, last column ends at %d px; best of 720 orders %d pages, %d px (%lld ms)\n"
        "  order: %s\n",
        titles[c], given, givenRight, best, bestRight, static_cast<long long>(ms),
        qPrintable(layout->Order().join(", ")));
    chapters.push_back({titles[c], std::move(layout), best});
  }

  int total = 0;
  for (const Chapter& ch : chapters) total += ch.pages;
  int number = 0;
  for (Chapter& ch : chapters) {
    for (int p = 0; p < ch.pages; ++p) {
      ++number;
      page.fill(Qt::white);
      QPainter painter(&page);
      painter.setRenderHint(QPainter::Antialiasing, false);
      painter.setRenderHint(QPainter::TextAntialiasing, true);
      QFont title("DejaVu Sans");
      title.setPointSizeF(16);
      title.setBold(true);
      painter.setFont(title);
      painter.setPen(QColor(0x20, 0x30, 0x50));
      painter.drawText(QRect(area.left, 60, area.right - area.left, 60), Qt::AlignLeft | Qt::AlignVCenter,
                       QString("Test bench report · %1").arg(ch.title));
      painter.setPen(QPen(QColor(0x20, 0x30, 0x50), 2));
      painter.drawLine(area.left, 130, area.right, 130);
      ch.layout->DrawPage(p, &painter);
      QFont foot("DejaVu Sans");
      foot.setPointSizeF(8);
      painter.setFont(foot);
      painter.setPen(QColor(0x70, 0x70, 0x70));
      painter.drawText(QRect(area.left, kPageHeight - 90, area.right - area.left, 40), Qt::AlignCenter,
                       QString("Page %1 of %2").arg(number).arg(total));
      painter.end();
      const QString file = QDir(folder).filePath(QString("page_%1.png").arg(number, 2, 10, QChar('0')));
      if (!page.save(file)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
        COrvekGlobals::ShutDown();
        return 1;
      }
      std::printf("wrote %s\n", qPrintable(file));
    }
  }
  int breaks = 0;
  for (auto& t : tables) breaks += t->PageBreaks();
  std::printf("%d pages drawn, %d page breaks reported by the tables\n", total, breaks);
  tables.clear();
  COrvekGlobals::ShutDown();
  return 0;
}
