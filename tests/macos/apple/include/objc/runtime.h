// What <objc/runtime.h> of macOS declares, as far as the project uses it.
#pragma once

#include <objc/objc.h>

extern "C" const char* sel_getName(SEL selector);
