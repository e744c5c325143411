#pragma once

namespace rastelo::steps::platform {

/// Sets the console back to what it was before PrepareStreams. May be called from any thread.
void GiveConsoleBack();

}  // namespace rastelo::steps::platform
