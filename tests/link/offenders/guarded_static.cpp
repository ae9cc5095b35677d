int AtFirstUse();
int Value();

int Value() {
    static const int value = AtFirstUse();
    return value;
}
