// What happens to an exception that nobody catches.
#pragma once

#include "quillmoor/platform/exception.h"

namespace quillmoor::platform {

using UncaughtExceptionHandler = void (*)(const Exception&);

// `NSSetUncaughtExceptionHandler`: `handler` replaces the one before and is called once, on the
// thread that the exception escaped from, before the process ends as it would have ended anyway.
// Other threads that terminate while it runs wait for that end; what escapes from the handler
// itself ends the process at once. An exception of another class arrives with its type's name as
// name and its what(), else that name, as reason. A process that terminates without an exception
// calls nothing. null: no handler.
void setUncaughtExceptionHandler(UncaughtExceptionHandler handler);

UncaughtExceptionHandler uncaughtExceptionHandlerInForce();

// The exception that is being handled, as the handler would get it. Only inside a catch clause.
Exception currentException();

}  // namespace quillmoor::platform
