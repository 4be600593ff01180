// Conversions between the numbers of parameters. Only for the sources of this folder.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

#include "platform/int64.h"
#include "platform/qxdb/decimal.h"

namespace qxdbsqlengine {

// Whole numbers are cut to the narrower width. A floating number becomes a whole one by truncation; beyond
// the range it is the nearest limit, and 0 when it is not a number, since a plain conversion would mean
// nothing there.
template <class To, class From>
To ConvertNumber(From value) {
    if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        // The least value is a power of two, so it is exact in every floating type, and so is its opposite.
        const From least = static_cast<From>(std::numeric_limits<To>::min());
        if (std::isnan(value))
            return 0;
        if (value >= -least)
            return std::numeric_limits<To>::max();
        if (value < least)
            return std::numeric_limits<To>::min();
    }
    return static_cast<To>(value);
}

template <class To>
To ConvertDecimal(const qxdb::Decimal& value) {
    if constexpr (std::is_integral_v<To>)
        return static_cast<To>(value.AsBigInt());
    else
        return static_cast<To>(value.AsDouble());
}

}  // namespace qxdbsqlengine
