// A plug-in with an undefined symbol, so that it cannot be opened.
#include "quillmoor/pane/installer_plugin.h"

extern "C" int undefined_function();

int installer_plugin_attach(const installer_host_services*) {
    return undefined_function();
}
