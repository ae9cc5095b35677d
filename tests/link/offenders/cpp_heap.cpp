int *Fresh();
void Release(int *block);

int *Fresh() {
    return new int(1);
}
void Release(int *block) {
    delete block;
}
