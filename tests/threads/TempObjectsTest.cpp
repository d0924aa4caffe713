// CTempObjects: each block is freed the way it was made (AddressSanitizer reports a mismatch).
#include <gtest/gtest.h>

#include <tuple>

#include <orvek/threads/TempObjects.h>

TEST(TempObjects, FreesByKindInDeleteAndClean) {
  CTempObjects::Clean();
  CTempObjects::Clean();  // on an empty list: nothing
  int* single = new int(7);
  EXPECT_EQ(CTempObjects::Delete(single), E_FAIL);  // empty list
  CTempObjects::AddPtr(single);
  EXPECT_EQ(CTempObjects::Delete(single), S_OK);
  EXPECT_EQ(CTempObjects::Delete(single), E_FAIL);

  double* array = new double[16];
  char* text = new char[5];
  int* plain = new int(1);
  long long* wide = new long long[3];
  CTempObjects::AddArrayPtr(array);
  CTempObjects::AddArrayPtr(text);
  CTempObjects::AddPtr(plain);
  CTempObjects::AddArrayPtr(wide);
  // Out of the middle: the rest keep their order.
  EXPECT_EQ(CTempObjects::Delete(text) | CTempObjects::Delete(plain), S_OK);
  ASSERT_EQ(CTempObjects::ms_PtrInfo.size(), 2u);
  EXPECT_EQ(std::make_tuple(CTempObjects::ms_PtrInfo[0].pPtr, CTempObjects::ms_PtrInfo[0].nType,
                            CTempObjects::ms_PtrInfo[1].pPtr),
            std::make_tuple(static_cast<void*>(array), 2, static_cast<void*>(wide)));
  CTempObjects::AddPtr(new int(2));
  CTempObjects::Clean();
  EXPECT_TRUE(CTempObjects::ms_PtrInfo.empty());
  EXPECT_EQ(CTempObjects::Delete(array), E_FAIL);

  // A block registered twice is freed once, whichever way it goes.
  int* twice = new int(3);
  char* doubled = new char[8];
  CTempObjects::AddPtr(nullptr);
  CTempObjects::AddPtr(twice);
  CTempObjects::AddPtr(twice);
  CTempObjects::AddArrayPtr(doubled);
  CTempObjects::AddArrayPtr(doubled);
  EXPECT_EQ(CTempObjects::Delete(nullptr) | CTempObjects::Delete(twice), S_OK);
  EXPECT_EQ(CTempObjects::Delete(twice), E_FAIL);
  EXPECT_EQ(CTempObjects::ms_PtrInfo.size(), 2u);
  CTempObjects::Clean();
  EXPECT_TRUE(CTempObjects::ms_PtrInfo.empty());
}
