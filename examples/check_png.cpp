// Tells whether PNG frames show a picture: for each file it prints the size,
// the number of colours and the share of pixels that are not black, and it
// exits with 1 if a file cannot be read or is blank (fewer than 8 colours or
// less than 1 % of its pixels lit). Used by check_demo.sh.
#include <QImage>
#include <QSet>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FRAME.png...\n", argv[0]);
    return 2;
  }
  int bad = 0;
  for (int i = 1; i < argc; ++i) {
    const QImage img = QImage(QString::fromLocal8Bit(argv[i])).convertToFormat(QImage::Format_RGB32);
    if (img.isNull()) {
      std::printf("%s: cannot be read\n", argv[i]);
      ++bad;
      continue;
    }
    QSet<QRgb> colours;
    long long lit = 0;
    for (int y = 0; y < img.height(); ++y) {
      const QRgb* row = reinterpret_cast<const QRgb*>(img.constScanLine(y));
      for (int x = 0; x < img.width(); ++x) {
        const QRgb p = row[x] & 0xFFFFFFu;
        if (colours.size() < 100000) colours.insert(p);
        lit += p != 0;
      }
    }
    const double share = 100.0 * static_cast<double>(lit) / (static_cast<double>(img.width()) * img.height());
    const bool blank = colours.size() < 8 || share < 1.0;
    std::printf("%s: %dx%d, %lld colours, %.1f %% lit%s\n", argv[i], img.width(), img.height(),
                static_cast<long long>(colours.size()), share, blank ? ", BLANK" : "");
    bad += blank;
  }
  return bad ? 1 : 0;
}
