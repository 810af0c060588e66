// "name with space": a tool whose file name must be passed on unchanged.
#include <cstdio>

int main() {
    std::puts("ran");
    return 0;
}
