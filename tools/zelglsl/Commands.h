#pragma once

#include "Input.h"

/// Prints the expanded text of each file.
int expand(Input &input);

/// Prints the findings in each file and in each stage.
int lint(Input &input);

/// Prints what includes what.
int graph(Input &input);
