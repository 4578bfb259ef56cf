// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAssert.h"

#include <gtest/gtest.h>

namespace {

int checkedCount(int count) {
    KV_ASSERT(count > 2, "-[KVTest checkedCount:]");
    return count;
}
constexpr int checkedCountLine = __LINE__ - 3;

TEST(KVAssert, HoldingExpressionIsEvaluatedOnceAndGoesOn) {
    int evaluations = 0;
    KV_ASSERT(++evaluations == 1, "-[KVTest evaluate]");
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(checkedCount(3), 3);
}

TEST(KVAssertDeathTest, FailureNamesExpressionMethodFileAndLineThenStops) {
    const std::string expected = "^Assertion failed: \\(count > 2\\), function -\\[KVTest "
                                 "checkedCount:\\], file Tests/Extensions/KVAssertTests\\.cpp, "
                                 "line " +
                                 std::to_string(checkedCountLine) + "\\.\n$";
    EXPECT_DEATH(checkedCount(1), expected);
}

} // namespace
