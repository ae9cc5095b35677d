// The command line: an option word, which is ignored, and a test number.
//
// The argument readers share one convention: each takes the number of arguments that are left, the cursor and
// the destination by address, and returns 0 or -1.
#ifndef APP_CMDLINE_H
#define APP_CMDLINE_H

namespace app {

// One destination slot of getCmdArgs.
union CmdValue {
    int number;
    char *text;
};

// Reads the next argument as a number, decimal, octal ("03") or hexadecimal ("0x3"). -1 when there is none
// ("Missing argument") or when it is out of range.
int getNumericArg(int *count_p, char ***cursor_p, int *value_p);
// The next argument itself.
int getStringArg(int *count_p, char ***cursor_p, char **value_p);
// Reads what the mask names, four arguments at most: 'd' a number, 's' a text.
int getCmdArgs(int *count_p, char ***cursor_p, CmdValue *values_p, const char *cmdMask);

void printHelp();

} // namespace app

#endif
