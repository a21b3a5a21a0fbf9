#pragma once

namespace qf {

// Amounts are stored in single precision: 483.86 is held as 483.859985...
// The decimal an amount stands for is the shortest decimal that reads back as
// the same float; sums are taken over those, so a balance of many amounts
// does not collect the float noise of each.
double decimalAmount(double storedAmount);

} // namespace qf
