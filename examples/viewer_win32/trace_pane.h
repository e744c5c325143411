#ifndef VIEWER_TRACE_PANE_H
#define VIEWER_TRACE_PANE_H

#include <windows.h>

/// Shows in `pane`, a multi-line edit control, whatever this process hands to the debug output from
/// here on. To be called once, on the thread that owns the control and calls the library.
void ShowTraceIn(HWND pane);

#endif  // VIEWER_TRACE_PANE_H
