// The entries of the system's registry by which programs find the classes.
#pragma once

#include "varnel/automation/String.h"

namespace hostwindows {

// Enters each class that is created by name with its ProgID, apartment threading and this file, and the type library in
// it. Gives S_OK, or SELFREG_E_CLASS (80040201, hexadecimal) where an entry can't be made: what was made is taken back.
varnel::Long RegisterClasses();
// Takes all of it away; what isn't there is no failure.
varnel::Long UnregisterClasses();

// The file that this code stands in.
varnel::String FileOfLibrary();

}  // namespace hostwindows
