// A log in a folder of the test's own, for tests whose suites are named for their class.
#pragma once

#include "tests/log/log_fixture.h"

namespace quillmoor::test {

struct LogWorld : LogTest {
    using LogTest::console_;
    using LogTest::folder_;
    using LogTest::logPath;
    using LogTest::messages;
    using LogTest::writePreferences;

  private:
    void TestBody() override {}
};

// With a log that has been started.
struct OpenLogWorld : OpenLog {
    using OpenLog::console_;
    using OpenLog::logPath;
    using OpenLog::platform_;
    using OpenLog::written;

  private:
    void TestBody() override {}
};

}  // namespace quillmoor::test
