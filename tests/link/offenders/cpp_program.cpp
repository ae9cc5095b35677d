#include <string>

int main(int argc, char **argv) {
    std::string text;
    for (int i = 0; i < argc; ++i) {
        text += argv[i];
    }
    return text.empty() ? 1 : 0;
}
