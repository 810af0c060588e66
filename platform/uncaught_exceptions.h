// Handling of uncaught exceptions.
#pragma once

#include "quillmoor/platform/exception.h"

namespace quillmoor::platform {

using UncaughtExceptionHandler = void (*)(const Exception*);

// `NSSetUncaughtExceptionHandler`: `handler` replaces the current one and is called once, on the
// thread that the exception escaped from, before the process terminates as it would without a
// handler. Other threads that terminate while it runs wait for the end of the process; an exception
// that escapes from the handler ends it at once. An exception of another class is passed with its
// type's name as name and its what(), else that name, as reason; one of the system's own, such as
// NSException on macOS, with its own name and reason; null is passed for one without a reason. A
// process that terminates without an exception does not call the handler. No handler for null. May
// be called from any thread.
void setUncaughtExceptionHandler(UncaughtExceptionHandler handler);

UncaughtExceptionHandler uncaughtExceptionHandlerInForce();

// The exception that is being handled, in the form in which the handler would get it. May be called
// inside a catch clause only.
Exception currentException();

}  // namespace quillmoor::platform
