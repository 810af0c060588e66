/* The boundary between installer-host and a pane plug-in on Linux: plain C, no toolkit, no C++
   types. A bundle's plug-in is the shared object Contents/Linux/<CFBundleExecutable>.so; the host
   never unloads it. Every call, in both directions, is made on the host's main thread, except that
   of is_main_thread, which may be made on any. No exception crosses the boundary. */
#ifndef QUILLMOOR_INSTALLER_PLUGIN_H
#define QUILLMOOR_INSTALLER_PLUGIN_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Incremented when a member is added at the end of a struct. Existing members keep their place and
   meaning, so a plug-in works with every host of its own or a later version. */
#define INSTALLER_PLUGIN_VERSION 1

#if defined(__GNUC__)
#define INSTALLER_PLUGIN_EXPORT __attribute__((visibility("default")))
#else
#define INSTALLER_PLUGIN_EXPORT
#endif

enum {
    INSTALLER_DIRECTION_FORWARD = 0,
    INSTALLER_DIRECTION_BACKWARD = 1,
    INSTALLER_DIRECTION_UNDEFINED = 2
};

/* What the host does for a plug-in. The functions stay valid until the process exits. */
typedef struct installer_host_services {
    uint32_t version; /* INSTALLER_PLUGIN_VERSION of the host */
    void* context;    /* the host's own; the first argument of each function */

    /* 1 when called on the host's main thread, else 0. */
    int (*is_main_thread)(void* context);

    /* Adds `descriptor` to the host's event loop: whenever it is readable, drain(user) is called on
       the main thread. The plug-in must keep the descriptor open until the process exits. */
    void (*watch_descriptor)(void* context, int descriptor, void (*drain)(void* user), void* user);

    /* Waits up to `milliseconds` for the host's next user-interface event and dispatches it, which
       may run other code of the host and of plug-ins. 1 when there was one, else 0. */
    int (*send_next_event)(void* context, int milliseconds);

    /* `callback` is called once, on the main thread, when the host is about to terminate. */
    void (*observe_termination)(void* context, void (*callback)(void* user), void* user);
} installer_host_services;

/* The host's navigation for one pane. A pane that navigates is not asked whether it may be left. */
typedef struct installer_pane_host {
    void* context;
    void (*goto_next_pane)(void* context);
    void (*goto_previous_pane)(void* context);
} installer_pane_host;

/* An element of the interface file, which is connected to the pane's outlet of the same name. Valid
   until the pane is destroyed. */
typedef struct installer_control {
    void* context;
    void (*set_hidden)(void* context, int hidden);
} installer_control;

/* A pane, made by the plug-in. Strings that it returns are UTF-8, and valid until the next call. */
typedef struct installer_pane {
    void* context; /* the plug-in's own; the first argument of each function */
    const char* (*title)(void* context);
    /* Called when the pane is reached, before it is shown. It may navigate. */
    void (*did_enter_pane)(void* context, int direction);
    /* 0 keeps the pane, everything else lets the user leave it. */
    int (*should_exit_pane)(void* context, int direction);
    /* 1 when the pane has an outlet of that name. `control` is copied. */
    int (*set_outlet)(void* context, const char* name, const installer_control* control);
    /* An action's name ends in a colon, as "uninstall:". 1 when the pane has it. */
    int (*perform_action)(void* context, const char* name, const installer_control* sender);
    /* The last call. */
    void (*destroy)(void* context);
} installer_pane;

/* The two functions that a plug-in exports. The first is called once, before any other, and returns
   1 when the plug-in can work with this host, else 0. The second fills `pane` and returns 1, or
   returns 0 when the plug-in has no pane class of that name or the pane cannot be made. */
INSTALLER_PLUGIN_EXPORT int installer_plugin_attach(const installer_host_services* services);
INSTALLER_PLUGIN_EXPORT int installer_plugin_create_pane(const char* class_name,
                                                         const installer_pane_host* host,
                                                         installer_pane* pane);

#ifdef __cplusplus
}
#endif

#endif
