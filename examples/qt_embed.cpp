// A Qt 6 program that holds a graph in a layout of its own: a label over a
// CGraphWnd that grows and shrinks with the window, fed from a Qt timer.
//   qt_embed                  runs until the window is closed
//   qt_embed N [FILE.png]     draws N frames, writes the window to FILE.png
//                             (default qt_embed.png) and exits
// Headless: QT_QPA_PLATFORM=offscreen qt_embed 25
#include <QApplication>
#include <QLabel>
#include <QPixmap>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <orvek/Orvek.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  // The library's graphics session runs on the host's application object.
  if (COrvekGlobals::StartUp() != S_OK) {
    std::fprintf(stderr, "qt_embed: no graphics session\n");
    return 1;
  }
  const int frames = argc > 1 ? std::atoi(argv[1]) : 0;
  const QString out = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString("qt_embed.png");

  QWidget window;
  window.setWindowTitle("Orvek graph in a Qt layout");
  auto* layout = new QVBoxLayout(&window);
  auto* status = new QLabel("waiting for data");
  layout->addWidget(status);

  // A graph is made under a window of the library; the layout then takes its
  // widget, which asks for the Create size and grows with the room it gets.
  CWnd anchor;
  if (!anchor.CreateEx(0, nullptr, L"", WS_POPUP, CRect(0, 0, 1, 1), nullptr, 0)) return 1;
  CGraphWnd graph;
  graph.Create(CRect(0, 0, 480, 260), &anchor, L"two tones", L"time", L"volts");
  graph.SetROI(0, 512, 0.0f, 1.0f, 4, -1.2, 1.2, -1.2f, 1.2f, 4);
  layout->addWidget(graph.GetQWidget());

  int frame = 0;
  std::vector<float> block(512);
  QTimer feed;
  QObject::connect(&feed, &QTimer::timeout, [&] {
    const double phase = 0.05 * frame;
    for (std::size_t i = 0; i < block.size(); ++i) {
      const double t = static_cast<double>(i) / static_cast<double>(block.size());
      block[i] =
          static_cast<float>(0.7 * std::sin(6.283185307 * (3 * t + phase)) + 0.3 * std::sin(6.283185307 * 17 * t));
    }
    graph.DrawGraph<float>(0, block.data(), static_cast<int>(block.size()), 1);
    status->setText(QString("frame %1").arg(++frame));
    if (frames > 0 && frame >= frames) {
      feed.stop();
      app.quit();
    }
  });
  feed.start(40);
  window.resize(720, 460);
  window.show();
  app.exec();

  int rc = 0;
  if (frames > 0) {
    // The window as it is painted now: label and graph at their layout sizes.
    if (!window.grab().save(out, "PNG")) {
      std::fprintf(stderr, "qt_embed: %s cannot be written\n", out.toLocal8Bit().constData());
      rc = 1;
    }
    const QSize g = graph.GetQWidget()->size();
    std::printf("qt_embed: %d frames, window %dx%d, graph %dx%d, %s\n", frame, window.width(), window.height(),
                g.width(), g.height(), out.toLocal8Bit().constData());
  }
  graph.Destroy();
  COrvekGlobals::ShutDown();
  return rc;
}
