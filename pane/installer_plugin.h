/* The boundary between installer-host and a pane plug-in on Linux: plain C, no toolkit, no C++
   types. A bundle's plug-in is the shared object Contents/Linux/<CFBundleExecutable>.so; the host
   never unloads it. Every call is made on the host's main thread. No exception crosses. */
#ifndef QUILLMOOR_INSTALLER_PLUGIN_H
#define QUILLMOOR_INSTALLER_PLUGIN_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Grows when something is added at an end of a struct; what is there never changes its meaning. */
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

/* What the host does for a plug-in. It outlives the plug-in. */
typedef struct installer_host_services {
    uint32_t version;
    void* context;

    /* 1 when called on the host's main thread. */
    int (*is_main_thread)(void* context);

    /* Joins `descriptor` to the host's event loop: whenever it is readable, drain(user) is called
       on the main thread. The plug-in keeps the descriptor open for ever. */
    void (*watch_descriptor)(void* context, int descriptor, void (*drain)(void* user), void* user);

    /* Waits up to `milliseconds` for the host's next user-interface event and has it sent. 1 when
       there was one. */
    int (*send_next_event)(void* context, int milliseconds);

    /* `callback` is called once, on the main thread, when the host is about to terminate. */
    void (*observe_termination)(void* context, void (*callback)(void* user), void* user);
} installer_host_services;

/* What a pane may ask of the host's navigation. */
typedef struct installer_pane_host {
    void* context;
    void (*goto_next_pane)(void* context);
    void (*goto_previous_pane)(void* context);
} installer_pane_host;

/* An interface element, joined to an outlet of the pane by its name. Lives until the pane is
   destroyed. */
typedef struct installer_control {
    void* context;
    void (*set_hidden)(void* context, int hidden);
} installer_control;

/* A pane, made by the plug-in. The strings it answers live until the next call. */
typedef struct installer_pane {
    void* context;
    const char* (*title)(void* context);
    void (*did_enter_pane)(void* context, int direction);
    int (*should_exit_pane)(void* context, int direction);
    /* 1 when the pane has an outlet of that name. `control` is copied. */
    int (*set_outlet)(void* context, const char* name, const installer_control* control);
    /* An action's name ends in a colon, as "uninstall:". 1 when the pane has it. */
    int (*perform_action)(void* context, const char* name, const installer_control* sender);
    void (*destroy)(void* context);
} installer_pane;

/* The two functions that a plug-in exports. The first is called once, before any other: 1 when the
   plug-in can work with this host. The second answers 0 when it has no pane class of that name. */
INSTALLER_PLUGIN_EXPORT int installer_plugin_attach(const installer_host_services* services);
INSTALLER_PLUGIN_EXPORT int installer_plugin_create_pane(const char* class_name,
                                                         const installer_pane_host* host,
                                                         installer_pane* pane);

#ifdef __cplusplus
}
#endif

#endif
