/* The boundary between installer-host and a pane plug-in on Linux: plain C, no toolkit, no C++
   types. A bundle's plug-in is the shared object Contents/Linux/<CFBundleExecutable>.so; the host
   never unloads it. Every call, in both directions, is made on the host's main thread, except that
   of is_main_thread, which may be made on any. No exception crosses the boundary.

   The order of the host's calls, from the loading of a bundle to the end:

     installer_plugin_attach        once, before every other call
     installer_plugin_create_pane   once for each bundle; then for this pane
       title                        once, to label the step
       set_outlet                   once for each named element of the interface file
       did_enter_pane               each time the pane is reached
       should_exit_pane             each time the user would leave it for another
       perform_action               each time a button with that action is pressed
     observers of termination       once, when the host is about to terminate
       destroy                      once, after the pane's elements were destroyed

   The smallest plug-in, but for the functions of its pane:

     static const installer_host_services* services;

     int installer_plugin_attach(const installer_host_services* host) {
         services = host;
         return host->version >= INSTALLER_PLUGIN_VERSION;
     }
     int installer_plugin_create_pane(const char* class_name, const installer_pane_host* host,
                                      installer_pane* pane) {
         if (strcmp(class_name, "MyPane") != 0) return 0;
         *pane = (installer_pane){0, my_title, my_did_enter, my_should_exit, my_set_outlet,
                                  my_perform_action, my_destroy};
         return 1;
     }

   While a plug-in's function runs the window does not respond, and one that never returns prevents
   an orderly end. A plug-in must not close the descriptors that it has the host watch. It may start
   threads: they are not stopped before the process exits.

   A host must not unload the shared object, call a pane after destroy, show a pane before
   did_enter_pane has returned, or enter another pane while that call runs. It must keep its
   services until the process exits, and expect a pane to navigate inside did_enter_pane. */
#ifndef QUILLMOOR_INSTALLER_PLUGIN_H
#define QUILLMOOR_INSTALLER_PLUGIN_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Incremented when a member is added at the end of a struct. Existing members keep their place and
   meaning, so a plug-in works with every host of its own or a later version. A plug-in compares the
   host's version with this one before it uses a member, and refuses an older host. */
#define INSTALLER_PLUGIN_VERSION 1

#if defined(__GNUC__)
#define INSTALLER_PLUGIN_EXPORT __attribute__((visibility("default")))
#else
#define INSTALLER_PLUGIN_EXPORT
#endif

/* The direction in which a pane is entered or left. installer-host passes the first two only; a
   pane treats every value but backward as forward. */
enum {
    INSTALLER_DIRECTION_FORWARD = 0,
    INSTALLER_DIRECTION_BACKWARD = 1,
    INSTALLER_DIRECTION_UNDEFINED = 2
};

/* What the host does for a plug-in. The struct and its functions stay valid until the process
   exits, also while and after the host terminates. Nothing in it is the plug-in's to free. */
typedef struct installer_host_services {
    uint32_t version; /* INSTALLER_PLUGIN_VERSION of the host */
    void* context;    /* the host's own; the first argument of each function */

    /* 1 when called on the host's main thread, else 0. May be called on any thread. */
    int (*is_main_thread)(void* context);

    /* Adds `descriptor` to the host's event loop: whenever it is readable, drain(user) is called on
       the main thread. The plug-in must keep the descriptor open until the process exits: a watch
       cannot be ended. drain must read what is there, or it is called again at once. A negative
       descriptor and a null function are ignored. */
    void (*watch_descriptor)(void* context, int descriptor, void (*drain)(void* user), void* user);

    /* Waits up to `milliseconds` for the host's next user-interface event and dispatches it, which
       may run other code of the host and of plug-ins, this plug-in's included. With 0 or less it
       only dispatches what is pending. 1 when there was an event, else 0; always 0 on another
       thread. Watched descriptors are drained meanwhile. */
    int (*send_next_event)(void* context, int milliseconds);

    /* `callback` is called once, on the main thread, when the host is about to terminate; several
       in the order in which they were added. The panes still exist then. What is added during these
       calls or later is not called, nor is any when the process is killed. */
    void (*observe_termination)(void* context, void (*callback)(void* user), void* user);
} installer_host_services;

/* The host's navigation for one pane. A pane that navigates is not asked whether it may be left.
   The struct is valid during installer_plugin_create_pane only, so the plug-in copies it; context
   and functions are valid until the pane is destroyed.

   A request has an effect only from the pane that was reached last, and of several inside one
   did_enter_pane only the first. Inside did_enter_pane and should_exit_pane it is carried out after
   the call has returned: in did_enter_pane the pane is then not shown, in should_exit_pane it
   counts only if the pane refuses to be left. Without a pane in that direction nothing happens. */
typedef struct installer_pane_host {
    void* context;
    void (*goto_next_pane)(void* context);
    void (*goto_previous_pane)(void* context);
} installer_pane_host;

/* An element of the interface file, which is connected to the pane's outlet of the same name. Valid
   until the pane is destroyed; once its widget was destroyed, its function does nothing. Owned by
   the host. */
typedef struct installer_control {
    void* context;
    /* Hides the element, or shows it for 0. */
    void (*set_hidden)(void* context, int hidden);
} installer_control;

/* A pane, made by the plug-in. Strings that it returns are UTF-8, and valid until the next call.
   Strings and structs that it is passed belong to the host, and a string is valid during the call
   only. No function may be null. */
typedef struct installer_pane {
    void* context; /* the plug-in's own; the first argument of each function */
    /* The step's title; null or "" for the title that the bundle gives. */
    const char* (*title)(void* context);
    /* Called when the pane is reached, before it is shown, on every visit. It may navigate, and is
       then not shown. */
    void (*did_enter_pane)(void* context, int direction);
    /* 0 keeps the pane, everything else lets the user leave it. Not called when the pane itself
       navigates, nor at the end of the program. */
    int (*should_exit_pane)(void* context, int direction);
    /* 1 when the pane has an outlet of that name; 0 is not an error. The plug-in copies `control`.
       Called before the first did_enter_pane. */
    int (*set_outlet)(void* context, const char* name, const installer_control* control);
    /* An action's name ends in a colon, as "uninstall:". 1 when the pane has it; 0 is reported as a
       mistake of the bundle. `sender` is the button. */
    int (*perform_action)(void* context, const char* name, const installer_control* sender);
    /* The last call; frees what the pane owns. Also called alone, for a pane that was refused
       because one of its functions is null. */
    void (*destroy)(void* context);
} installer_pane;

/* The two functions that a plug-in exports. The first is called once, before any other, and returns
   1 when the plug-in can work with this host, else 0. The second fills `pane` and returns 1, or
   returns 0 when the plug-in has no pane class of that name or the pane cannot be made.

   After a 0 of either the bundle's step shows why it cannot be used, and the other steps remain
   usable. `services` may be kept. `class_name` is the interface file's property "paneClass" and is
   valid during the call only, like `host` and `pane`. A request to navigate that is made inside the
   call has no effect. Two bundles with one shared object share its one attach call. */
INSTALLER_PLUGIN_EXPORT int installer_plugin_attach(const installer_host_services* services);
INSTALLER_PLUGIN_EXPORT int installer_plugin_create_pane(const char* class_name,
                                                         const installer_pane_host* host,
                                                         installer_pane* pane);

#ifdef __cplusplus
}
#endif

#endif
