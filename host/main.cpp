#include "host/host_application.h"

int main(int argc, char** argv) {
    const auto parsed = quillmoor::host::parseOptions(argc, argv);
    return parsed.options ? quillmoor::host::runHost(*parsed.options) : parsed.exitStatus;
}
