// Has only one of the two functions that a plug-in must export.
#include "quillmoor/pane/installer_plugin.h"

int installer_plugin_attach(const installer_host_services*) {
    return 1;
}
