#pragma once

namespace tarvik::lab {

/// How the program ends; documented in its help.
enum ExitCode : int
{
    DONE = 0,
    FAILED = 1,    ///< could not be done; standard error says why
    USAGE = 2,     ///< the command line is wrong
    DIFFERENT = 3, ///< results differ from those expected
};

} // namespace tarvik::lab
