// The window of page links: which page numbers a list offers beside the one it shows.
#pragma once

#include "varnel/recordset/PersistedState.h"

namespace varnel {

struct PageWindow {
  Long left = 0;  // both ends are inclusive; 1 and 0 for no page at all
  Long right = 0;
  bool operator==(const PageWindow&) const = default;
};

// Whether the window has to move because the page shown lies outside of it.
struct WindowMove {
  bool left = false;
  bool right = false;
  bool operator==(const WindowMove&) const = default;
};

// `iBefore`, and the move that a single step forward or back out of the window of `iState` asks for.
WindowMove MoveOfStep(const PersistedState& iState, WindowMove iBefore);

// The window after a read: `iState` holds the one before it and the kind of read, `iPages` is the number of
// pages, `iWidth` how many numbers the list offers. A last page whose number is a multiple of the width gets
// a window two wider. Raises 11 for a last page with a width of 0.
PageWindow WindowAfterRead(const PersistedState& iState, Long iPages, Integer iWidth, WindowMove iMove);

}  // namespace varnel
