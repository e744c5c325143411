#pragma once

namespace rastelo::steps::platform {

/// How many threads of this process can run at the same time: processors that it may use and, on
/// Linux, the share of time that its control groups grant, rounded up. At least 1.
int Processors();

}  // namespace rastelo::steps::platform
