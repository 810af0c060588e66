// hang FILE: writes its number to FILE and stays until a signal ends it.
#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    quillmoor::test::hang(argv[1]);
}
