#pragma once

namespace quorvale {

/// Runs the program: opens the window, and gives the exit status when it has been closed.
int runProgram(int argc, char **argv);

} // namespace quorvale
