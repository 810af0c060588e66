// Needs a function that nobody has, so that it cannot be opened.
#include "quillmoor/pane/installer_plugin.h"

extern "C" int function_that_nobody_has();

int installer_plugin_attach(const installer_host_services*) {
    return function_that_nobody_has();
}
