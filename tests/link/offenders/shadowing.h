// A header that its users cannot compile without a warning.
static inline int Shadowing(int value) {
    for (int i = 0; i < 3; ++i) {
        int value = i;
        (void)value;
    }
    return value;
}
