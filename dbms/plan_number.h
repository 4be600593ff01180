// Numbers that tell the plans of one explained statement from those of others in the same plan table.
#pragma once

#include <string>

namespace qxdbsqlengine {

// The milliseconds since the machine was started, in decimal. Two calls of one process never give the same
// number, however soon they follow each other; it always fits a signed 32-bit integer column. Any thread.
std::string NextPlanNumber();

// The number after `last` at the time `now`: the time itself, or the next one where that was given out
// already. Both wrap around at 2 to the 31st.
unsigned int FollowingPlanNumber(unsigned int last, unsigned int now);

}  // namespace qxdbsqlengine
