int Risk(int (*fn)());
int Guarded(int (*fn)());

namespace {
struct Guard {
    int (*fn)();
    ~Guard() { fn(); }
};
} // namespace

int Risk(int (*fn)()) {
    const Guard guard{fn};
    if (fn() < 0) {
        throw 1;
    }
    return fn();
}
int Guarded(int (*fn)()) {
    try {
        return Risk(fn);
    } catch (int code) {
        return code;
    }
}
