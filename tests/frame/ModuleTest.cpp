// The graphics session of StartUp and ShutDown and the token they keep.
#include <orvek/frame/OrvekGlobals.h>
#include <orvek/platform/gfx/GraphicsSession.h>

#include <gtest/gtest.h>

#include <QApplication>

namespace {

TEST(Module, ShutDownWithoutStartUpAndTwice) {
  ASSERT_EQ(COrvekGlobals::m_GdiToken, 0u);
  COrvekGlobals::ShutDown();
  EXPECT_EQ(COrvekGlobals::m_GdiToken, 0u);

  ASSERT_EQ(QCoreApplication::instance(), nullptr);
  ASSERT_EQ(COrvekGlobals::StartUp(), S_OK);
  EXPECT_NE(COrvekGlobals::m_GdiToken, 0u);
  // Without a host application one is made, and the last close removes it.
  EXPECT_NE(qobject_cast<QApplication*>(QCoreApplication::instance()), nullptr);
  COrvekGlobals::ShutDown();
  EXPECT_EQ(COrvekGlobals::m_GdiToken, 0u);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
  COrvekGlobals::ShutDown();
  EXPECT_EQ(COrvekGlobals::m_GdiToken, 0u);
}

TEST(Module, SecondStartUpOverwritesTheToken) {
  ASSERT_EQ(COrvekGlobals::StartUp(), S_OK);
  const ULONG first = COrvekGlobals::m_GdiToken;
  ASSERT_EQ(COrvekGlobals::StartUp(), S_OK);
  const ULONG second = COrvekGlobals::m_GdiToken;
  EXPECT_NE(second, 0u);
  EXPECT_NE(second, first);
  // ShutDown closes the last session only; the first one stays open.
  COrvekGlobals::ShutDown();
  EXPECT_EQ(COrvekGlobals::m_GdiToken, 0u);
  EXPECT_NE(QCoreApplication::instance(), nullptr);
  GdiplusShutdown(first);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
  GdiplusShutdown(first);  // a closed token is ignored

  ULONG token = 0;
  GdiplusStartupInput wrongVersion;
  wrongVersion.GdiplusVersion = 2;
  EXPECT_NE(GdiplusStartup(&token, &wrongVersion, nullptr), 0);
  EXPECT_NE(GdiplusStartup(nullptr, &wrongVersion, nullptr), 0);
  EXPECT_EQ(token, 0u);
}

TEST(Module, TheHostsApplicationIsReusedAndKept) {
  int argc = 1;
  char name[] = "host";
  char* argv[] = {name, nullptr};
  {
    QApplication host(argc, argv);
    ASSERT_EQ(COrvekGlobals::StartUp(), S_OK);
    EXPECT_EQ(QCoreApplication::instance(), &host);
    COrvekGlobals::ShutDown();
    EXPECT_EQ(QCoreApplication::instance(), &host);
  }
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
}

}  // namespace
