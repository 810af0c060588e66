// Formats that must not compile, one for each CASE.
#include "base/format.h"

int main() {
    using quillmoor::formatted;
#if CASE == 1
    formatted("%d", 1L);
#elif CASE == 2
    formatted("%@", 1);
#elif CASE == 3
    formatted("%@");
#elif CASE == 4
    formatted("no directive", 1);
#elif CASE == 5
    formatted("%f", 1);
#elif CASE == 6
    formatted("100%");
#elif CASE == 7
    formatted("%y", 1);
#elif CASE == 8
    formatted("%*d", 5, 1);
#elif CASE == 9
    formatted(quillmoor::RuntimeFormat{"%d"}, 1);
#elif CASE == 10
    formatted("%u", -1);
    formatted("%d", 1U);
#else
    formatted("%@ %li %0.2f", "fits", 1L, 2.0);
#endif
}
