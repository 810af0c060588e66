// A plug-in with one function, whose bundle is asked for.
extern "C" __attribute__((visibility("default"))) int probe() {
    return 42;
}
