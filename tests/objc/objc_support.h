// What the tests of the Objective-C classes share. Each test runs inside an autorelease pool.
//
// The test of a selector has its name: TEST(KXTaskEx, runTask_arguments_) is that of the class
// method
// +[KXTaskEx runTask:arguments:], and TEST(KXTaskExObject, theTask) that of the instance method.
#pragma once

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::test {

// The text's bytes, "nil" for nil.
std::string textOf(NSString* text);
std::string textOf(const OptionalString& text);

NSString* string(const std::string& text);

// The name of the exception that `body` raises; "" if it raises none.
std::string nameOfRaised(const std::function<void()>& body);

// Runs Foundation's run loop of the main thread in its default mode, as an application does, until
// `condition` holds, for twenty seconds at most.
void runUntil(const std::function<bool()>& condition);

}  // namespace quillmoor::test
