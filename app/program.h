#pragma once

namespace quorvale {

/// The program from its start to its end: opens the window and gives the exit status when it has been closed.
int runProgram(int argc, char **argv);

} // namespace quorvale
