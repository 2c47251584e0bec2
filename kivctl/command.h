#ifndef KIVCTL_COMMAND_H
#define KIVCTL_COMMAND_H

// What the file of a subcommand needs; commands.h has the list of them.

#include <CLI/CLI.hpp>

#include "kivctl/outcome.h"

#endif
