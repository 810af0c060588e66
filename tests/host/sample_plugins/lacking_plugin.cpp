// A plug-in that exports only one of the two required functions.
#include "quillmoor/pane/installer_plugin.h"

int installer_plugin_attach(const installer_host_services*) {
    return 1;
}
