// What <objc/runtime.h> of macOS declares, as far as the project uses it.
#pragma once

#include <objc/objc.h>
#include <stddef.h>

extern "C" {
const char* sel_getName(SEL selector);
Class objc_lookUpClass(const char* name);
Class objc_allocateClassPair(Class superclass, const char* name, size_t extraBytes);
void objc_registerClassPair(Class made);
BOOL class_addMethod(Class changed, SEL selector, IMP method, const char* types);
}
