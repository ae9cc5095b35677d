// What a piece of code prints.
#ifndef TESTS_SUPPORT_CAPTURE_H
#define TESTS_SUPPORT_CAPTURE_H

#include <functional>
#include <string>
#include <vector>

namespace test {

struct Output {
    std::string out; // standard output
    std::string err; // standard error
};

// Runs `fn` and returns what it printed on the two streams.
Output CaptureBoth(const std::function<void()> &fn);
// Runs `fn` and returns what it printed on standard output.
std::string Capture(const std::function<void()> &fn);

// The one helper that hides what changes from build to build: the line number of error and assertion lines
// becomes '#', a pointer ("0x0x..." and "0x(nil)") becomes "0x<ptr>" and "0x<nil>".
std::string Mask(const std::string &text);
// Mask(Capture(fn)).
std::string CaptureMasked(const std::function<void()> &fn);

// The lines of a text, without their line ends.
std::vector<std::string> Lines(const std::string &text);

// The usual lines, masked, with their line end:
//   Err("QIR_Free_FCB", "x")    [ERROR orxapi] QIR_Free_FCB,#: x
//   CodeLine(fn, name)          Err(fn, "\"name\"")
//   RetVal(fn, code)            Err(fn, "retVal <code>")
//   Refusal(fn, name, code)     CodeLine + RetVal
//   Inf, Dbg                    [INF orxapi] ..., [DBG orxapi] ...
//   Assertion(module, fn, x)    [ASSERT module] fn,#: x
std::string Err(const std::string &fn, const std::string &text);
std::string CodeLine(const std::string &fn, const std::string &name);
std::string RetVal(const std::string &fn, unsigned code);
std::string Refusal(const std::string &fn, const std::string &name, unsigned code);
std::string Inf(const std::string &fn, const std::string &text);
std::string Dbg(const std::string &fn, const std::string &text);
std::string Assertion(const std::string &module, const std::string &fn, const std::string &text);

} // namespace test

#endif
