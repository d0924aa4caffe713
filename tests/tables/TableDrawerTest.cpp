#include <gtest/gtest.h>

#include "TableTestSupport.h"

TEST(TableDrawer, DefaultsAndScaleFactor) {
  CTableDrawer plain;
  EXPECT_EQ(plain.GetLineCount(), 0);
  EXPECT_EQ(plain.GetColumnCount(), 0);
  tagSIZE size{7, 9};
  plain.MeasureItem(CTableDrawer::LINE_NAME, 3, &size);
  EXPECT_EQ(size.cx, 0);
  EXPECT_EQ(size.cy, 0);

  FixedTable t(4, {30});
  t.SetScaleFactor(1.5f);
  t.SetScaleFactor(1.5f);
  EXPECT_EQ(t.scaleCalls, 2);  // also when the factor did not change
}
