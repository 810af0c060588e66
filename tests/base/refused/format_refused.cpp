// Formats that must not compile, one for each CASE.
#include "quillmoor/base/format.h"

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
#elif CASE == 11
    formatted("%#d", 1);
#elif CASE == 12
    formatted("%#u", 1U);
#elif CASE == 13
    formatted("%#c", 'c');
#elif CASE == 14
    formatted("%#@", "text");
#elif CASE == 15
    formatted("%#p", static_cast<const void*>(nullptr));
#elif CASE == 16
    formatted("%hs", "text");
#elif CASE == 17
    formatted("%hf", 1.0);
#elif CASE == 18
    formatted("%hhc", 'c');
#elif CASE == 19
    formatted("%hhhd", 1);
#elif CASE == 20
    formatted("%hld", 1L);
#elif CASE == 21
    formatted("%lhd", 1);
#elif CASE == 22
    formatted("%hd", 1L);
#elif CASE == 23
    formatted("%1.2.3f", 1.0);
#else
    formatted("%hd %hhd %hx %hho %#x %#X %#o", 1, 1, 1U, 1U, 1U, 1U, 1U);
    formatted("%#f %#F %#e %#E %#g %#G", 1.0, 1.0, 1.0, 1.0, 1.0, 1.0);
    formatted("%-+ 08.3lli", 1LL);
    formatted("%@ %li %0.2f", "fits", 1L, 2.0);
#endif
}
