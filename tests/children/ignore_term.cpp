// ignore_term FILE: as hang, but SIGTERM does not end it.
#include <csignal>

#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    std::signal(SIGTERM, SIG_IGN);
    quillmoor::test::hang(argv[1]);
}
