// The TOML parser, set up alike wherever it is used: errors are exceptions, and nothing else is switched on.
#pragma once

#define TOML_EXCEPTIONS 1
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>
