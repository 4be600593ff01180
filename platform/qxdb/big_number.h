// The arithmetic library's number behind a Magnitude. Only for the sources of this folder.
#pragma once

#include <boost/multiprecision/cpp_int.hpp>

namespace qxdb {

struct BigNumber {
    boost::multiprecision::cpp_int value;
};

}  // namespace qxdb
