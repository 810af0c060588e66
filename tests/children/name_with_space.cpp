// "name with space": a tool whose file name has to be passed on untouched.
#include <cstdio>

int main() {
    std::puts("ran");
    return 0;
}
