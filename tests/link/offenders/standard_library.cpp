#include <string>

void Append(std::string &text, const char *more);

void Append(std::string &text, const char *more) {
    text.append(more);
}
