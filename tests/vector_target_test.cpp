// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "convert/true_color_rows.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

// A table's name stands beside its functions, compiled with them: selecting the table is running
// the variant.
TEST(VectorTarget, ForcedTargetIsTheOneSelected) {
  std::string names;
  ForEachVectorTarget([&](const VectorTarget& target) {
    names += std::string(target.name) + " ";
    if (target.bit == 0) {
      EXPECT_EQ(&SelectedTrueColorRows(), &PlainTrueColorRows());
    }
  });
  EXPECT_NE(names.find("plain"), std::string::npos) << names;
}

}  // namespace
}  // namespace zav::test
