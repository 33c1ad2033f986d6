// Exit statuses of twhost, the same for every command so that scripts can
// tell the failures apart.
#pragma once

enum EExitCode : int {
    EXIT_OK = 0,
    EXIT_FAILED = 1,             // a function threw, gave no value, or the result can't be printed
    EXIT_USAGE = 2,              // bad command line or unreadable JSON arguments
    EXIT_UNKNOWN_FUNCTION = 3,   // no loaded plug-in offers the function, or no such plug-in is loaded
    EXIT_REJECTED = 4,           // the plug-in refused the arguments
    EXIT_PLUGIN_FAILED = 5,      // twhost plugins: a module failed to load (the listing says why)
};
