#pragma once

#include "rastelo.h"

namespace rastelo {

// The functions of the C library differ in their last bits from one processor and system to the
// next. These give the double nearest to the value, everywhere: they work to an error of less than
// 2^-90, relatively, and of the arguments that the library uses none has a value that close to the
// middle between two doubles.

/// exp(x), for x from -120 to 0.
double RoundedExp(double x);

/// cos(angle) + i * sin(angle), for angles from -pi to 0.
Complex RoundedUnit(double angle);

}  // namespace rastelo
