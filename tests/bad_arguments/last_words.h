// What a call prints that may be the end of its process.
#ifndef TESTS_BAD_ARGUMENTS_LAST_WORDS_H
#define TESTS_BAD_ARGUMENTS_LAST_WORDS_H

#include <functional>
#include <string>

namespace bad_arguments {

// The modules that assertion lines name.
inline constexpr const char *kAccess = "qirapi_access";
inline constexpr const char *kPrivate = "qirapi_private";

// What `op` prints on standard output, masked, in a process of its own. `ended_p`: whether the process ended in
// the middle of it.
std::string LastWords(const std::function<void()> &op, bool *ended_p = nullptr);

} // namespace bad_arguments

#endif
