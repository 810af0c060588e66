// Prints its main bundle's executable path and version, and where it would take ditto from:
// print_bundle stay|remove
// With "remove" it removes its own file first.
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "quillmoor/platform/platform.h"

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "remove") ::unlink(argv[0]);
    const auto& platform = quillmoor::platform::native();
    const auto bundle = platform.bundles->mainBundle();
    std::puts(bundle->executablePath().value_or("(none)").c_str());
    std::puts(bundle->infoDictionaryText("CFBundleVersion").value_or("(none)").c_str());
    std::puts(platform.toolPaths->toolPath("/usr/bin/ditto").c_str());
}
