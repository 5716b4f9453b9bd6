// What nearly every test includes: GoogleTest, the parts of the standard library that tests use throughout, awkward
// numbers, seeded data, comparison by bits, and what an object displays.
#pragma once

#include "support/Bits.h"
#include "support/DisplayCapture.h"
#include "support/Numbers.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// What a list of refused calls returned: none of them true. Says which one was, counted from 1.
inline ::testing::AssertionResult NoneOf(std::initializer_list<bool> accepted)
{
    const auto found = std::find(accepted.begin(), accepted.end(), true);
    if (found == accepted.end()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "number " << found - accepted.begin() + 1 << " was not refused";
}
