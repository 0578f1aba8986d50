// The end of all forms with the library.
#include <gtest/gtest.h>

#include "forms/form_table.h"
#include "frame/library.h"

namespace {

TEST(FormTable, ReleasesEverything) {
  ASSERT_FALSE(qv::library::Initialize());
  qv::FormTable& table = qv::FormTable::Get();
  const HFORM first = table.Create({});
  const HFORM second = table.Create({});
  const qv::FormRef in_use = *table.Find(second);
  table.ReleaseAll();
  EXPECT_FALSE(table.Find(first));
  EXPECT_FALSE(table.Find(second));
  EXPECT_TRUE(in_use->content().fields.empty());  // still valid memory
  EXPECT_EQ(table.Create({}), first);
  table.ReleaseAll();
  qv::library::Uninitialize();
}

}  // namespace
