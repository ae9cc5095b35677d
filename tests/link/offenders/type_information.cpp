struct Base {
    virtual int Kind();
};
struct Derived : Base {
    int Kind() override;
};
Derived *AsDerived(Base *base);

int Base::Kind() {
    return 0;
}
int Derived::Kind() {
    return 1;
}
Derived *AsDerived(Base *base) {
    return dynamic_cast<Derived *>(base);
}
