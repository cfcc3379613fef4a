// A library without any entry point.

extern "C" int kestruneNothing() {
    return 0;
}
